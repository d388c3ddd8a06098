// Ending when the user asks for it, without leaving half-made things behind.
#pragma once

namespace quorvane::platform::linux_ {

/// From now on the first SIGHUP, SIGINT or SIGTERM that is not ignored is only noted; a second one
/// ends the program.
void watchForInterruption();

/// Whether such a signal came. Long work asks again and again. Any thread.
bool isInterrupted();

} // namespace quorvane::platform::linux_
