#include "platform/linux/plain_path.h"

#include <algorithm>

namespace quorvane::platform::linux_ {

std::vector<std::string> pathParts(std::string_view path) {
    std::vector<std::string> parts;
    while (!path.empty()) {
        const std::string_view part = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(part.size() + 1, path.size()));
        if (!part.empty() && part != ".") parts.emplace_back(part);
    }
    return parts;
}

Path plainPath(const Path& path) {
    if (!path.starts_with('/')) return path;
    Path plain;
    for (const std::string& part : pathParts(path)) plain += "/" + part;
    return plain.empty() ? "/" : plain;
}

bool isPlain(const Path& path) {
    return path.starts_with('/') && plainPath(path) == path &&
           std::ranges::count(pathParts(path), "..") == 0;
}

} // namespace quorvane::platform::linux_
