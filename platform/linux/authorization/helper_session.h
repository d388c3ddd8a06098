// A session with the privileged helper.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/Authorization.h"
#include "platform/linux/authorization/helper_messages.h"
#include "platform/linux/authorization/tool_output.h"
#include "platform/linux/posix.h"
#include "platform/linux/trash.h"

namespace quorvane::platform::linux_ {

/// How long the helper may take to answer a request. It answers within milliseconds unless a disk
/// hangs.
inline constexpr std::chrono::seconds kHelperPatience{30};

/// Tools run one after another by a helper that has been granted the right. Letting go of the
/// session ends the helper; tools under way finish. Any thread.
class HelperSession {
public:
    /// On the socket that leads to the helper. Items that are moved to the user's Trash are written
    /// down there, so that the desktop can put them back.
    HelperSession(Descriptor socket, std::shared_ptr<Trash> trash,
                  std::chrono::milliseconds patience = kHelperPatience);
    ~HelperSession();
    HelperSession(const HelperSession&) = delete;
    HelperSession& operator=(const HelperSession&) = delete;

    /// Starts a tool; one that ends within moments has ended on return. Operands, which are the
    /// arguments that begin with "/", are made plain and free of the superuser's links. Fails with
    /// kAuthorizationToolExecuteFailure and the reason of a refusal; E2BIG or EINVAL for what
    /// cannot be asked for; ETIMEDOUT, when the tool may run or not; EPROTO for an answer that is
    /// none, and from then on, or once the helper has gone, EPIPE.
    PrivilegedExecution run(const Path& tool, const Arguments& arguments);

private:
    using MaybeTrashed = std::optional<TrashAnnouncement>;

    /// A tool that may still run.
    struct Run {
        std::shared_ptr<ToolOutput> output;
        MaybeTrashed trashed; ///< an item that may come to lie in the Trash
    };

    Result<ReceivedAnswer> ask(const Path& tool, const Arguments& arguments);
    Result<ReceivedAnswer> receiveAnswer(std::uint32_t id);
    PrivilegedExecution conclude(Result<ReceivedAnswer> received, const MaybeTrashed& trashed);
    void withdraw(const MaybeTrashed& trashed);
    bool settle(const Run& run);
    void settleAll();

    std::mutex mutex_;
    Descriptor socket_; ///< none once the helper has gone
    std::shared_ptr<Trash> trash_;
    std::uint32_t lastId_ = 0;
    std::vector<Run> running_;
};

} // namespace quorvane::platform::linux_
