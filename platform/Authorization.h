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
inline constexpr AuthorizationStatus kAuthorizationInvalidRef = -60002;
inline constexpr AuthorizationStatus kAuthorizationDenied = -60005;
inline constexpr AuthorizationStatus kAuthorizationCanceled = -60006;
inline constexpr AuthorizationStatus kAuthorizationInteractionNotAllowed = -60007;
inline constexpr AuthorizationStatus kAuthorizationInternal = -60008;
inline constexpr AuthorizationStatus kAuthorizationToolExecuteFailure = -60031;

/// Flags of copyRights and create.
using AuthorizationFlags = std::uint32_t;
inline constexpr AuthorizationFlags kAuthorizationDefaults = 0;
inline constexpr AuthorizationFlags kAuthorizationInteractionAllowed = 1U << 0U;
inline constexpr AuthorizationFlags kAuthorizationExtendRights = 1U << 1U;
inline constexpr AuthorizationFlags kAuthorizationPreAuthorize = 1U << 4U;

/// A right or an environment entry: name and value bytes (often none).
struct AuthorizationItem {
    std::string name;
    Bytes value;
    std::uint32_t flags = 0;
};
using AuthorizationItems = std::vector<AuthorizationItem>;

/// The reading end of a running tool's standard output. Reads block; one thread.
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

/// A started tool's pipe, or the status that kept it from starting (the pipe is null then).
struct PrivilegedExecution {
    AuthorizationStatus status = kAuthorizationSuccess;
    std::unique_ptr<CommunicationsPipe> pipe;
    /// With kAuthorizationToolExecuteFailure, the system's reason.
    Error reason = {};
};

/// Any thread. Blocks while the user answers the service's own dialog.
class Authorization {
public:
    virtual ~Authorization() = default;

    virtual AuthorizationCreation create(const AuthorizationItems& rights,
                                         const AuthorizationItems& environment,
                                         AuthorizationFlags flags) = 0;
    virtual AuthorizationStatus copyRights(AuthorizationRef reference,
                                           const AuthorizationItems& rights,
                                           const AuthorizationItems& environment,
                                           AuthorizationFlags flags) = 0;
    /// The reference inherited from a parent that launched this process with administrator rights.
    virtual AuthorizationCreation copyPrivilegedReference(AuthorizationFlags flags) = 0;
    /// Starts the tool with administrator rights and returns without waiting for its end.
    virtual PrivilegedExecution executeWithPrivileges(AuthorizationRef reference, const Path& tool,
                                                      AuthorizationFlags options,
                                                      const Arguments& arguments) = 0;
    virtual void free(AuthorizationRef reference, AuthorizationFlags flags) = 0;
};

} // namespace quorvane::platform
