// File names and paths: wildcards, cleaned and free names, sizes as text.

#include "kit/files/QVFileManager.h"

#include <array>

#include "kit/base/characters.h"
#include "kit/base/components.h"
#include "kit/base/format.h"
#include "kit/files/folder_walk.h"
#include "kit/files/wildcard.h"

namespace quorvane {
namespace {

bool hasWildcard(std::string_view text) { return text.find('*') != std::string_view::npos; }

/// The pattern as it stands below the base path.
Path belowBase(const MaybePath& basePath, const Path& pattern) {
    return basePath ? joinPath(std::string_view(*basePath), pattern) : pattern;
}

/// The existing items of the folders whose names the component matches.
std::vector<Path> expand(const std::vector<Path>& folders, const std::string& component) {
    std::vector<Path> found;
    for (const Path& folder : folders) {
        const auto names =
            hasWildcard(component) ? namesInFolder(folder) : std::vector<std::string>{component};
        for (const std::string& name : names) {
            if (hasWildcard(component) && !matchesWildcard(name, component)) continue;
            Path item = joinPath(std::string_view(folder), name);
            if (QVFileManager::fileExistsAtPath(item)) found.push_back(std::move(item));
        }
    }
    return found;
}

} // namespace

std::string QVFileManager::formatFileSize(double bytes) {
    constexpr double kStep = 1024;
    constexpr std::array<const char*, 4> kFormats = {"%0.2f KB", "%0.2f MB", "%0.2f GB",
                                                     "%0.2f TB"};
    if (bytes < kStep) return formatText("%0.0f B", {bytes});
    double size = bytes / kStep;
    std::size_t unit = 0;
    // Anything but a number is no less than any step.
    while (unit + 1 < kFormats.size() && !(size < kStep)) {
        size /= kStep;
        ++unit;
    }
    return formatText(kFormats.at(unit), {size});
}

std::vector<Path> QVFileManager::filesMatchingWildcardPath(const MaybePath& pattern,
                                                           const MaybePath& basePath,
                                                           SearchSubdirs /*searchSubdirs*/) {
    if (!pattern) return {};
    if (!hasWildcard(*pattern)) return {belowBase(basePath, *pattern)};
    const Path top = basePath.value_or("/");
    std::vector<Path> found = {top};
    for (const std::string& component : pathComponents(*pattern))
        found = component == "/" ? std::vector<Path>{top} : expand(found, component);
    return found;
}

MaybePath QVFileManager::decodeWildcardPath(const MaybePath& pattern, const MaybePath& basePath) {
    if (!pattern) return std::nullopt;
    const std::vector<Path> found = filesMatchingWildcardPath(pattern, basePath);
    if (!found.empty()) return found.front();
    return joinPath(basePath, *pattern);
}

MaybeText QVFileManager::validateFilename(const MaybeText& name) {
    if (!name || *name == ".") return name ? MaybeText("") : name;
    std::string_view visible = *name;
    if (visible.starts_with('.')) visible.remove_prefix(1);
    return replaceAll(replaceAll(trimWhitespace(visible), "/", ""), ":", "");
}

MaybePath QVFileManager::uniqueFilename(const MaybePath& path) {
    if (!fileExistsAtPath(path)) return path;
    const std::string_view extension = pathExtension(*path);
    const Path stem(withoutExtension(*path));
    for (long number = 2;; ++number) {
        Path candidate = stem + formatText(" %li", {number});
        if (!extension.empty()) candidate.append(".").append(extension);
        if (!fileExistsAtPath(candidate)) return candidate;
    }
}

} // namespace quorvane
