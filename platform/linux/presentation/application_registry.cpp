#include "platform/linux/presentation/application_registry.h"

#include <algorithm>

#include "platform/PropertyLists.h"
#include "platform/linux/bundle_info.h"
#include "platform/linux/bundles.h"
#include "platform/linux/file_writing.h"
#include "platform/linux/open_folders.h"
#include "platform/linux/plain_path.h"
#include "platform/linux/posix.h"
#include "platform/linux/presentation/desktop_entry.h"
#include "platform/linux/small_file.h"
#include "platform/linux/utf8.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr std::size_t kMaxDesktopEntry = std::size_t{1} << 20U;
constexpr std::size_t kMaxFileName = 255;

bool isControl(char letter) { return letter == '\x7F' || (letter >= '\0' && letter < ' '); }

/// The entry's file name; EINVAL for an identifier that cannot be part of one.
Result<std::string> entryName(const std::string& identifier) {
    std::string name = identifier + ".desktop";
    if (name.starts_with('.') || name.size() > kMaxFileName || !isUtf8(name) ||
        name.find('/') != std::string::npos || std::ranges::any_of(name, isControl))
        return systemError(EINVAL);
    return name;
}

/// EINVAL for controls that entries cannot hold: there is a way to write line breaks and tabs only.
Result<std::string> entryFor(const BundleInfo& info, const Path& bundle) {
    std::string entry = "[Desktop Entry]\nType=Application\nVersion=1.0\n";
    bool isSound = true;
    const auto add = [&](std::string_view key, const std::string& value) {
        entry.append(key).append("=").append(value).append("\n");
        isSound = isSound && std::ranges::none_of(value, isControl);
    };
    add("Name", entryString(info.name));
    // Menus leave out an application whose program is gone.
    add("TryExec", entryString(info.executable));
    add("Exec", entryCommand(info.executable));
    if (info.icon) add("Icon", entryString(*info.icon));
    if (info.isHidden) add("NoDisplay", "true");
    add(kBundleKey, entryString(bundle));
    if (!isSound) return systemError(EINVAL);
    return entry;
}

/// The item's path without links above it, so that callers who judge by it judge the item's place.
MaybePath realPlace(const Path& item) {
    const auto place = openParent(plainPath(item));
    const auto folder = place ? pathOf(place.value().folder.get()) : place.error();
    if (!folder) return std::nullopt;
    return plainPath(folder.value() + "/" + place.value().name);
}

bool isInHiddenFolder(const Path& path) { return path.find("/.") != Path::npos; }

} // namespace

Result<void> registerBundle(const Path& bundle, const Path& desktopEntries, ForceUpdate forceUpdate,
                            PropertyLists& propertyLists) {
    const Result<Path> place = systemPath(bundle);
    if (!place) return place.error();
    if (!isBundle(place.value())) return systemError(EINVAL);
    if (!isUtf8(place.value())) return systemError(EILSEQ);
    const Result<BundleInfo> info = readBundleInfo(place.value(), propertyLists);
    if (!info) return info.error();
    const Result<std::string> name = entryName(info.value().identifier);
    if (!name) return name.error();
    const Result<std::string> entry = entryFor(info.value(), place.value());
    if (!entry) return entry.error();

    const Path file = desktopEntries + "/" + name.value();
    const auto old = readSmallFile(file, kMaxDesktopEntry);
    if (!old && old.error().code != ENOENT) return systemError(EEXIST);
    if (old) {
        const MaybePath known = entryValue(old.value(), kBundleKey);
        if (!known) return systemError(EEXIST);
        if (forceUpdate == ForceUpdate::no && known == place.value()) return {};
    }
    if (!makeFolders(desktopEntries)) return systemError();
    return replaceContent(file, entry.value());
}

MaybePath registeredBundle(const Path& desktopEntries, const std::string& identifier,
                           PropertyLists& propertyLists) {
    const Result<std::string> name = entryName(identifier);
    if (!name) return std::nullopt;
    const auto entry = readSmallFile(desktopEntries + "/" + name.value(), kMaxDesktopEntry);
    if (!entry) return std::nullopt;
    const MaybePath stated = entryValue(entry.value(), kBundleKey);
    MaybePath bundle = stated ? realPlace(*stated) : std::nullopt;
    if (!bundle || isInHiddenFolder(*bundle) || !isBundle(*bundle) ||
        bundleIdentifier(*bundle, propertyLists) != identifier)
        return std::nullopt;
    return bundle;
}

} // namespace quorvane::platform::linux_
