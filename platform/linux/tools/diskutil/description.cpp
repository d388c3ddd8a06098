#include "platform/linux/tools/diskutil/description.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include <plist/plist.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include "platform/linux/tools/diskutil/block_device.h"
#include "platform/linux/tools/diskutil/mounts.h"
#include "platform/linux/utf8.h"

namespace quorvane::platform::linux_::tools::diskutil {
namespace {

template <class Value>
void add(Facts& facts, const char* key, const std::optional<Value>& value) {
    if (value) facts[key] = *value;
}

void addMount(const Mount& mount, Facts& facts) {
    facts["MountPoint"] = mount.mountPoint;
    facts["FilesystemType"] = mount.type;
    facts["FilesystemName"] = mount.type;
    struct statvfs volume {};
    if (::statvfs(mount.mountPoint.c_str(), &volume) != 0) return;
    const std::uint64_t unit = volume.f_frsize;
    facts["TotalSize"] = volume.f_blocks * unit;
    facts["VolumeSize"] = volume.f_blocks * unit;
    facts["FreeSpace"] = volume.f_bavail * unit;
    facts["VolumeAllocationBlockSize"] = unit;
    const bool writable = (volume.f_flag & ST_RDONLY) == 0;
    facts["Writable"] = writable;
    facts["WritableVolume"] = writable;
}

void addDevice(dev_t number, Facts& facts) {
    const auto device = blockDevice(number);
    if (!device) return;
    facts["DeviceIdentifier"] = device->name;
    facts["DeviceNode"] = "/dev/" + device->name;
    add(facts, "DeviceBlockSize", device->blockSize);
    add(facts, "Removable", device->removable);
    add(facts, "RemovableMedia", device->removable);
    add(facts, "WritableMedia", device->writable);
    add(facts, "BusProtocol", device->bus);
    add(facts, "Internal", device->internal);
    const VolumeTags tags = volumeTags(number, device->name);
    add(facts, "VolumeName", tags.label);
    add(facts, "VolumeUUID", tags.uuid);
}

std::optional<struct stat> statusOf(const Path& item) {
    struct stat status {};
    if (::stat(item.c_str(), &status) != 0) return std::nullopt;
    return status;
}

/// The device number of a device's path or name.
std::optional<dev_t> deviceNumber(const std::string& text) {
    auto status = statusOf(text);
    if (!status && !text.empty() && text.find('/') == std::string::npos)
        status = statusOf("/dev/" + text);
    if (!status || !S_ISBLK(status->st_mode)) return std::nullopt;
    return status->st_rdev;
}

bool isControl(char byte) {
    return static_cast<unsigned char>(byte) < 0x20 && byte != '\t' && byte != '\n';
}

bool fitsIntoList(const std::string& text) {
    return isUtf8(text) && std::none_of(text.begin(), text.end(), isControl);
}

struct Free {
    void operator()(void* node) const { plist_free(node); }
    void operator()(char* text) const { std::free(text); }
};

/// A fact as a node of the list; null for one that it cannot hold.
struct Node {
    plist_t operator()(bool value) const { return plist_new_bool(value ? 1 : 0); }
    plist_t operator()(std::uint64_t value) const { return plist_new_uint(value); }
    plist_t operator()(const std::string& text) const {
        return fitsIntoList(text) ? plist_new_string(text.c_str()) : nullptr;
    }
};

} // namespace

std::optional<Facts> describe(const std::string& itemOrDevice) {
    const auto number = deviceNumber(itemOrDevice);
    const auto mount = number ? mountOfDevice(*number) : mountOfItem(itemOrDevice);
    if (!number && !mount) return std::nullopt;
    Facts facts;
    if (mount) addMount(*mount, facts);
    addDevice(number ? *number : mount->device, facts);
    if (facts.empty()) return std::nullopt;
    return facts;
}

std::string propertyList(const Facts& facts) {
    const std::unique_ptr<void, Free> list(plist_new_dict());
    for (const auto& [key, value] : facts)
        if (plist_t node = std::visit(Node(), value))
            plist_dict_set_item(list.get(), key.c_str(), node);
    char* text = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(list.get(), &text, &length);
    const std::unique_ptr<char, Free> owner(text);
    return {text, length};
}

} // namespace quorvane::platform::linux_::tools::diskutil
