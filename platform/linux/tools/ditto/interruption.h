// Ending early without leaving half-made items behind.
#pragma once

namespace quorvane::platform::linux_::tools::ditto {

/// From now on the first SIGHUP, SIGINT or SIGTERM that is not ignored only makes the next
/// throwIfInterrupted() throw; a second one ends the program.
void watchForInterruption();

/// Throws Failure after such a signal. Long work calls it again and again.
void throwIfInterrupted();

} // namespace quorvane::platform::linux_::tools::ditto
