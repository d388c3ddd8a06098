// Bundles: folders that the desktop presents as one file, and how applications among them are
// found.
#pragma once

#include <string>

#include "platform/Values.h"

namespace quorvane::platform {
class PropertyLists;
}

namespace quorvane::platform::linux_ {

/// Whether a folder stands at the path whose name has a bundle's extension, in any case.
bool isBundle(const Path& path);

/// The first application below a folder, in the order of names, whose `Contents/Info.plist` bears
/// the identifier, compared byte by byte; null when there is none. Looks three levels deep, but not
/// into bundles, and at no links. Any thread.
MaybePath findBundle(const Path& folder, const std::string& identifier,
                     PropertyLists& propertyLists);

} // namespace quorvane::platform::linux_
