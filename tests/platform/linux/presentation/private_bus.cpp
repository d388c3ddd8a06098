#include "tests/platform/linux/presentation/private_bus.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <fstream>

namespace quorvane::testing {
namespace {

constexpr int kPatience = 30'000; // milliseconds

/// The path of a new configuration for a bus where everybody may do everything.
Path configuration(const Path& folder, const std::string& address) {
    Path file = folder + "/bus.conf";
    std::ofstream(file) << "<busconfig><type>session</type><listen>" << address
                        << "</listen><policy context=\"default\"><allow send_destination=\"*\"/>"
                           "<allow receive_sender=\"*\"/><allow own=\"*\"/></policy></busconfig>";
    return file;
}

std::string between(const std::string& line, const std::string& before, char end) {
    const auto start = line.find(before);
    if (start == std::string::npos) return {};
    const auto text = start + before.size();
    return line.substr(text, line.find(end, text) - text);
}

} // namespace

OutputOf::OutputOf(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& part : command) arguments.push_back(const_cast<char*>(part.c_str()));
    arguments.push_back(nullptr);
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) return;
    output_ = platform::linux_::Descriptor(ends[0]);
    const platform::linux_::Descriptor writing(ends[1]);
    process_ = ::fork();
    if (process_ != 0) return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::dup2(ends[1], STDOUT_FILENO);
    ::execvp(arguments[0], arguments.data());
    ::_exit(127);
}

OutputOf::~OutputOf() {
    if (process_ <= 0) return;
    signal(SIGKILL);
    ::waitpid(process_, nullptr, 0);
}

void OutputOf::signal(int number) const {
    if (process_ > 0) ::kill(process_, number);
}

std::string OutputOf::line() {
    for (;;) {
        const auto end = read_.find('\n');
        if (end != std::string::npos) {
            std::string line = read_.substr(0, end);
            read_.erase(0, end + 1);
            return line;
        }
        pollfd waiting{output_.get(), POLLIN, 0};
        if (::poll(&waiting, 1, kPatience) != 1) return {};
        std::array<char, 4096> buffer{};
        const ssize_t count = platform::linux_::retryInterrupted(
            [&] { return ::read(output_.get(), buffer.data(), buffer.size()); });
        if (count <= 0) return {};
        read_.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

PrivateBus::PrivateBus(const Path& folder, const std::string& address)
    : daemon_({"dbus-daemon", "--nofork", "--nosyslog", "--print-address",
               "--config-file=" + configuration(folder, address)}),
      address_(daemon_.line()) {}

void PrivateBus::hang() const { daemon_.signal(SIGSTOP); }

void PrivateBus::goOn() const { daemon_.signal(SIGCONT); }

NoticeListener::NoticeListener(const std::string& address)
    : monitor_(
          {"dbus-monitor", "--address", address, "type='signal',interface='org.kde.KDirNotify'"}) {
    // It listens from the time on when the bus took its own name from it.
    for (std::string line = "."; !line.empty() && line.find("NameLost") == std::string::npos;)
        line = monitor_.line();
    monitor_.line();
}

std::string NoticeListener::next() {
    std::string head = monitor_.line();
    std::string notice = between(head, "interface=org.kde.KDirNotify; member=", ' ');
    if (notice.empty()) return head;
    std::string line = monitor_.line();
    const bool isArray = line.find("array [") != std::string::npos;
    if (isArray) line = monitor_.line();
    notice += isArray ? " [" : " ";
    notice += between(line, "string \"", '"');
    if (isArray) notice += monitor_.line().substr(3);
    return notice;
}

} // namespace quorvane::testing
