// Bundles: folders that the desktop presents as one file, and how applications among them are
// found.
#pragma once

#include <functional>
#include <string>

#include "platform/Values.h"

namespace quorvane::platform {
class PropertyLists;
}

namespace quorvane::platform::linux_ {

/// Whether a folder stands at the path whose name has a bundle's extension, in any case.
bool isBundle(const Path& path);

/// Whether a bundle may be the result of a look-up.
using IsOffered = std::function<bool(const Path& bundle)>;

/// The first application below a folder, in the order of names, whose `Contents/Info.plist` bears
/// the identifier, compared byte by byte, and that is offered; null when there is none. Looks three
/// levels deep, but not into bundles or hidden folders, and at no links. Any thread.
MaybePath findBundle(const Path& folder, const std::string& identifier,
                     PropertyLists& propertyLists, const IsOffered& isOffered);

} // namespace quorvane::platform::linux_
