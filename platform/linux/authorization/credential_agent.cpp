#include "platform/linux/authorization/credential_agent.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/UserIdentity.h"
#include "platform/linux/authorization/agent_program.h"

namespace quorvane::platform::linux_ {
namespace {

bool isCredential(const std::string& text) {
    return text.size() <= kMaximumCredential && text.find('\0') == std::string::npos;
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

bool keepsSecrets(const Path& program, const SocketChild& agent) {
    return isSuperusersOwn(program) && (isSuperuser() || agent.isOutOfReach());
}

CredentialAgent::Start CredentialAgent::start(const Path& program, const std::string& user,
                                              const std::string& password, AgentTest test,
                                              std::chrono::milliseconds patience) {
    if (!isCredential(user) || !isCredential(password)) return {kAuthorizationDenied, {}};
    auto agent = startAgentProgram(program, {}, patience);
    if (!agent) return {kAuthorizationInternal, {}};
    if (test(program, *agent) && Message(user, password).send(agent->socket()))
        return {kAuthorizationSuccess, CredentialAgent(std::move(*agent))};
    agent->kill();
    return {kAuthorizationInternal, {}};
}

} // namespace quorvane::platform::linux_
