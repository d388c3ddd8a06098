// Who sits at the machine's own screen and keyboard.
#pragma once

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

/// What a console without a user, but with a login screen, answers.
inline constexpr auto kLoginWindow = "loginwindow";

/// The user of the login manager's active session on the first seat; "loginwindow" while a greeter
/// has it. Without a login manager, the user whom the login records name for a local display, else
/// for a local terminal. Null when nobody is there. The folder and the file are the system's own
/// unless a test names others. Any thread.
MaybeText consoleUser(const Path& loginManager = "/run/systemd",
                      const Path& loginRecords = "/run/utmp");

} // namespace quorvane::platform::linux_
