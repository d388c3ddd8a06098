#include "platform/linux/presentation/labels.h"

#include <sys/xattr.h>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr int kLastLabel = 7;

Result<void> removeLabel(const Path& item) {
    if (::lremovexattr(item.c_str(), kLabelAttribute) != 0 && errno != ENODATA)
        return systemError();
    return {};
}

} // namespace

std::optional<int> readLabel(const Path& path) {
    const Result<Path> item = systemPath(path);
    char digit = 0;
    if (!item || ::lgetxattr(item.value().c_str(), kLabelAttribute, &digit, 1) != 1)
        return std::nullopt;
    const int number = digit - '0';
    if (number < 1 || number > kLastLabel) return std::nullopt;
    return number;
}

Result<void> writeLabel(const Path& path, int number) {
    if (number < 0 || number > kLastLabel) return systemError(EINVAL);
    const Result<Path> item = systemPath(path);
    if (!item) return item.error();
    if (number == 0) return removeLabel(item.value());
    const char digit = static_cast<char>('0' + number);
    if (::lsetxattr(item.value().c_str(), kLabelAttribute, &digit, 1, 0) != 0) return systemError();
    return {};
}

} // namespace quorvane::platform::linux_
