#include "platform/linux/authorization/authorization.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <unistd.h>

#include "platform/UserIdentity.h"
#include "platform/linux/authorization/granting.h"
#include "platform/linux/authorization/helper_session.h"
#include "platform/linux/authorization/socket_child.h"
#include "platform/linux/trash.h"

namespace quorvane::platform {

/// What a reference stands for.
struct OpaqueAuthorization {
    /// Whether the process was given administrator rights by its parent.
    bool isInherited = false;
    /// Held while the right is asked for: others wait for the answer.
    std::mutex mutex;
    /// With the right.
    std::shared_ptr<linux_::HelperSession> session;
};

namespace linux_ {
namespace {

constexpr const char* kAdministratorRight = "system.privilege.admin";
/// Names the user who was asked; set by pkexec, and asked for by the helper.
constexpr const char* kAskedUser = "PKEXEC_UID";
/// How long the system may look at a password that nobody needs to type.
constexpr std::chrono::seconds kPasswordLimit{60};

bool isForAdministrator(const AuthorizationItems& rights) {
    return !rights.empty() && std::all_of(rights.begin(), rights.end(), [](const auto& right) {
        return right.name == kAdministratorRight;
    });
}

const Bytes* valueOf(const AuthorizationItems& environment, const char* name) {
    const auto found = std::find_if(environment.begin(), environment.end(),
                                    [name](const auto& item) { return item.name == name; });
    return found == environment.end() ? nullptr : &found->value;
}

/// Whether a parent with administrator rights handed them down, after it had asked a user.
bool hasInheritedRights() {
    const char* user = std::getenv(kAskedUser);
    if (::geteuid() != kSuperuserId || user == nullptr || *user == '\0') return false;
    return std::string(user).find_first_not_of("0123456789") == std::string::npos;
}

class LinuxAuthorization final : public Authorization {
public:
    LinuxAuthorization(std::shared_ptr<UserIdentity> identity, AuthorizationPrograms programs)
        : programs_(std::move(programs)), trash_(std::make_shared<Trash>(std::move(identity))) {}

    AuthorizationCreation create(const AuthorizationItems& /*rights*/,
                                 const AuthorizationItems& /*environment*/,
                                 AuthorizationFlags /*flags*/) override {
        return {kAuthorizationSuccess, add(std::make_shared<OpaqueAuthorization>())};
    }
    AuthorizationStatus copyRights(AuthorizationRef reference, const AuthorizationItems& rights,
                                   const AuthorizationItems& environment,
                                   AuthorizationFlags flags) override;
    AuthorizationCreation copyPrivilegedReference(AuthorizationFlags flags) override;
    PrivilegedExecution executeWithPrivileges(AuthorizationRef reference, const Path& tool,
                                              AuthorizationFlags options,
                                              const Arguments& arguments) override;
    void free(AuthorizationRef reference, AuthorizationFlags flags) override;

private:
    using Held = std::shared_ptr<OpaqueAuthorization>;

    AuthorizationRef add(Held authorization);
    Held find(AuthorizationRef reference);

    AuthorizationStatus startSession(OpaqueAuthorization& authorization, const Path& program,
                                     const Arguments& arguments, const Environment& environment,
                                     const PolkitWatch* watch = nullptr,
                                     std::chrono::milliseconds limit = kNoLimit);
    AuthorizationStatus startInherited(OpaqueAuthorization& authorization);
    AuthorizationStatus startWithPolkit(OpaqueAuthorization& authorization,
                                        const PolkitWatch& watch, std::chrono::milliseconds limit);
    AuthorizationStatus startWithDialog(OpaqueAuthorization& authorization);
    AuthorizationStatus startWithCredentials(OpaqueAuthorization& authorization,
                                             const AuthorizationItems& environment);

    const AuthorizationPrograms programs_;
    const std::shared_ptr<Trash> trash_;
    std::mutex mutex_;
    std::map<AuthorizationRef, Held> references_; ///< those that have not been freed
};

AuthorizationStatus LinuxAuthorization::copyRights(AuthorizationRef reference,
                                                   const AuthorizationItems& rights,
                                                   const AuthorizationItems& environment,
                                                   AuthorizationFlags flags) {
    const Held held = find(reference);
    if (!held) return kAuthorizationInvalidRef;
    if (!isForAdministrator(rights)) return kAuthorizationDenied;
    const std::lock_guard lock(held->mutex);
    if (held->session) return kAuthorizationSuccess;
    if (held->isInherited) return startInherited(*held);
    if ((flags & kAuthorizationInteractionAllowed) != 0) return startWithDialog(*held);
    return startWithCredentials(*held, environment);
}

AuthorizationCreation LinuxAuthorization::copyPrivilegedReference(AuthorizationFlags /*flags*/) {
    if (!hasInheritedRights()) return {kAuthorizationDenied, nullptr};
    auto inherited = std::make_shared<OpaqueAuthorization>();
    inherited->isInherited = true;
    return {kAuthorizationSuccess, add(std::move(inherited))};
}

PrivilegedExecution LinuxAuthorization::executeWithPrivileges(AuthorizationRef reference,
                                                              const Path& tool,
                                                              AuthorizationFlags /*options*/,
                                                              const Arguments& arguments) {
    const Held held = find(reference);
    if (!held) return {kAuthorizationInvalidRef, nullptr};
    std::shared_ptr<HelperSession> session;
    {
        const std::lock_guard lock(held->mutex);
        if (held->isInherited && !held->session) startInherited(*held);
        session = held->session;
    }
    if (!session) return {kAuthorizationDenied, nullptr};
    return session->run(tool, arguments);
}

void LinuxAuthorization::free(AuthorizationRef reference, AuthorizationFlags /*flags*/) {
    Held freed; // let go of after the lock, for it may have a session to end
    const std::lock_guard lock(mutex_);
    const auto found = references_.find(reference);
    if (found == references_.end()) return;
    freed = std::move(found->second);
    references_.erase(found);
}

AuthorizationRef LinuxAuthorization::add(Held authorization) {
    const std::lock_guard lock(mutex_);
    AuthorizationRef reference = authorization.get();
    references_.emplace(reference, std::move(authorization));
    return reference;
}

/// What the reference stands for; null for one that was freed or never made.
LinuxAuthorization::Held LinuxAuthorization::find(AuthorizationRef reference) {
    const std::lock_guard lock(mutex_);
    const auto found = references_.find(reference);
    return found == references_.end() ? nullptr : found->second;
}

AuthorizationStatus
LinuxAuthorization::startSession(OpaqueAuthorization& authorization, const Path& program,
                                 const Arguments& arguments, const Environment& environment,
                                 const PolkitWatch* watch, std::chrono::milliseconds limit) {
    auto helper = SocketChild::start(program, arguments, environment);
    if (!helper) return kAuthorizationDenied;
    const AuthorizationStatus status = waitUntilGranted(helper.value(), watch, limit);
    if (status == kAuthorizationSuccess)
        authorization.session =
            std::make_shared<HelperSession>(helper.value().releaseSocket(), trash_);
    return status;
}

/// The parent has asked the user already, so the helper is started without asking.
AuthorizationStatus LinuxAuthorization::startInherited(OpaqueAuthorization& authorization) {
    return startSession(authorization, programs_.helper, {},
                        {{"PATH", kTrustedPath}, {kAskedUser, "0"}});
}

AuthorizationStatus LinuxAuthorization::startWithPolkit(OpaqueAuthorization& authorization,
                                                        const PolkitWatch& watch,
                                                        std::chrono::milliseconds limit) {
    return startSession(authorization, programs_.pkexec,
                        {"--disable-internal-agent", programs_.helper}, {{"PATH", kTrustedPath}},
                        &watch, limit);
}

AuthorizationStatus LinuxAuthorization::startWithDialog(OpaqueAuthorization& authorization) {
    const auto watch = PolkitWatch::start(programs_.passwordAgent);
    return watch ? startWithPolkit(authorization, *watch, kNoLimit) : kAuthorizationInternal;
}

AuthorizationStatus
LinuxAuthorization::startWithCredentials(OpaqueAuthorization& authorization,
                                         const AuthorizationItems& environment) {
    const Bytes* user = valueOf(environment, "username");
    const Bytes* password = valueOf(environment, "password");
    if (user == nullptr || password == nullptr) return kAuthorizationInteractionNotAllowed;
    const auto watch = PolkitWatch::start(programs_.passwordAgent);
    if (!watch) return kAuthorizationInternal;
    const auto [status, agent] =
        CredentialAgent::start(programs_.passwordAgent, *user, *password, programs_.agentTest);
    if (!agent) return status;
    const auto granted = startWithPolkit(authorization, *watch, kPasswordLimit);
    // The agent dismisses a question that it cannot answer; nobody has cancelled anything.
    return granted == kAuthorizationCanceled ? kAuthorizationDenied : granted;
}

} // namespace

AuthorizationPrograms installedPrograms() {
    return {.pkexec = "/usr/bin/pkexec",
            .helper = QUORVANE_PRIVILEGED_HELPER,
            .passwordAgent = QUORVANE_PASSWORD_AGENT};
}

std::shared_ptr<Authorization> makeAuthorization(std::shared_ptr<UserIdentity> identity,
                                                 AuthorizationPrograms programs) {
    return std::make_shared<LinuxAuthorization>(std::move(identity), std::move(programs));
}

} // namespace linux_
} // namespace quorvane::platform
