// Where a path leads whose last component is a link.
#pragma once

#include "platform/FileManager.h"

namespace quorvane {

/// The file that is opened, or made, by the path: what the links that stand there lead to, whether
/// it is there or not. Of links that lead nowhere but to each other one of them. Any thread.
Path withoutFinalLinks(platform::FileManager& files, Path path);

} // namespace quorvane
