// Moving unpacked items into a folder that is there already.
#pragma once

#include "platform/linux/posix.h"
#include "platform/linux/tools/program.h"

namespace quorvane::platform::linux_::tools::ditto {

/// Moves what is in a folder into another one on its volume: folders of one name become one, and
/// files and links give way to those of their name. First it looks for what would keep an item from
/// being moved, such as a file or a link in a folder's place, reports all that it finds, and then
/// moves nothing. Throws Failure where one cannot be moved all the same; those before it have been.
void mergeFolders(const Descriptor& from, const Descriptor& into, Report& report);

} // namespace quorvane::platform::linux_::tools::ditto
