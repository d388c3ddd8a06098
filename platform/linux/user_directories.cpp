#include "platform/linux/user_directories.h"

#include <algorithm>
#include <optional>

#include "platform/linux/plain_path.h"
#include "platform/linux/small_file.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr std::size_t kMaxFileSize = std::size_t{64} << 10U;
constexpr std::string_view kNamePrefix = "XDG_";
constexpr std::string_view kNameSuffix = "_DIR";
constexpr std::string_view kHomeVariable = "$HOME";
constexpr std::string_view kBlanks = " \t";

std::string_view withoutBlanksBefore(std::string_view text) {
    const auto start = text.find_first_not_of(kBlanks);
    return start == std::string_view::npos ? std::string_view() : text.substr(start);
}

// The content up to the closing quote; a backslash keeps the character behind it.
std::optional<std::string> untilQuote(std::string_view text) {
    std::string content;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] == '"') return content;
        if (text[index] == '\\' && ++index == text.size()) break;
        content += text[index];
    }
    return std::nullopt;
}

// The folder that a quoted value names; null for anything else.
std::optional<Path> folder(std::string_view value, const Path& home) {
    if (!value.starts_with('"')) return std::nullopt;
    value.remove_prefix(1);
    const bool belowHome = value.starts_with(kHomeVariable);
    if (belowHome) value.remove_prefix(kHomeVariable.size());
    const auto rest = untilQuote(value);
    if (!rest || (!rest->empty() && rest->front() != '/')) return std::nullopt;

    Path path = plainPath(belowHome ? home + *rest : *rest);
    if (path.empty() || path == plainPath(home) || path.find('\0') != Path::npos)
        return std::nullopt;
    return path;
}

} // namespace

std::map<std::string, Path> parseUserDirectories(std::string_view text, const Path& home) {
    std::map<std::string, Path> folders;
    while (!text.empty()) {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));

        line = withoutBlanksBefore(line);
        const auto end = line.find_first_of(" \t=");
        if (end == std::string_view::npos) continue;
        std::string_view name = line.substr(0, end);
        line = withoutBlanksBefore(line.substr(end));
        if (!line.starts_with('=') || !name.starts_with(kNamePrefix) ||
            !name.ends_with(kNameSuffix) || name.size() <= kNamePrefix.size() + kNameSuffix.size())
            continue;
        const auto path = folder(withoutBlanksBefore(line.substr(1)), home);
        if (!path) continue;
        name.remove_prefix(kNamePrefix.size());
        name.remove_suffix(kNameSuffix.size());
        folders.insert_or_assign(std::string(name), *path);
    }
    return folders;
}

std::map<std::string, Path> userDirectories(const Path& configuration, const Path& home) {
    const auto text = readSmallFile(configuration + "/user-dirs.dirs", kMaxFileSize);
    if (!text) return {};
    return parseUserDirectories(text.value(), home);
}

} // namespace quorvane::platform::linux_
