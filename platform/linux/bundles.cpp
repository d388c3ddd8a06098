#include "platform/linux/bundles.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>
#include <vector>

#include "platform/PropertyLists.h"
#include "platform/linux/small_file.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr std::size_t kMaxDesktopEntry = std::size_t{1} << 20U;
constexpr int kSearchedLevels = 3;
constexpr std::string_view kApplicationExtension = "app";
constexpr std::array<std::string_view, 17> kBundleExtensions = {
    "app",    "bundle",   "component",   "framework", "kext",  "mdimporter", "mpkg", "osax", "pkg",
    "plugin", "prefpane", "qlgenerator", "saver",     "scptd", "service",    "wdgt", "xpc"};

std::string lowercased(std::string_view text) {
    std::string lower(text);
    for (char& letter : lower)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return lower;
}

std::string extensionOf(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
    const std::string_view name = path.substr(path.rfind('/') + 1);
    const auto dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? std::string()
                                                     : lowercased(name.substr(dot + 1));
}

bool hasBundleName(std::string_view path) {
    return std::ranges::find(kBundleExtensions, extensionOf(path)) != kBundleExtensions.end();
}

bool isFolder(const Path& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

// Undoes the escapes of a desktop entry's string.
std::string unescaped(std::string_view value) {
    std::string text;
    for (std::size_t index = 0; index < value.size(); ++index) {
        if (value[index] != '\\' || index + 1 == value.size()) {
            text += value[index];
            continue;
        }
        static constexpr std::string_view kLetters = "sntr\\";
        static constexpr std::string_view kMeanings = " \n\t\r\\";
        const auto letter = kLetters.find(value[++index]);
        if (letter == std::string_view::npos)
            text += {'\\', value[index]};
        else
            text += kMeanings[letter];
    }
    return text;
}

// The bundle key's value in the entry's main group.
MaybePath bundleOfEntry(std::string_view entry) {
    bool inMainGroup = false;
    while (!entry.empty()) {
        const std::string_view line = entry.substr(0, entry.find('\n'));
        entry.remove_prefix(std::min(line.size() + 1, entry.size()));
        if (line.starts_with('[')) inMainGroup = line.starts_with("[Desktop Entry]");
        if (!inMainGroup || !line.starts_with(kBundleKey)) continue;

        std::string_view rest = line.substr(kBundleKey.size());
        const auto equals = rest.find_first_not_of(' ');
        if (equals == std::string_view::npos || rest[equals] != '=') continue;
        rest.remove_prefix(equals + 1);
        const auto start = rest.find_first_not_of(' ');
        return start == std::string_view::npos ? Path() : unescaped(rest.substr(start));
    }
    return std::nullopt;
}

// The folders in a folder, links left out, sorted so that the answer does not hang on the disk's
// order.
std::vector<Path> subfolders(const Path& folder) {
    std::vector<Path> found;
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::error_code ignored;
        if (entry->symlink_status(ignored).type() == std::filesystem::file_type::directory)
            found.push_back(entry->path().string());
    }
    std::ranges::sort(found);
    return found;
}

bool bearsIdentifier(const Path& bundle, const std::string& identifier,
                     PropertyLists& propertyLists) {
    const auto info = propertyLists.parseFile(bundle + "/Contents/Info.plist");
    if (!info) return false;
    const PropertyList* value = info.value().find("CFBundleIdentifier");
    const auto* text = value == nullptr ? nullptr : std::get_if<std::string>(&value->value);
    return text != nullptr && *text == identifier;
}

MaybePath findBundle(const Path& folder, const std::string& identifier,
                     PropertyLists& propertyLists, int levels) {
    for (const Path& item : subfolders(folder)) {
        if (!hasBundleName(item)) {
            if (levels == 1) continue;
            if (auto found = findBundle(item, identifier, propertyLists, levels - 1)) return found;
        } else if (extensionOf(item) == kApplicationExtension &&
                   bearsIdentifier(item, identifier, propertyLists)) {
            return item;
        }
    }
    return std::nullopt;
}

} // namespace

bool isBundle(const Path& path) { return hasBundleName(path) && isFolder(path); }

MaybePath registeredBundle(const Path& desktopEntries, const std::string& identifier) {
    if (identifier.empty() || identifier.find('/') != std::string::npos) return std::nullopt;
    const auto entry =
        readSmallFile(desktopEntries + "/" + identifier + ".desktop", kMaxDesktopEntry);
    if (!entry) return std::nullopt;
    auto bundle = bundleOfEntry(entry.value());
    if (!bundle || !bundle->starts_with('/') || bundle->find('\0') != Path::npos ||
        !isFolder(*bundle))
        return std::nullopt;
    return bundle;
}

MaybePath findBundle(const Path& folder, const std::string& identifier,
                     PropertyLists& propertyLists) {
    if (identifier.empty()) return std::nullopt;
    return findBundle(folder, identifier, propertyLists, kSearchedLevels);
}

} // namespace quorvane::platform::linux_
