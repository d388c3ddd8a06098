// What the runs write to the log in more than one place.
#pragma once

namespace quorvane {

inline constexpr const char* kTaskExceptionMessage = "Exception running task %@: %@";

} // namespace quorvane
