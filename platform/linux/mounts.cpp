#include "platform/linux/mounts.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <sstream>

#include "platform/linux/open_folders.h"
#include "platform/linux/plain_path.h"

namespace quorvane::platform::linux_ {
namespace {

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

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    std::istringstream stream{std::string(text)};
    for (std::string piece; std::getline(stream, piece, separator);) pieces.push_back(piece);
    return pieces;
}

/// Of a line such as "36 35 98:0 /root /point options [optional...] - type source options"; null
/// for any other.
std::optional<Mount> mountOf(const std::string& line) {
    constexpr std::size_t kPoint = 4;
    const std::vector<std::string> words = split(line, ' ');
    const auto separator = std::ranges::find(words, "-");
    if (words.size() <= kPoint || words.end() - separator < 2) return std::nullopt;
    Mount mount{0, words[2], unescaped(words[3]), unescaped(words[kPoint]), *(separator + 1)};
    const std::string& number = words.front();
    std::from_chars(number.data(), number.data() + number.size(), mount.number);
    return mount;
}

bool isBelow(const Path& path, const Path& folder) {
    return path == folder || folder == "/" || path.starts_with(folder + "/");
}

} // namespace

std::vector<Mount> mountsIn(std::string_view table) {
    std::vector<Mount> mounts;
    for (const std::string& line : split(table, '\n'))
        if (auto mount = mountOf(line)) mounts.push_back(std::move(*mount));
    return mounts;
}

std::vector<Mount> mounts() {
    std::ifstream table("/proc/self/mountinfo", std::ios::binary);
    return mountsIn(std::string(std::istreambuf_iterator<char>(table), {}));
}

bool FileSystemPlace::holds(const FileSystemPlace& other) const {
    return device == other.device && isBelow(other.path, path);
}

std::optional<FileSystemPlace> placeInFileSystem(int folder, const std::vector<Mount>& mounts) {
    struct statx status {};
    const auto path = pathOf(folder);
    if (!path || ::statx(folder, "", AT_EMPTY_PATH, STATX_MNT_ID, &status) == -1)
        return std::nullopt;
    const auto mount = std::ranges::find(mounts, status.stx_mnt_id, &Mount::number);
    if (mount == mounts.end() || !isBelow(path.value(), mount->point)) return std::nullopt;
    const Path rest = path.value().substr(mount->point == "/" ? 0 : mount->point.size());
    return FileSystemPlace{mount->device, plainPath(mount->root + "/" + rest)};
}

} // namespace quorvane::platform::linux_
