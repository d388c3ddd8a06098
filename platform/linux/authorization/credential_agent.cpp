#include "platform/linux/authorization/credential_agent.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>

namespace quorvane::platform::linux_ {
namespace {

constexpr char kReady = 'R';

bool isCredential(const std::string& text) {
    return text.size() <= kMaximumCredential && text.find('\0') == std::string::npos;
}

/// Only what the agent needs to find the bus.
Environment agentEnvironment() {
    Environment environment{{"PATH", kTrustedPath}};
    constexpr const char* bus = "DBUS_SYSTEM_BUS_ADDRESS";
    if (const char* address = std::getenv(bus); address != nullptr) environment[bus] = address;
    return environment;
}

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

CredentialAgent::Start CredentialAgent::start(const Path& program, const std::string& user,
                                              const std::string& password,
                                              std::chrono::milliseconds patience) {
    if (!isCredential(user) || !isCredential(password)) return {kAuthorizationDenied, {}};
    auto agent = readyAgent(program, {}, patience);
    if (!agent) return {kAuthorizationInternal, {}};
    if (Message(user, password).send(agent->socket()))
        return {kAuthorizationSuccess, CredentialAgent(std::move(*agent))};
    agent->kill();
    return {kAuthorizationInternal, {}};
}

} // namespace quorvane::platform::linux_
