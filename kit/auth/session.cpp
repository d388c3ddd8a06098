// The session: who holds the administrator right, and tools run with it.

#include "kit/auth/QVAuthorization.h"

#include "kit/auth/console.h"
#include "kit/log/QVLog.h"
#include "kit/paths/QVLocalPaths.h"
#include "kit/tasks/QVTaskEx.h"
#include "platform/FileManager.h"
#include "platform/Services.h"

namespace quorvane {
namespace {

using platform::AuthorizationCreation;
using platform::AuthorizationFlags;
using platform::AuthorizationItems;
using platform::AuthorizationRef;

const AuthorizationItems kAdministratorRight{{"system.privilege.admin", {}, 0}};
constexpr AuthorizationFlags kWithoutInteraction =
    platform::kAuthorizationExtendRights | platform::kAuthorizationPreAuthorize;
constexpr AuthorizationFlags kWithInteraction =
    kWithoutInteraction | platform::kAuthorizationInteractionAllowed;

std::recursive_mutex classLock;
QVAuthorization* sharedInstance = nullptr; // guarded by classLock; never destroyed

/// A user's credentials as the service takes them, wiped after use.
class Credentials {
public:
    Credentials(const std::string& user, const std::string& password) : items_(2) {
        items_[0].name = "username";
        items_[0].value = user;
        items_[1].name = "password";
        items_[1].value = password;
    }
    ~Credentials() {
        for (platform::AuthorizationItem& item : items_) wipe(item.value);
    }
    Credentials(const Credentials&) = delete;
    Credentials& operator=(const Credentials&) = delete;

    const AuthorizationItems& items() const { return items_; }

private:
    /// Through a volatile pointer, since nobody reads the bytes any more.
    static void wipe(Bytes& secret) {
        volatile char* bytes = secret.data();
        for (std::size_t index = 0; index < secret.size(); ++index) bytes[index] = '\0';
    }

    AuthorizationItems items_;
};

platform::Authorization& service() { return *platform::services().authorization; }

} // namespace

QVAuthorization& QVAuthorization::sharedController(WithGui withGui) {
    const std::lock_guard lock(classLock);
    if (QVAuthorization* made = allocate()) {
        if (withGui == WithGui::yes)
            made->init();
        else
            made->initWithoutGui();
    }
    return *sharedInstance;
}

QVAuthorization* QVAuthorization::allocate() {
    const std::lock_guard lock(classLock);
    if (sharedInstance != nullptr) return nullptr;
    sharedInstance = new QVAuthorization;
    return sharedInstance;
}

QVAuthorization& QVAuthorization::init() { return initialize(true); }

QVAuthorization& QVAuthorization::initWithoutGui() { return initialize(false); }

QVAuthorization& QVAuthorization::initialize(bool hasGui) {
    hasGui_ = hasGui;
    authRef_ = nullptr;
    const AuthorizationCreation inherited =
        service().copyPrivilegedReference(platform::kAuthorizationDefaults);
    if (inherited.status == platform::kAuthorizationSuccess && inherited.reference != nullptr)
        authRef_ = inherited.reference;
    if (!runsAsSuperuser()) userDirectory_ = QVLocalPaths::userDirectory();
    return *this;
}

bool QVAuthorization::isAuthorized() const { return runsAsSuperuser() || authRef_ != nullptr; }

bool QVAuthorization::canAuthorize() const { return hasGui_ || runsAsSuperuser(); }

bool QVAuthorization::authStart() {
    if (isAuthorized()) return true;
    if (!hasGui_) {
        logToConsole("Unable to authorize");
        return false;
    }
    const AuthorizationCreation created =
        service().create({}, {}, platform::kAuthorizationDefaults);
    if (created.status != platform::kAuthorizationSuccess) {
        authRef_ = nullptr;
        return false;
    }
    authRef_ = created.reference;
    if (service().copyRights(created.reference, kAdministratorRight, {}, kWithInteraction) ==
        platform::kAuthorizationSuccess)
        return true;
    service().free(created.reference, platform::kAuthorizationDefaults);
    authRef_ = nullptr;
    return false;
}

bool QVAuthorization::authStartWithUser(const MaybeText& user, const MaybeText& password) {
    if (runsAsSuperuser()) return true;
    if (!user || !password) return false;
    const Credentials credentials(*user, *password);
    const AuthorizationCreation created =
        service().create({}, credentials.items(), platform::kAuthorizationDefaults);
    if (created.status != platform::kAuthorizationSuccess) {
        logToConsole("Unable to create authRef - error %d", created.status);
        authRef_ = nullptr;
        return false;
    }
    authRef_ = created.reference;
    if (service().copyRights(created.reference, kAdministratorRight, credentials.items(),
                             kWithoutInteraction) == platform::kAuthorizationSuccess)
        return true;
    service().free(created.reference, platform::kAuthorizationDefaults);
    authRef_ = nullptr;
    constexpr const char* message = "Authorization failed. Invalid username or password";
    logToConsole(message);
    QVLog::appendLog(message);
    return false;
}

void QVAuthorization::authEnd() {
    if (isAuthorized() && !runsAsSuperuser())
        service().free(authRef_, platform::kAuthorizationDefaults);
    authRef_ = nullptr;
}

PrivilegedStatus QVAuthorization::authExecTask(const MaybePath& tool, const Arguments& parameters,
                                               Async async) {
    if (!tool || !platform::services().makeFileManager()->existence(*tool).exists) {
        logToConsole("Unable to execute task: path %@ doesn't exist", tool);
        return kPrivilegedToolMissing;
    }
    if (runsAsSuperuser()) {
        if (async == Async::yes)
            QVTaskEx::runTaskAndReturn(tool, parameters);
        else
            QVTaskEx::runTask(tool, parameters);
        return platform::kAuthorizationSuccess;
    }
    if (!isAuthorized()) authStart();
    if (!isAuthorized()) return kPrivilegedNotAuthorized;
    return executeAuthorized(*tool, parameters, async);
}

PrivilegedStatus QVAuthorization::executeAuthorized(const Path& tool, const Arguments& parameters,
                                                    Async async) {
    auto execution = service().executeWithPrivileges(authRef_, tool,
                                                     platform::kAuthorizationDefaults, parameters);
    if (!execution.pipe) return execution.status;
    // The tool closes its end when it exits; its output and exit status are nobody's concern.
    if (async == Async::no && execution.status == platform::kAuthorizationSuccess)
        while (execution.pipe->readCharacter() >= 0) {
        }
    // The pipe stays open: a tool that prints after this return must not die of a closed pipe.
    const std::lock_guard lock(pipesMutex_);
    pipes_.push_back(std::move(execution.pipe));
    return execution.status;
}

} // namespace quorvane
