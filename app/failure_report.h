// Telling what could not be done.
#pragma once

#include <string>
#include <string_view>

#include "kit/base/format.h"
#include "platform/ConsoleLog.h"
#include "platform/Services.h"

namespace brightkeel {

/// Writes one line to the console log: standard error and the system's journal. The format takes
/// the item, then the reason. The user's windows tell of no failure, and the uninstaller creates no
/// log.
inline void reportFailure(std::string_view format, const quorvane::Path& item,
                          const std::string& reason) {
    quorvane::platform::services().consoleLog->log(quorvane::formatText(format, {item, reason}));
}

} // namespace brightkeel
