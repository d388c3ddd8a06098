#include "platform/linux/bundle_info.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <initializer_list>
#include <string_view>
#include <system_error>

#include "platform/PropertyLists.h"
#include "platform/linux/posix.h"
#include "platform/linux/utf8.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr std::array<std::string_view, 3> kIconExtensions = {".svg", ".png", ".icns"};

std::string_view withoutExtension(std::string_view name) {
    const auto dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? name : name.substr(0, dot);
}

std::string_view lastName(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
    return path.substr(path.rfind('/') + 1);
}

bool isFileName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos;
}

MaybeText textOf(const PropertyList& info, const std::string& key) {
    const PropertyList* entry = info.find(key);
    const auto* text = entry == nullptr ? nullptr : std::get_if<std::string>(&entry->value);
    if (text == nullptr || text->empty() || text->find('\0') != std::string::npos || !isUtf8(*text))
        return std::nullopt;
    return *text;
}

/// Infos write a switch as a boolean, as a number or as a text.
bool isOn(const PropertyList& info, const std::string& key) {
    const PropertyList* entry = info.find(key);
    if (entry == nullptr) return false;
    if (const auto* flag = std::get_if<bool>(&entry->value)) return *flag;
    if (const auto* number = std::get_if<std::int64_t>(&entry->value)) return *number != 0;
    static constexpr std::array<std::string_view, 4> kYes = {"1", "YES", "Yes", "true"};
    const auto* text = std::get_if<std::string>(&entry->value);
    return text != nullptr && std::ranges::find(kYes, *text) != kYes.end();
}

std::string nameOf(const PropertyList& info, const Path& bundle) {
    for (const char* key : {"CFBundleDisplayName", "CFBundleName"})
        if (auto name = textOf(info, key)) return *name;
    return std::string(withoutExtension(lastName(bundle)));
}

/// The icon's name has an extension or none, and pictures beside it may suit a desktop better.
MaybePath iconOf(const PropertyList& info, const Path& bundle) {
    const MaybeText stated = textOf(info, "CFBundleIconFile");
    if (!stated || !isFileName(*stated)) return std::nullopt;
    const Path resources = bundle + "/Contents/Resources/";
    for (const std::string_view stem : {std::string_view(*stated), withoutExtension(*stated)}) {
        for (const std::string_view extension : kIconExtensions) {
            Path icon = resources + std::string(stem) + std::string(extension);
            std::error_code ignored;
            if (std::filesystem::is_regular_file(icon, ignored)) return icon;
        }
    }
    return std::nullopt;
}

} // namespace

MaybeText bundleIdentifier(const Path& bundle, PropertyLists& propertyLists) {
    const auto info = propertyLists.parseFile(bundle + "/Contents/Info.plist");
    return info ? textOf(info.value(), "CFBundleIdentifier") : std::nullopt;
}

Result<BundleInfo> readBundleInfo(const Path& bundle, PropertyLists& propertyLists) {
    const auto info = propertyLists.parseFile(bundle + "/Contents/Info.plist");
    if (!info) return info.error();
    const MaybeText identifier = textOf(info.value(), "CFBundleIdentifier");
    const std::string executable = textOf(info.value(), "CFBundleExecutable")
                                       .value_or(std::string(withoutExtension(lastName(bundle))));
    if (!identifier || !isFileName(executable)) return systemError(EINVAL);
    return BundleInfo{*identifier, nameOf(info.value(), bundle),
                      bundle + "/Contents/MacOS/" + executable, iconOf(info.value(), bundle),
                      isOn(info.value(), "LSUIElement") || isOn(info.value(), "LSBackgroundOnly")};
}

} // namespace quorvane::platform::linux_
