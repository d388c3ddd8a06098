#include "app/services/authorization.h"

#include <cerrno>
#include <mutex>
#include <optional>
#include <system_error>

namespace brightkeel {
namespace {

using namespace quorvane::platform;
using quorvane::Arguments;
using quorvane::Path;

constexpr const char* kMoveTool = "/bin/mv";
constexpr const char* kRemoveTool = "/bin/rm";
constexpr const char* kRemoveFoldersTool = "/bin/rmdir";

std::string textOf(AuthorizationStatus status) {
    switch (status) {
    case kAuthorizationCanceled:
        return "the question for administrator rights was cancelled";
    case kAuthorizationDenied:
        return "administrator rights were not granted";
    default:
        return "nobody could be asked for administrator rights";
    }
}

std::string textOf(const PrivilegedExecution& execution) {
    if (execution.pipe) return "with administrator rights: not carried out"; // or not in time
    const std::string& reason = execution.reason.text;
    return "with administrator rights: " + (reason.empty() ? "the session has ended" : reason);
}

PrivilegedExecution failed(const Error& reason) {
    return {kAuthorizationToolExecuteFailure, nullptr, reason};
}

/// Whether nothing more is to be had from the session.
bool isEndOfSession(int code) { return code == EPIPE || code == EPROTO || code == ETIMEDOUT; }

class RightsAskedOnce : public Authorization {
public:
    RightsAskedOnce(std::shared_ptr<Authorization> authorization,
                    std::shared_ptr<FailureReasons> reasons)
        : authorization_(std::move(authorization)), reasons_(std::move(reasons)) {}

    AuthorizationCreation create(const AuthorizationItems& rights,
                                 const AuthorizationItems& environment,
                                 AuthorizationFlags flags) override {
        return authorization_->create(rights, environment, flags);
    }
    AuthorizationStatus copyRights(AuthorizationRef reference, const AuthorizationItems& rights,
                                   const AuthorizationItems& environment,
                                   AuthorizationFlags flags) override;
    AuthorizationCreation copyPrivilegedReference(AuthorizationFlags flags) override {
        return authorization_->copyPrivilegedReference(flags);
    }
    PrivilegedExecution executeWithPrivileges(AuthorizationRef reference, const Path& tool,
                                              AuthorizationFlags options,
                                              const Arguments& arguments) override;
    void free(AuthorizationRef reference, AuthorizationFlags flags) override;

private:
    PrivilegedExecution execute(AuthorizationRef reference, const Path& tool,
                                AuthorizationFlags options, const Arguments& arguments);
    std::optional<Error> sessionFailure();
    void noteSessionFailure(const Error& error);

    const std::shared_ptr<Authorization> authorization_;
    const std::shared_ptr<FailureReasons> reasons_;
    std::mutex questionMutex_; ///< held while the user is asked: others wait for the answer
    std::optional<AuthorizationStatus> answer_;
    AuthorizationRef granted_ = nullptr; ///< the reference with the right
    std::mutex sessionMutex_;
    std::optional<Error> sessionFailure_;
};

AuthorizationStatus RightsAskedOnce::copyRights(AuthorizationRef reference,
                                                const AuthorizationItems& rights,
                                                const AuthorizationItems& environment,
                                                AuthorizationFlags flags) {
    AuthorizationStatus status = kAuthorizationDenied;
    {
        const std::lock_guard lock(questionMutex_);
        if (!answer_) {
            status = authorization_->copyRights(reference, rights, environment, flags);
            answer_ = status;
            granted_ = status == kAuthorizationSuccess ? reference : nullptr;
        } else if (*answer_ != kAuthorizationSuccess || reference == granted_) {
            status = *answer_;
        }
    }
    if (status != kAuthorizationSuccess) reasons_->add(textOf(status));
    return status;
}

PrivilegedExecution RightsAskedOnce::executeWithPrivileges(AuthorizationRef reference,
                                                           const Path& tool,
                                                           AuthorizationFlags options,
                                                           const Arguments& arguments) {
    PrivilegedExecution execution;
    if (tool == kMoveTool)
        execution = execute(reference, tool, options, arguments);
    else if (tool == kRemoveTool && arguments.size() == 2 && arguments[0] == "-Rdf")
        execution = execute(reference, kRemoveFoldersTool, options, {arguments[1]});
    else
        execution = failed({EPERM, std::generic_category().message(EPERM)});
    reasons_->add(textOf(execution));
    return execution;
}

PrivilegedExecution RightsAskedOnce::execute(AuthorizationRef reference, const Path& tool,
                                             AuthorizationFlags options,
                                             const Arguments& arguments) {
    if (const auto failure = sessionFailure()) return failed(*failure);
    auto execution = authorization_->executeWithPrivileges(reference, tool, options, arguments);
    if (execution.status == kAuthorizationToolExecuteFailure &&
        isEndOfSession(execution.reason.code))
        noteSessionFailure(execution.reason);
    return execution;
}

std::optional<Error> RightsAskedOnce::sessionFailure() {
    const std::lock_guard lock(sessionMutex_);
    return sessionFailure_;
}

void RightsAskedOnce::noteSessionFailure(const Error& error) {
    const std::lock_guard lock(sessionMutex_);
    sessionFailure_ = error;
}

void RightsAskedOnce::free(AuthorizationRef reference, AuthorizationFlags flags) {
    {
        const std::lock_guard lock(questionMutex_);
        if (reference == granted_) granted_ = nullptr; // its value may be given to another
    }
    authorization_->free(reference, flags);
}

} // namespace

std::shared_ptr<Authorization> askedOnce(std::shared_ptr<Authorization> authorization,
                                         std::shared_ptr<FailureReasons> reasons) {
    return std::make_shared<RightsAskedOnce>(std::move(authorization), std::move(reasons));
}

} // namespace brightkeel
