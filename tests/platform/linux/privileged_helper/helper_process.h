// A helper in a process of its own, and its client.
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/posix.h"
#include "platform/linux/privileged_helper/protocol.h"

namespace quorvane::testing {

/// A request as the wire has it.
std::string requestBytes(std::uint32_t id, const std::vector<std::string>& texts);

struct Reply {
    platform::linux_::helper::Answer answer{};
    platform::linux_::Descriptor output; ///< null if none came
    /// Everything that the tool prints until it ends.
    std::string text() const;
};

/// Runs the helper's conversation in a child, with the rights of the test.
class HelperProcess {
public:
    /// The user who is said to have authenticated; by default who runs the test. Without a folder
    /// for its records, the helper has none.
    explicit HelperProcess(uid_t user = ::geteuid(), const Path& records = {});
    ~HelperProcess();
    HelperProcess(const HelperProcess&) = delete;
    HelperProcess& operator=(const HelperProcess&) = delete;

    int socket() const { return socket_.get(); }
    pid_t process() const { return child_; }
    bool send(const std::string& message) const;
    /// The next answer; null when the helper has hung up.
    std::optional<Reply> receive() const;
    /// Sends a request and answers what comes back, which must bear its number.
    Reply ask(const std::vector<std::string>& texts);
    /// The same, and waits for the tool's end: its exit status, or 0 where it took too long for the
    /// helper to wait for it, or -1 if the request was refused.
    int run(const std::vector<std::string>& texts);
    /// The same for a request that must be refused: its error number, or 0 if it is not.
    int refusal(const std::vector<std::string>& texts);

    /// Hangs up and answers whether the helper ended as it does with a client that is its own.
    bool end();

private:
    platform::linux_::Descriptor socket_;
    pid_t child_ = -1;
    std::uint32_t lastId_ = 0;
};

} // namespace quorvane::testing
