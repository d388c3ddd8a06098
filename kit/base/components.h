// Path components, as text: nothing here looks at the disk.
#pragma once

#include <concepts>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Values.h"

namespace quorvane {

/// The base with the component behind it and exactly one "/" between them; slashes at the end of
/// the base and at the start of the component do not double. An empty side leaves the other.
Path joinPath(std::string_view base, std::string_view component);
/// The same, null when the base is null.
template <std::same_as<MaybePath> Base>
Base joinPath(const Base& base, std::string_view component) {
    if (!base) return std::nullopt;
    return joinPath(std::string_view(*base), component);
}

/// The name after the last "/", trailing slashes aside; "/" for the root, empty for an empty path.
std::string_view lastComponent(std::string_view path);
/// What stands before the last component, without a final "/"; "/" for items of the root, empty
/// where there is no "/".
std::string_view withoutLastComponent(std::string_view path);

/// The names between the slashes, empty ones left out; a leading "/" is a component of its own.
std::vector<std::string> pathComponents(std::string_view path);

/// What follows the last "." of the last component; empty without one, and for hidden names such as
/// ".profile".
std::string_view pathExtension(std::string_view path);
/// The path without its extension and the dot before it.
std::string_view withoutExtension(std::string_view path);

} // namespace quorvane
