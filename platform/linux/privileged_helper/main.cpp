// Runs file tools with administrator rights for one client, which hands it a socket as standard
// input. pkexec starts it once the user has authenticated; it takes no arguments.

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "platform/linux/posix.h"
#include "platform/linux/privileged_helper/server.h"

namespace {

using quorvane::platform::linux_::ignore;

constexpr rlim_t kDescriptors = 1024;
/// Where it is written down what is in use, across sessions.
constexpr const char* kRecords = "/var/lib/quorvane-privileged-helper";

/// The user who authenticated, as pkexec tells.
std::optional<uid_t> userOf(const char* text) {
    uid_t user = 0;
    if (text == nullptr) return std::nullopt;
    const char* const end = text + std::strlen(text);
    const auto [rest, error] = std::from_chars(text, end, user);
    if (error != std::errc() || rest != end) return std::nullopt;
    return user;
}

/// The system's own, so that no limit of the caller's ends a tool half-way.
void setLimits() {
    for (const auto resource : {RLIMIT_AS, RLIMIT_CPU, RLIMIT_DATA, RLIMIT_FSIZE}) {
        const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
        ::setrlimit(resource, &none);
    }
    const rlimit descriptors{kDescriptors, kDescriptors};
    ::setrlimit(RLIMIT_NOFILE, &descriptors);
    const rlimit noCore{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
}

/// Leaves nothing of what the caller could have set.
bool shedSurroundings(uid_t user) {
    ::prctl(PR_SET_DUMPABLE, 0);
    ::prctl(PR_SET_PDEATHSIG, 0); // the session outlives the thread that began it
    ignore(::setsid());           // keys typed at the client's terminal do not end a tool half-way
    if (::close_range(STDERR_FILENO + 1, ~0U, 0) == -1 || ::chdir("/") == -1) return false;
    int opened = 0;
    do {
        opened = ::open("/dev/null", O_RDWR); // for output that has no stream
    } while (opened >= 0 && opened <= STDERR_FILENO);
    ::close(opened);
    ::umask(S_IWGRP | S_IWOTH);
    setLimits();
    for (int number = 1; number < NSIG; ++number) ignore(std::signal(number, SIG_DFL));
    ignore(std::signal(SIGPIPE, SIG_IGN));
    sigset_t none;
    sigemptyset(&none);
    ignore(::sigprocmask(SIG_SETMASK, &none, nullptr));
    // Single-threaded. NOLINTBEGIN(concurrency-mt-unsafe)
    return ::clearenv() == 0 && ::setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1) == 0 &&
           ::setenv("LC_ALL", "C", 1) == 0 &&
           ::setenv("PKEXEC_UID", std::to_string(user).c_str(), 1) == 0;
    // NOLINTEND(concurrency-mt-unsafe)
}

} // namespace

int main() {
    using quorvane::platform::linux_::helper::serve;
    const auto user = userOf(std::getenv("PKEXEC_UID")); // NOLINT(concurrency-mt-unsafe)
    if (!user || ::getuid() != 0 || ::geteuid() != 0 || !shedSurroundings(*user))
        return EXIT_FAILURE;
    ::openlog("quorvane-privileged-helper", LOG_PID, LOG_AUTHPRIV);
    return serve(STDIN_FILENO, *user, kRecords) ? EXIT_SUCCESS : EXIT_FAILURE;
}
