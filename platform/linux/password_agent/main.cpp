// Answers polkit for the process that started it, with the name and password of a user that this
// process knows: a program of its own, so that the password is gone with it, and a system that does
// not answer can be left by ending it.
//
// Descriptor 0 is one end of a SOCK_SEQPACKET socket pair. The agent sends "R" once polkit will ask
// it; then it takes one message, the user's name and the password, each ended by a NUL byte. It
// answers one authentication, for the privileged helper only, and ends at the other end's close.
//
// It takes nothing if another process of the user may have got hold of it before it could shield
// itself. So it is installed as a program that users may run but not read, which the system shields
// from its first instruction on; run from where it was built, it ends at once.
//
// With --watch it sends "R" if polkit answers, and then sees again and again whether it still does.
// It ends when it does not, or at the other end's close: whoever waits for a polkit that hangs
// would wait for ever.
#include <algorithm>
#include <cstring>
#include <optional>

#include <fcntl.h>
#include <gio/gio.h>
#include <glib-unix.h>
#include <poll.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/linux/authorization/process_shield.h"
#include "platform/linux/password_agent/password_listener.h"

namespace {

using quorvane::platform::linux_::shieldProcess;
using quorvane::platform::linux_::startedShielded;
using quorvane::platform::linux_::agent::Outcome;
using quorvane::platform::linux_::agent::PasswordListener;
using quorvane::platform::linux_::agent::Request;

constexpr const char* kAction = "com.quorvane.privileged-helper";
/// How long polkit may take to answer, in seconds; it takes some milliseconds.
constexpr unsigned kPatience = 3;
/// And how long while the user is asked. An administrator's rules, which are programs, may occupy
/// it for up to 15.
constexpr unsigned kPatienceWhileAsking = 20;
/// How often a watch looks, in milliseconds.
constexpr int kInterval = 5000;

[[noreturn]] void giveUp(int /*signal*/) { _exit(1); }

/// Ends the process if what comes next takes too long. polkit's library would wait for a minute.
void limitTime(unsigned seconds = kPatience) {
    struct sigaction action = {};
    action.sa_handler = giveUp;
    sigaction(SIGALRM, &action, nullptr);
    alarm(seconds);
}

/// The process that made the socket pair, if it is still there and it is the one that started this.
std::optional<ucred> client() {
    ucred peer = {};
    socklen_t size = sizeof peer;
    if (getsockopt(STDIN_FILENO, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return std::nullopt;
    if (peer.pid != getppid() || peer.uid != getuid()) return std::nullopt;
    return peer;
}

/// A user's name and password as they came, wiped when no longer needed.
class Credentials {
public:
    Credentials() = default;
    Credentials(const Credentials&) = delete;
    Credentials& operator=(const Credentials&) = delete;
    ~Credentials() { wipe(); }

    /// Takes the one message. False for anything that is not two texts, the first not empty.
    bool receive() {
        const ssize_t length = recv(STDIN_FILENO, bytes_, sizeof bytes_, MSG_TRUNC | MSG_DONTWAIT);
        if (length < 2 || static_cast<size_t>(length) > sizeof bytes_) return false;
        const char* const begin = bytes_;
        const char* const end = begin + length;
        if (end[-1] != '\0' || std::count(begin, end, '\0') != 2) return false;
        password_ = bytes_ + std::strlen(bytes_) + 1;
        return password_ != bytes_ + 1;
    }

    bool known() const { return password_ != nullptr; }
    const char* user() const { return bytes_; }
    const char* password() const { return password_; }

    void wipe() {
        explicit_bzero(bytes_, sizeof bytes_);
        password_ = nullptr;
    }

private:
    char bytes_[4096] = {};
    const char* password_ = nullptr;
};

class Agent {
public:
    Agent()
        : listener_({.begin = [this](const Request& request) { return begin(request); },
                     .ask = [this] { answer(); },
                     .end = [this](Outcome) { end(); }}) {}

    int run() {
        const auto process = client();
        limitTime();
        if (!process || !listener_.serve(process->pid, process->uid)) return 1;
        if (send(STDIN_FILENO, "R", 1, MSG_NOSIGNAL) != 1) return 1;
        alarm(0);
        g_unix_fd_add(STDIN_FILENO, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), onInput, this);
        g_main_loop_run(loop_.get());
        limitTime(); // for saying good-bye
        return status_;
    }

private:
    struct Unref {
        void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
    };

    static gboolean onInput(int /*descriptor*/, GIOCondition /*what*/, gpointer self) {
        return static_cast<Agent*>(self)->takeInput() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
    }

    /// The credentials first, then the end.
    bool takeInput() {
        if (!received_ && credentials_.receive()) {
            received_ = true;
            return true;
        }
        char rest = 0;
        const bool ended = received_ && recv(STDIN_FILENO, &rest, 1, MSG_DONTWAIT) == 0;
        status_ = ended ? 0 : 1;
        g_main_loop_quit(loop_.get());
        return false;
    }

    std::optional<uid_t> begin(const Request& request) {
        if (request.action != kAction || !credentials_.known()) return std::nullopt;
        const passwd* const entry = getpwnam(credentials_.user());
        if (!entry) return std::nullopt;
        hasBegun_ = true;
        return entry->pw_uid;
    }

    /// What looks at the password may hang; whoever cancels it waits for its end.
    void end() const {
        if (hasBegun_) limitTime();
    }

    void answer() {
        listener_.answer(credentials_.password());
        credentials_.wipe();
    }

    std::unique_ptr<GMainLoop, Unref> loop_{g_main_loop_new(nullptr, FALSE)};
    Credentials credentials_;
    bool received_ = false;
    bool hasBegun_ = false; ///< whether a question was one to answer
    int status_ = 1;
    PasswordListener listener_;
};

/// Whether polkit itself answers, which its connection to the bus would do for it if it were only
/// pinged. Ends the process where the bus hangs.
bool polkitAnswers(unsigned seconds) {
    limitTime(seconds);
    GDBusConnection* const bus = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
    if (!bus) return false;
    GVariant* const answer = g_dbus_connection_call_sync(
        bus, "org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority",
        "org.freedesktop.DBus.Properties", "Get",
        g_variant_new("(ss)", "org.freedesktop.PolicyKit1.Authority", "BackendVersion"), nullptr,
        G_DBUS_CALL_FLAGS_NONE, static_cast<int>(seconds) * 1000, nullptr, nullptr);
    const bool answers = answer != nullptr;
    if (answer) g_variant_unref(answer);
    g_object_unref(bus);
    alarm(0);
    return answers;
}

/// Waits until it is time to look again; false when the client has gone.
bool isWanted() {
    pollfd client{STDIN_FILENO, POLLIN, 0};
    return poll(&client, 1, kInterval) == 0;
}

int watch() {
    if (!polkitAnswers(kPatience) || send(STDIN_FILENO, "R", 1, MSG_NOSIGNAL) != 1) return 1;
    while (isWanted())
        if (!polkitAnswers(kPatienceWhileAsking)) return 1;
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    // The superuser can read every program, and needs no shield from other users.
    const bool wasShielded = startedShielded() || geteuid() == 0;
    if (!shieldProcess()) return 1;
    if (count > 1) return std::strcmp(arguments[1], "--watch") == 0 ? watch() : 1;
    return wasShielded ? Agent().run() : 1;
}
