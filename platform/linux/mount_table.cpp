#include "platform/linux/mount_table.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <unordered_map>
#include <utility>

#include "platform/linux/folder_trail.h"
#include "platform/linux/open_folders.h"
#include "platform/linux/posix.h"
#include "platform/linux/small_file.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr std::size_t kLongestTable = 64UL * 1024 * 1024;

/// Takes what stands before the next separator off a text.
std::string_view takePiece(std::string_view& text, char separator) {
    const std::size_t end = std::min(text.find(separator), text.size());
    const std::string_view piece = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return piece;
}

bool isOctal(char c) { return c >= '0' && c <= '7'; }

/// White space and backslashes are written as a backslash and three octal digits.
Path unescaped(std::string_view text) {
    Path path;
    while (!text.empty()) {
        const bool escaped = text.size() >= 4 && text[0] == '\\' &&
                             std::all_of(text.begin() + 1, text.begin() + 4, isOctal);
        path +=
            escaped
                ? static_cast<char>((text[1] - '0') * 64 + (text[2] - '0') * 8 + (text[3] - '0'))
                : text[0];
        text.remove_prefix(escaped ? 4 : 1);
    }
    return path;
}

std::uint64_t numberIn(std::string_view text) {
    std::uint64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/// ID PARENT VOLUME ROOT POINT OPTIONS [TAG...] - TYPE SOURCE OPTIONS
std::optional<Mount> parseMount(std::string_view line) {
    std::array<std::string_view, 5> first;
    for (std::string_view& word : first) word = takePiece(line, ' ');
    while (!line.empty() && takePiece(line, ' ') != "-") {
    }
    const std::string_view type = takePiece(line, ' ');
    if (type.empty()) return std::nullopt;
    return Mount{numberIn(first[0]),  numberIn(first[1]),  std::string(first[2]),
                 unescaped(first[3]), unescaped(first[4]), std::string(type)};
}

} // namespace

std::vector<Mount> parseMounts(std::string_view table) {
    std::vector<Mount> mounts;
    while (!table.empty())
        if (auto mount = parseMount(takePiece(table, '\n'))) mounts.push_back(std::move(*mount));
    return mounts;
}

Result<std::vector<Mount>> currentMounts() {
    const Result<Bytes> table = readSmallFile("/proc/self/mountinfo", kLongestTable);
    if (!table) return table.error();
    return parseMounts(table.value());
}

bool isWithin(const Path& path, const Path& top) {
    if (top == "/") return true;
    return path.starts_with(top) && (path.size() == top.size() || path[top.size()] == '/');
}

Path onVolume(const Mount& mount, const Path& path) {
    const Path below = mount.point == "/" ? path : path.substr(mount.point.size());
    return mount.root == "/" ? below : mount.root + below;
}

bool holdsMount(const std::vector<Mount>& mounts, std::uint64_t mount, const Path& folder) {
    std::unordered_map<std::uint64_t, const Mount*> byId;
    for (const Mount& each : mounts) byId.emplace(each.id, &each);
    const auto own = byId.find(mount);
    // The mount that holds the root of a process is not told where that is no mount point.
    if (own == byId.end() || !isWithin(folder, own->second->point))
        return std::ranges::any_of(mounts,
                                   [&](const Mount& each) { return isWithin(each.point, folder); });
    if (folder == own->second->point) return true;
    const Path place = onVolume(*own->second, folder);
    return std::ranges::any_of(mounts, [&](const Mount& each) {
        const auto parent = byId.find(each.parent);
        if (parent == byId.end() || parent->second->volume != own->second->volume) return false;
        return isWithin(each.point, parent->second->point) &&
               isWithin(onVolume(*parent->second, each.point), place);
    });
}

Result<void> checkHoldsNoMount(int parent, const char* name) {
    const Descriptor item(
        retryInterrupted([&] { return openat(parent, name, O_PATH | O_NOFOLLOW | O_CLOEXEC); }));
    if (!item) return errno == ENOENT ? Result<void>() : Result<void>(systemError());
    struct stat status {};
    if (fstat(item.get(), &status) != 0) return systemError();
    if (!S_ISDIR(status.st_mode)) return {};
    const Result<FolderIdentity> identity = identify(item);
    if (!identity) return identity.error();
    const Result<Path> path = pathOf(item.get());
    if (!path) return path.error();
    const Result<std::vector<Mount>> mounts = currentMounts();
    if (!mounts) return mounts.error();
    return holdsMount(mounts.value(), identity.value().mount, path.value())
               ? Result<void>(systemError(EBUSY))
               : Result<void>();
}

} // namespace quorvane::platform::linux_
