// Ending early without leaving half-made items behind.
#pragma once

namespace quorvane::platform::linux_::tools::ditto {

/// Throws Failure once the user has asked the program to end. Long work calls it again and again.
void throwIfInterrupted();

} // namespace quorvane::platform::linux_::tools::ditto
