#include "platform/linux/authorization/authorization.h"

namespace quorvane::platform::linux_ {
namespace {

class DenyingAuthorization : public Authorization {
public:
    AuthorizationCreation create(const AuthorizationItems& /*rights*/,
                                 const AuthorizationItems& /*environment*/,
                                 AuthorizationFlags /*flags*/) override {
        return {kAuthorizationDenied, nullptr};
    }

    AuthorizationStatus copyRights(AuthorizationRef /*reference*/,
                                   const AuthorizationItems& /*rights*/,
                                   const AuthorizationItems& /*environment*/,
                                   AuthorizationFlags /*flags*/) override {
        return kAuthorizationInvalidRef;
    }

    AuthorizationCreation copyPrivilegedReference(AuthorizationFlags /*flags*/) override {
        return {kAuthorizationDenied, nullptr};
    }

    PrivilegedExecution executeWithPrivileges(AuthorizationRef /*reference*/, const Path& /*tool*/,
                                              AuthorizationFlags /*options*/,
                                              const Arguments& /*arguments*/) override {
        return {kAuthorizationInvalidRef, nullptr};
    }

    void free(AuthorizationRef /*reference*/, AuthorizationFlags /*flags*/) override {}
};

} // namespace

std::shared_ptr<Authorization> makeAuthorization() {
    return std::make_shared<DenyingAuthorization>();
}

} // namespace quorvane::platform::linux_
