#include "platform/linux/system_info.h"

#include <unistd.h>

#include <array>
#include <climits>
#include <string_view>

#include "platform/linux/small_file.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr const char* kReleaseFile = "/etc/os-release";
constexpr std::size_t kReleaseFileLimit = 65536;
constexpr std::string_view kNameKey = "PRETTY_NAME=";

/// A value of a shell-like file: quotes go, and backslashes keep what follows.
std::string unquoted(std::string_view value) {
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '"' || value[i] == '\'') continue;
        if (value[i] == '\\' && i + 1 < value.size()) ++i;
        text += value[i];
    }
    return text;
}

std::string releaseName(std::string_view release) {
    while (!release.empty()) {
        const std::size_t end = release.find('\n');
        const std::string_view line = release.substr(0, end);
        if (line.starts_with(kNameKey)) return unquoted(line.substr(kNameKey.size()));
        if (end == std::string_view::npos) break;
        release.remove_prefix(end + 1);
    }
    return "Linux"; // what the file's own manual gives for a missing name
}

class LinuxSystemInfo : public SystemInfo {
public:
    std::string operatingSystemVersion() override {
        const auto release = readSmallFile(kReleaseFile, kReleaseFileLimit);
        return releaseName(release ? release.value() : std::string());
    }

    long processorCount() override { return ::sysconf(_SC_NPROCESSORS_ONLN); }

    std::uint64_t physicalMemory() override {
        const long pages = ::sysconf(_SC_PHYS_PAGES);
        const long pageSize = ::sysconf(_SC_PAGESIZE);
        if (pages < 0 || pageSize < 0) return 0;
        return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
    }

    MaybePath executablePath() override {
        std::array<char, PATH_MAX> path{};
        const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
        if (length <= 0) return std::nullopt;
        return Path(path.data(), static_cast<std::size_t>(length));
    }

    MaybeText bundleVersion() override { return QUORVANE_VERSION; }
};

} // namespace

std::shared_ptr<SystemInfo> makeSystemInfo() { return std::make_shared<LinuxSystemInfo>(); }

} // namespace quorvane::platform::linux_
