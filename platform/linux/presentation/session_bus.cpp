#include "platform/linux/presentation/session_bus.h"

#include <sstream>

#include "platform/linux/environment.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 100ms;

/// In the form "unix:path=/run/bus,guid=0123;unix:abstract=name".
std::string sessionAddresses() {
    const char* addresses = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (addresses != nullptr && *addresses != '\0') return addresses;
    const MaybePath runtime = folderFromEnvironment("XDG_RUNTIME_DIR");
    return runtime ? "unix:path=" + *runtime + "/bus" : "";
}

int emit(sd_bus* bus, const BusSignal& signal) {
    const auto emitted = [&](auto... argument) {
        return sd_bus_emit_signal(bus, signal.object.c_str(), signal.interface.c_str(),
                                  signal.member.c_str(), argument...);
    };
    return signal.isArray ? emitted("as", 1U, signal.text.c_str())
                          : emitted("s", signal.text.c_str());
}

} // namespace

/// Until the bus has welcomed the program and taken what it wrote, and all it said is read.
int SessionBus::settle(sd_bus* bus, Clock::time_point end) {
    for (;;) {
        const int progress = sd_bus_process(bus, nullptr);
        if (progress < 0) return progress;
        std::uint64_t unwritten = 0;
        sd_bus_get_n_queued_write(bus, &unwritten);
        if (progress == 0 && unwritten == 0 && sd_bus_is_ready(bus) > 0) return 0;
        const auto left = std::chrono::ceil<std::chrono::microseconds>(end - Clock::now());
        if (left <= 0us) return -ETIMEDOUT;
        // What fails here fails in the next turn too.
        if (progress == 0) ignore(sd_bus_wait(bus, static_cast<std::uint64_t>(left.count())));
    }
}

int SessionBus::open(const std::string& address, Clock::time_point end) {
    sd_bus* bus = nullptr;
    int code = sd_bus_new(&bus);
    bus_.reset(bus);
    if (code >= 0) code = sd_bus_set_address(bus, address.c_str());
    if (code >= 0) code = sd_bus_set_bus_client(bus, 1);
    if (code >= 0) code = sd_bus_start(bus);
    return code < 0 ? code : settle(bus, end);
}

int SessionBus::connect(Clock::time_point end) {
    int code = -ENOENT;
    std::istringstream addresses(sessionAddresses());
    for (std::string address; code < 0 && std::getline(addresses, address, ';');)
        // Other kinds of addresses look up hosts or start programs, however long that takes.
        if (address.starts_with("unix:")) code = open(address, end);
    return code;
}

Result<void> SessionBus::send(const BusSignal& signal) {
    const std::lock_guard lock(mutex_);
    const auto start = Clock::now();
    if (start < silentUntil_) return systemError(ETIMEDOUT);
    const auto end = start + kPatience;
    int code = bus_ ? settle(bus_.get(), end) : -ENOTCONN;
    if (code < 0 && code != -ETIMEDOUT) code = connect(end);
    if (code >= 0) code = emit(bus_.get(), signal);
    if (code >= 0) code = settle(bus_.get(), end);
    if (code >= 0) return {};
    if (code == -ETIMEDOUT) silentUntil_ = Clock::now() + pause_;
    bus_.reset();
    return systemError(-code);
}

} // namespace quorvane::platform::linux_
