// Keeps other processes of the same user out of this one.
#pragma once

namespace quorvane::platform::linux_ {

/// Whether the system has shielded this process since it was started: it does so where the program
/// is one that its user may run but not read. Meant for the beginning of `main`.
bool startedShielded();

/// From now on no process without administrator rights can look into this one or take its
/// descriptors, whosever it is; core dumps are off too. False when a process, such as a debugger,
/// has been attached before and so can still do both. Any thread.
bool shieldProcess();

} // namespace quorvane::platform::linux_
