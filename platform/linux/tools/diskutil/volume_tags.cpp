#include <filesystem>
#include <memory>

#include <blkid/blkid.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "platform/linux/posix.h"
#include "platform/linux/tools/diskutil/block_device.h"

namespace quorvane::platform::linux_::tools::diskutil {
namespace {

namespace fs = std::filesystem;

int hexadecimal(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    return -1;
}

/// The text of a link's name, in which the device manager writes some bytes as "\x20".
std::string decoded(const std::string& name) {
    std::string text;
    for (std::size_t place = 0; place < name.size(); ++place) {
        const bool escaped = name.compare(place, 2, "\\x") == 0 && place + 3 < name.size();
        const int high = escaped ? hexadecimal(name[place + 2]) : -1;
        const int low = escaped ? hexadecimal(name[place + 3]) : -1;
        if (high < 0 || low < 0) {
            text += name[place];
        } else {
            text += static_cast<char>(high * 16 + low);
            place += 3;
        }
    }
    return text;
}

bool leadsTo(const fs::path& link, dev_t device) {
    struct stat status {};
    return ::stat(link.c_str(), &status) == 0 && S_ISBLK(status.st_mode) &&
           status.st_rdev == device;
}

std::optional<std::string> nameOfLink(const fs::path& folder, dev_t device) {
    std::error_code error;
    for (fs::directory_iterator link(folder, error); !error && link != fs::directory_iterator();
         link.increment(error))
        if (leadsTo(link->path(), device)) return decoded(link->path().filename());
    return std::nullopt;
}

struct Free {
    void operator()(blkid_struct_probe* probe) const { blkid_free_probe(probe); }
};

std::optional<std::string> probed(blkid_probe probe, const char* name) {
    const char* value = nullptr;
    if (blkid_probe_lookup_value(probe, name, &value, nullptr) != 0) return std::nullopt;
    return value;
}

VolumeTags probedTags(const Path& node) {
    const Descriptor file(::open(node.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    const std::unique_ptr<blkid_struct_probe, Free> probe(file ? blkid_new_probe() : nullptr);
    if (!probe || blkid_probe_set_device(probe.get(), file.get(), 0, 0) != 0) return {};
    blkid_probe_enable_superblocks(probe.get(), 1);
    blkid_probe_set_superblocks_flags(probe.get(), BLKID_SUBLKS_LABEL | BLKID_SUBLKS_UUID);
    if (blkid_do_safeprobe(probe.get()) != 0) return {};
    return {probed(probe.get(), "LABEL"), probed(probe.get(), "UUID")};
}

} // namespace

VolumeTags volumeTags(dev_t device, const std::string& name, const Path& devices) {
    const VolumeTags linked = {nameOfLink(devices + "/disk/by-label", device),
                               nameOfLink(devices + "/disk/by-uuid", device)};
    return linked.label || linked.uuid ? linked : probedTags(devices + "/" + name);
}

} // namespace quorvane::platform::linux_::tools::diskutil
