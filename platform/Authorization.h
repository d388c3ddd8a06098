// The system's authorization service: an administrator right, and tools run with it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/Values.h"

namespace quorvane::platform {

/// An authorization held by the service. Null: none.
struct OpaqueAuthorization;
using AuthorizationRef = OpaqueAuthorization*;

/// Results of the service; values as the field knows them.
using AuthorizationStatus = std::int32_t;
inline constexpr AuthorizationStatus kAuthorizationSuccess = 0;
/// The reference is null, was freed, or was never made.
inline constexpr AuthorizationStatus kAuthorizationInvalidRef = -60002;
/// The user is not entitled, the credentials are wrong, the right is unknown or was not asked for,
/// or the system cannot ask anybody.
inline constexpr AuthorizationStatus kAuthorizationDenied = -60005;
/// The user has dismissed the dialog.
inline constexpr AuthorizationStatus kAuthorizationCanceled = -60006;
/// The right needs the user's answer, and neither a dialog nor credentials were offered.
inline constexpr AuthorizationStatus kAuthorizationInteractionNotAllowed = -60007;
/// The service could not put the question, and the credentials were not examined; or the part of
/// the system that puts it has stopped answering since.
inline constexpr AuthorizationStatus kAuthorizationInternal = -60008;
/// The right is there, but the tool was not started; PrivilegedExecution::reason says why.
inline constexpr AuthorizationStatus kAuthorizationToolExecuteFailure = -60031;

/// Flags of copyRights and create.
using AuthorizationFlags = std::uint32_t;
inline constexpr AuthorizationFlags kAuthorizationDefaults = 0;
inline constexpr AuthorizationFlags kAuthorizationInteractionAllowed = 1U << 0U;
inline constexpr AuthorizationFlags kAuthorizationExtendRights = 1U << 1U;
inline constexpr AuthorizationFlags kAuthorizationPreAuthorize = 1U << 4U;

/// A right or an environment entry: name and value bytes (often none). Whoever makes an item that
/// holds a password wipes it; the service keeps no copy, and wipes those that it makes on the way.
struct AuthorizationItem {
    std::string name;
    Bytes value;
    std::uint32_t flags = 0;
};
using AuthorizationItems = std::vector<AuthorizationItem>;

/// The reading end of a tool's standard output, during its run and after. It may be kept for good:
/// it costs no descriptor once the tool has ended. Reads block; one thread.
class CommunicationsPipe {
public:
    virtual ~CommunicationsPipe() = default;
    /// The next byte (0 to 255), or -1 at the end of file.
    virtual int readCharacter() = 0;
};

/// A reference, or the status that kept it from being made (the reference is null then).
struct AuthorizationCreation {
    AuthorizationStatus status = kAuthorizationSuccess;
    AuthorizationRef reference = nullptr;
};

/// A started tool's pipe, or the status that kept it from starting (the pipe is null then):
/// kAuthorizationInvalidRef, kAuthorizationDenied or kAuthorizationToolExecuteFailure.
struct PrivilegedExecution {
    AuthorizationStatus status = kAuthorizationSuccess;
    std::unique_ptr<CommunicationsPipe> pipe;
    /// With kAuthorizationToolExecuteFailure, the system's reason, such as EPERM for a tool or item
    /// that is off limits even so, ENOENT for a missing folder above an item, E2BIG or EINVAL for
    /// arguments that cannot be passed, and EPIPE once the session has broken: then only a new
    /// reference helps. With other statuses, none.
    Error reason = {};
};

/// Any thread, also several with one reference at a time. Nothing throws.
class Authorization {
public:
    virtual ~Authorization() = default;

    /// A new reference, still without a right; rights are asked for with copyRights. The caller
    /// frees it.
    virtual AuthorizationCreation create(const AuthorizationItems& rights,
                                         const AuthorizationItems& environment,
                                         AuthorizationFlags flags) = 0;
    /// Obtains the rights for the reference, at once where it has them. The only right there is is
    /// "system.privilege.admin". With kAuthorizationInteractionAllowed the service asks the user
    /// and blocks until the user has answered, or the system can no longer ask; without it, the
    /// environment's "username" and "password" answer.
    virtual AuthorizationStatus copyRights(AuthorizationRef reference,
                                           const AuthorizationItems& rights,
                                           const AuthorizationItems& environment,
                                           AuthorizationFlags flags) = 0;
    /// A reference with the right, inherited from a parent that launched this process with
    /// administrator rights; kAuthorizationDenied where there is none. The caller frees it.
    virtual AuthorizationCreation copyPrivilegedReference(AuthorizationFlags flags) = 0;
    /// Starts the tool with administrator rights and returns without waiting for its end. Waits
    /// while another thread asks for the reference's right.
    virtual PrivilegedExecution executeWithPrivileges(AuthorizationRef reference, const Path& tool,
                                                      AuthorizationFlags options,
                                                      const Arguments& arguments) = 0;
    /// Gives the reference and its right back; tools under way finish. Does nothing to a reference
    /// that is not valid.
    virtual void free(AuthorizationRef reference, AuthorizationFlags flags) = 0;
};

} // namespace quorvane::platform
