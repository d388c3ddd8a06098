// What a bundle says about itself in `Contents/Info.plist`.
#pragma once

#include <string>

#include "platform/Values.h"

namespace quorvane::platform {
class PropertyLists;
}

namespace quorvane::platform::linux_ {

struct BundleInfo {
    std::string identifier;
    /// As users know it; the bundle's own name without its extension where it states none.
    std::string name;
    /// The program, whether it is there or not.
    Path executable;
    /// A picture in a format that desktops draw, which is there.
    MaybePath icon;
    /// Whether it works in the background, so that users do not start it.
    bool isHidden = false;
};

/// The bundle's identifier; null where it states none. Any thread, like all here.
MaybeText bundleIdentifier(const Path& bundle, PropertyLists& propertyLists);

/// EINVAL where there is no identifier, or where the names of files lead out of the bundle. Texts
/// are UTF-8 without NUL; others count as missing.
Result<BundleInfo> readBundleInfo(const Path& bundle, PropertyLists& propertyLists);

} // namespace quorvane::platform::linux_
