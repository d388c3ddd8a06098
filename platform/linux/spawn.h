// Starting children: what every child of this program is given, whoever starts it.
#pragma once

#include <array>
#include <optional>

#include "platform/Values.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {

/// Instead of a descriptor: the null device.
inline constexpr int kNullDevice = -1;

/// What a child gets as standard input, output and error: a descriptor above the standard streams,
/// this process's own descriptor of the same number, or the null device.
using StandardDescriptors = std::array<int, 3>;

/// Starts a child that has the three descriptors and no other, default signal dispositions and no
/// blocked signals, and answers its process descriptor. Without an environment it gets this
/// process's own. The first argument is the path. When the child cannot be executed, the error says
/// why, and there is no child. The caller reaps the child. Any thread.
Result<Descriptor> spawn(const Path& path, const Arguments& arguments,
                         const std::optional<Environment>& environment,
                         const StandardDescriptors& streams);

/// The same file on a descriptor above the standard streams, closed in children; none, with errno,
/// when the process is out of descriptors.
Descriptor aboveStandardStreams(Descriptor descriptor);

} // namespace quorvane::platform::linux_
