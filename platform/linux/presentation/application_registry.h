// Applications as the desktop knows them: a desktop entry for each, named by its identifier.
#pragma once

#include <string>
#include <string_view>

#include "platform/Presentation.h"

namespace quorvane::platform {
class PropertyLists;
}

namespace quorvane::platform::linux_ {

/// The key of a desktop entry that names the bundle which the entry starts.
inline constexpr std::string_view kBundleKey = "X-Quorvane-Bundle";

/// Writes `<identifier>.desktop` for an application bundle into a folder of desktop entries, which
/// is made if missing, in one step and never through a link. EINVAL for what is no bundle with a
/// sound `Contents/Info.plist` and an identifier that can name a file, and for other controls in
/// its texts than entries can hold, EILSEQ for a path that is not UTF-8, as entries are; EEXIST
/// where an entry of that name is not of our making: it is the user's. An entry that is hidden from
/// menus is found all the same. Any thread.
Result<void> registerBundle(const Path& bundle, const Path& desktopEntries, ForceUpdate forceUpdate,
                            PropertyLists& propertyLists);

/// The bundle that the entry of the identifier names, by its path without links above it; null
/// without such an entry, or when the bundle is gone, has become another one, or is hidden or in a
/// hidden folder. Any thread.
MaybePath registeredBundle(const Path& desktopEntries, const std::string& identifier,
                           PropertyLists& propertyLists);

} // namespace quorvane::platform::linux_
