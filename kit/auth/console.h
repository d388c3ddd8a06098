// What both halves of the privileged layer share.
#pragma once

#include "kit/base/format.h"
#include "platform/ConsoleLog.h"
#include "platform/Services.h"
#include "platform/UserIdentity.h"

namespace quorvane {

/// Whether the process belongs to the superuser, by its real user id.
inline bool runsAsSuperuser() {
    return platform::services().userIdentity->realUserId() == platform::kSuperuserId;
}

/// Formats a message and writes it to the system's console log.
template <class... Values>
void logToConsole(std::string_view format, const Values&... values) {
    platform::services().consoleLog->log(formatText(format, {FormatArgument(values)...}));
}

} // namespace quorvane
