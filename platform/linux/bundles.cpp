#include "platform/linux/bundles.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>
#include <vector>

#include "platform/PropertyLists.h"
#include "platform/linux/bundle_info.h"

namespace quorvane::platform::linux_ {
namespace {

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

bool isHidden(std::string_view name) { return name.starts_with('.'); }

bool isFolder(const Path& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

// The folders in a folder, links and hidden ones left out, sorted so that the answer does not hang
// on the disk's order.
std::vector<Path> subfolders(const Path& folder) {
    std::vector<Path> found;
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::error_code ignored;
        if (!isHidden(entry->path().filename().string()) &&
            entry->symlink_status(ignored).type() == std::filesystem::file_type::directory)
            found.push_back(entry->path().string());
    }
    std::ranges::sort(found);
    return found;
}

using IsSought = std::function<bool(const Path& application)>;

MaybePath findApplication(const Path& folder, const IsSought& isSought, int levels) {
    for (const Path& item : subfolders(folder)) {
        if (!hasBundleName(item)) {
            if (levels == 1) continue;
            if (auto found = findApplication(item, isSought, levels - 1)) return found;
        } else if (extensionOf(item) == kApplicationExtension && isSought(item)) {
            return item;
        }
    }
    return std::nullopt;
}

} // namespace

bool isBundle(const Path& path) { return hasBundleName(path) && isFolder(path); }

MaybePath findBundle(const Path& folder, const std::string& identifier,
                     PropertyLists& propertyLists, const IsOffered& isOffered) {
    if (identifier.empty()) return std::nullopt;
    const auto isSought = [&](const Path& application) {
        return bundleIdentifier(application, propertyLists) == identifier && isOffered(application);
    };
    return findApplication(folder, isSought, kSearchedLevels);
}

} // namespace quorvane::platform::linux_
