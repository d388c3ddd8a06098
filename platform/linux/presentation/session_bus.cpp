#include "platform/linux/presentation/session_bus.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "platform/linux/environment.h"
#include "platform/linux/percent_encoding.h"

namespace quorvane::platform::linux_ {
namespace {

using namespace std::chrono_literals;

constexpr auto kFarewell = 100ms;
/// What a bus has to say between two signals fits many times; one that says more is none.
constexpr int kMostReads = 64;

/// The name of a local socket; one that begins with NUL is no file.
using SocketName = std::string;

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const auto end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) return parts;
        text.remove_prefix(end + 1);
    }
}

/// The local sockets in the form "unix:path=/run/bus,guid=0;unix:abstract=name".
std::vector<SocketName> socketNames(std::string_view addresses) {
    static constexpr std::string_view kTransport = "unix:";
    static constexpr std::string_view kPath = "path=";
    static constexpr std::string_view kAbstract = "abstract=";
    std::vector<SocketName> names;
    for (std::string_view address : split(addresses, ';')) {
        if (!address.starts_with(kTransport)) continue;
        address.remove_prefix(kTransport.size());
        for (const std::string_view part : split(address, ',')) {
            if (part.starts_with(kPath))
                names.push_back(percentDecoded(part.substr(kPath.size())));
            else if (part.starts_with(kAbstract))
                names.push_back('\0' + percentDecoded(part.substr(kAbstract.size())));
        }
    }
    return names;
}

std::vector<SocketName> sessionSockets() {
    const char* addresses = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (addresses != nullptr && *addresses != '\0') return socketNames(addresses);
    const MaybePath runtime = folderFromEnvironment("XDG_RUNTIME_DIR");
    return runtime ? std::vector<SocketName>{*runtime + "/bus"} : std::vector<SocketName>();
}

Result<Descriptor> connectedTo(const SocketName& name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (name.empty() || name.size() >= sizeof address.sun_path) return systemError(ENAMETOOLONG);
    std::memcpy(address.sun_path, name.data(), name.size());
    // An abstract name ends with the address, a path with its NUL.
    const std::size_t length =
        offsetof(sockaddr_un, sun_path) + name.size() + (name.front() == '\0' ? 0 : 1);
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const auto* generic = static_cast<const sockaddr*>(static_cast<const void*>(&address));
    if (!socket || ::connect(socket.get(), generic, static_cast<socklen_t>(length)) != 0)
        return systemError();
    return socket;
}

/// Takes in what the bus said, which nobody needs; false once the bus has left.
bool isStillThere(int socket) {
    std::array<char, 4096> buffer{};
    for (int reads = 0; reads < kMostReads; ++reads) {
        const ssize_t count = retryInterrupted(
            [&] { return ::recv(socket, buffer.data(), buffer.size(), MSG_DONTWAIT); });
        if (count <= 0) return count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
    }
    return false;
}

} // namespace

SessionBus::~SessionBus() {
    if (!isConnected() || ::shutdown(socket_.get(), SHUT_WR) != 0) return;
    const auto end = std::chrono::steady_clock::now() + kFarewell;
    do {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        pollfd waiting{socket_.get(), POLLIN, 0};
        if (left <= 0ms || ::poll(&waiting, 1, static_cast<int>(left.count())) == 0) return;
    } while (isConnected());
}

bool SessionBus::isConnected() { return socket_ && isStillThere(socket_.get()); }

Result<void> SessionBus::connect() {
    Error error = systemError(ENOENT);
    for (const SocketName& name : sessionSockets()) {
        Result<Descriptor> socket = connectedTo(name);
        if (socket) {
            socket_ = std::move(socket.value());
            lastSerial_ = 0;
            return {};
        }
        error = socket.error();
    }
    return error;
}

Result<void> SessionBus::send(const BusSignal& signal) {
    const std::lock_guard lock(mutex_);
    Bytes bytes;
    if (!isConnected()) {
        const Result<void> connected = connect();
        if (!connected) return connected.error();
        bytes = busGreeting();
        ++lastSerial_;
    }
    bytes += busMessage(signal, ++lastSerial_);
    const ssize_t count = retryInterrupted([&] {
        return ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    });
    if (count == static_cast<ssize_t>(bytes.size())) return {};
    // A bus that got half a message understands no further one.
    const Error error = systemError(count < 0 ? errno : EAGAIN);
    socket_.reset();
    return error;
}

} // namespace quorvane::platform::linux_
