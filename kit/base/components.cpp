#include "kit/base/components.h"

#include <algorithm>

namespace quorvane {
namespace {

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    return path;
}

} // namespace

Path joinPath(std::string_view base, std::string_view component) {
    while (!component.empty() && component.front() == '/') component.remove_prefix(1);
    if (base.empty()) return Path(component);
    base = withoutTrailingSlashes(base);
    Path joined(base);
    if (component.empty()) return joined;
    if (joined.back() != '/') joined += '/';
    return joined.append(component);
}

std::string_view lastComponent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    if (path == "/") return path;
    return path.substr(path.rfind('/') + 1);
}

std::string_view withoutLastComponent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) return {};
    return slash == 0 ? path.substr(0, 1) : withoutTrailingSlashes(path.substr(0, slash));
}

std::vector<std::string> pathComponents(std::string_view path) {
    std::vector<std::string> components;
    if (path.starts_with('/')) components.emplace_back("/");
    while (!path.empty()) {
        const std::string_view name = path.substr(0, path.find('/'));
        if (!name.empty()) components.emplace_back(name);
        path.remove_prefix(std::min(name.size() + 1, path.size()));
    }
    return components;
}

std::string_view pathExtension(std::string_view path) {
    const std::string_view name = lastComponent(path);
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0) return {};
    return name.substr(dot + 1);
}

std::string_view withoutExtension(std::string_view path) {
    path = withoutTrailingSlashes(path);
    const std::string_view extension = pathExtension(path);
    const bool hasDot =
        !extension.empty() || (path.ends_with('.') && lastComponent(path).size() > 1);
    if (!hasDot) return path;
    return path.substr(0, path.size() - extension.size() - 1);
}

} // namespace quorvane
