#include "platform/linux/tools/ditto/interruption.h"

#include "platform/linux/interruption.h"
#include "platform/linux/tools/program.h"

namespace quorvane::platform::linux_::tools::ditto {

void throwIfInterrupted() {
    if (isInterrupted()) throw Failure("interrupted");
}

} // namespace quorvane::platform::linux_::tools::ditto
