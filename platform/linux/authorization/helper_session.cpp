#include "platform/linux/authorization/helper_session.h"

#include <algorithm>
#include <utility>

#include "platform/linux/authorization/link_free_path.h"
#include "platform/linux/plain_path.h"

namespace quorvane::platform::linux_ {
namespace {

/// What the program that asks the user exits with when the user dismisses the dialog.
constexpr int kDismissed = 126;
/// How long a program that has closed its socket may take to exit.
constexpr std::chrono::seconds kExitLimit{5};

PrivilegedExecution failure(const Error& reason) {
    return {kAuthorizationToolExecuteFailure, nullptr, reason};
}

bool isOperand(const std::string& argument) { return argument.starts_with('/'); }

} // namespace

AuthorizationStatus waitUntilGranted(SocketChild& helper) {
    const auto first = receiveFromHelper(helper.socket());
    if (first)
        return first.value().answer.kind == helper::AnswerKind::granted ? kAuthorizationSuccess
                                                                        : kAuthorizationDenied;
    return helper.waitForExit(kExitLimit) == kDismissed ? kAuthorizationCanceled
                                                        : kAuthorizationDenied;
}

HelperSession::HelperSession(Descriptor socket, std::shared_ptr<Trash> trash,
                             std::chrono::milliseconds patience)
    : socket_(std::move(socket)), trash_(std::move(trash)) {
    limitWaiting(socket_.get(), patience);
}

HelperSession::~HelperSession() { settleAll(); }

PrivilegedExecution HelperSession::run(const Path& tool, const Arguments& arguments) {
    const std::lock_guard lock(mutex_);
    settleAll();
    Arguments asked = arguments;
    for (std::string& argument : asked)
        if (isOperand(argument)) argument = plainPath(argument);
    const MaybeTrashed trashed = announce(tool, asked);
    for (std::string& argument : asked)
        if (isOperand(argument)) argument = linkFreePath(argument);

    auto received = ask(tool, asked);
    if (!received) {
        // A tool that may run nevertheless keeps its record.
        if (received.error().code != ETIMEDOUT) withdraw(trashed);
        return failure(received.error());
    }
    auto& [answer, pipe] = received.value();
    if (answer.kind == helper::AnswerKind::refused) {
        withdraw(trashed);
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

/// Writes an item that is about to be moved into the Trash down there, with the destination that
/// has no links in the arguments.
HelperSession::MaybeTrashed HelperSession::announce(const Path& tool, Arguments& arguments) {
    if (tool != "/bin/mv" || arguments.size() != 3 || arguments[0] != "-f") return std::nullopt;
    auto announced = trash_->announce(arguments[1], arguments[2]);
    arguments[2] = announced.destination;
    return announced;
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
