#include "platform/linux/authorization/helper_session.h"

#include <algorithm>
#include <utility>

#include "platform/linux/authorization/link_free_path.h"
#include "platform/linux/authorization/trash_request.h"
#include "platform/linux/plain_path.h"

namespace quorvane::platform::linux_ {
namespace {

PrivilegedExecution failure(const Error& reason) {
    return {kAuthorizationToolExecuteFailure, nullptr, reason};
}

bool isOperand(const std::string& argument) { return argument.starts_with('/'); }

} // namespace

HelperSession::HelperSession(Descriptor socket, std::shared_ptr<Trash> trash,
                             std::chrono::milliseconds patience)
    : socket_(std::move(socket)), trash_(std::move(trash)) {
    limitWaiting(socket_.get(), patience);
}

HelperSession::~HelperSession() { settleAll(); }

PrivilegedExecution HelperSession::run(const Path& tool, const Arguments& arguments) {
    const std::lock_guard lock(mutex_);
    settleAll();
    Arguments plain = arguments;
    for (std::string& argument : plain)
        if (isOperand(argument)) argument = plainPath(argument);
    for (int attempt = 1;; ++attempt) {
        Arguments asked = plain;
        const MaybeTrashed trashed = announceInTrash(*trash_, tool, asked);
        for (std::string& argument : asked)
            if (isOperand(argument)) argument = linkFreePath(argument);
        auto execution = conclude(ask(tool, asked), trashed);
        const bool isTaken = trashed && execution.reason.code == EEXIST;
        if (!isTaken || attempt == kTrashAttempts) return execution;
    }
}

/// Sees to what was announced, by what the helper answered.
PrivilegedExecution HelperSession::conclude(Result<ReceivedAnswer> received,
                                            const MaybeTrashed& trashed) {
    if (!received) {
        // A tool that may run nevertheless keeps its record.
        if (received.error().code != ETIMEDOUT) withdraw(trashed);
        return failure(received.error());
    }
    auto& [answer, pipe] = received.value();
    if (answer.kind == helper::AnswerKind::refused) {
        if (trashed) trash_->cancel(*trashed);
        return failure(systemError(answer.value));
    }
    // Out of descriptors, a tool's pipe does not arrive, and nobody learns when it ends.
    const bool isLost = answer.kind == helper::AnswerKind::started && !pipe;
    Run run{std::make_shared<ToolOutput>(std::move(pipe)), isLost ? std::nullopt : trashed};
    auto output = communicationsPipe(run.output);
    if (!settle(run)) running_.push_back(std::move(run));
    return {kAuthorizationSuccess, std::move(output)};
}

/// Sends a request and receives its answer. Broken, the session stays so.
Result<ReceivedAnswer> HelperSession::ask(const Path& tool, const Arguments& arguments) {
    if (!socket_) return systemError(EPIPE);
    const std::uint32_t id = ++lastId_;
    const auto request = helperRequest(id, tool, arguments);
    if (!request) return request.error();
    const auto sent = sendToHelper(socket_.get(), request.value());
    auto received = sent ? receiveAnswer(id) : Result<ReceivedAnswer>(sent.error());
    if (!received && received.error().code != ETIMEDOUT) socket_.reset();
    return received;
}

/// Receives the answer with this number. Others are late ones, to requests given up.
Result<ReceivedAnswer> HelperSession::receiveAnswer(std::uint32_t id) {
    auto received = receiveFromHelper(socket_.get());
    while (received && received.value().answer.id != id)
        received = receiveFromHelper(socket_.get());
    if (!received) return received;
    switch (received.value().answer.kind) {
    case helper::AnswerKind::started:
    case helper::AnswerKind::ended:
    case helper::AnswerKind::refused:
        return received;
    default:
        return systemError(EPROTO);
    }
}

void HelperSession::withdraw(const MaybeTrashed& trashed) {
    if (trashed) trash_->withdraw(*trashed);
}

/// Whether the tool has ended. If so its output is kept, and what did not come to the Trash is no
/// longer written down there.
bool HelperSession::settle(const Run& run) {
    if (!run.output->settle()) return false;
    withdraw(run.trashed);
    return true;
}

void HelperSession::settleAll() {
    std::erase_if(running_, [this](const Run& run) { return settle(run); });
}

} // namespace quorvane::platform::linux_
