#include "platform/linux/authorization/credential_agent.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/UserIdentity.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr char kReady = 'R';

bool isCredential(const std::string& text) {
    return text.size() <= kMaximumCredential && text.find('\0') == std::string::npos;
}

/// Nothing of the user's: a variable of theirs could lead the agent to another bus, where somebody
/// passes for polkit, or to other code.
Environment agentEnvironment() { return {{"PATH", kTrustedPath}}; }

bool becomesReady(int socket, std::chrono::milliseconds patience) {
    pollfd said{socket, POLLIN, 0};
    if (retryInterrupted([&] { return ::poll(&said, 1, static_cast<int>(patience.count())); }) != 1)
        return false;
    char word = 0;
    return ::recv(socket, &word, 1, MSG_DONTWAIT) == 1 && word == kReady;
}

/// The agent program, ready; null, and gone, if it does not get that far.
std::optional<SocketChild> readyAgent(const Path& program, const Arguments& arguments,
                                      std::chrono::milliseconds patience) {
    auto child = SocketChild::start(program, arguments, agentEnvironment());
    if (!child) return std::nullopt;
    if (becomesReady(child.value().socket(), patience)) return std::move(child.value());
    child.value().kill();
    return std::nullopt;
}

bool isSuperuser() { return ::geteuid() == kSuperuserId; }

/// Whether the program is the superuser's own, and this user may neither change nor read it: the
/// system shields a process from its first instruction only where its program cannot be read.
bool isSuperusersOwn(const Path& program) {
    struct stat facts {};
    if (::stat(program.c_str(), &facts) != 0 || facts.st_uid != kSuperuserId) return false;
    if ((facts.st_mode & (S_IWGRP | S_IWOTH)) != 0) return false;
    return isSuperuser() || ::faccessat(AT_FDCWD, program.c_str(), R_OK, AT_EACCESS) != 0;
}

/// The credentials as the agent takes them, in memory that is wiped.
class Message {
public:
    Message(const std::string& user, const std::string& password) {
        add(user);
        add(password);
    }
    ~Message() { explicit_bzero(bytes_.data(), bytes_.size()); }
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;

    bool send(int socket) const {
        const auto sent = retryInterrupted(
            [&] { return ::send(socket, bytes_.data(), size_, MSG_NOSIGNAL | MSG_DONTWAIT); });
        return sent == static_cast<ssize_t>(size_);
    }

private:
    void add(const std::string& text) {
        std::copy(text.begin(), text.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(size_));
        size_ += text.size() + 1;
    }

    std::array<char, 2 * (kMaximumCredential + 1)> bytes_{};
    std::size_t size_ = 0;
};

} // namespace

bool polkitAnswers(const Path& program, std::chrono::milliseconds patience) {
    return readyAgent(program, {"--ping"}, patience).has_value();
}

bool keepsSecrets(const Path& program, const SocketChild& agent) {
    return isSuperusersOwn(program) && (isSuperuser() || agent.isOutOfReach());
}

CredentialAgent::Start CredentialAgent::start(const Path& program, const std::string& user,
                                              const std::string& password, AgentTest test,
                                              std::chrono::milliseconds patience) {
    if (!isCredential(user) || !isCredential(password)) return {kAuthorizationDenied, {}};
    auto agent = readyAgent(program, {}, patience);
    if (!agent) return {kAuthorizationInternal, {}};
    if (test(program, *agent) && Message(user, password).send(agent->socket()))
        return {kAuthorizationSuccess, CredentialAgent(std::move(*agent))};
    agent->kill();
    return {kAuthorizationInternal, {}};
}

} // namespace quorvane::platform::linux_
