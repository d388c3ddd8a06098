#include <fstream>

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/property_lists.h"
#include "platform/linux/tools/diskutil/block_device.h"
#include "platform/linux/tools/diskutil/description.h"
#include "platform/linux/tools/diskutil/mounts.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/scratch_folder.h"
#include "tests/platform/linux/tools/tool_run.h"

namespace {

using namespace quorvane;
using namespace quorvane::platform::linux_::tools::diskutil;
using platform::PropertyList;
using quorvane::testing::runTool;
using quorvane::testing::ScratchFolder;
using quorvane::testing::ToolRun;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Key;
using ::testing::Not;
using ::testing::StartsWith;

PropertyList parsed(const std::string& list) {
    const auto result = platform::linux_::LinuxPropertyLists().parse(list);
    EXPECT_TRUE(result.ok()) << list;
    return result ? result.value() : PropertyList{PropertyList::Dictionary()};
}

PropertyList info(const std::string& itemOrDevice) {
    const ToolRun run = runTool(QV_DISKUTIL, {"info", "-plist", itemOrDevice});
    EXPECT_EQ(run.status, 0) << run.error;
    return parsed(run.output);
}

std::string textIn(const PropertyList& list, const std::string& key) {
    const PropertyList* value = list.find(key);
    const auto* text = value ? std::get_if<std::string>(&value->value) : nullptr;
    return text ? *text : "<none>";
}

std::int64_t numberIn(const PropertyList& list, const std::string& key) {
    const PropertyList* value = list.find(key);
    const auto* number = value ? std::get_if<std::int64_t>(&value->value) : nullptr;
    return number ? *number : -1;
}

std::optional<bool> flagIn(const PropertyList& list, const std::string& key) {
    const PropertyList* value = list.find(key);
    const auto* flag = value ? std::get_if<bool>(&value->value) : nullptr;
    return flag ? std::optional(*flag) : std::nullopt;
}

/// The kernel's folder of devices, as far as the tool looks.
class Devices : public ::testing::Test {
protected:
    /// A disk of its own, or a partition of one, with a number.
    void add(const std::string& number, const std::string& place) {
        folder_.addFolder("devices/" + place);
        folder_.addFolder("dev/block");
        std::filesystem::create_directory_symlink("../../devices/" + place,
                                                  folder_ / ("dev/block/" + number));
    }
    void set(const std::string& attribute, const std::string& value) {
        folder_.addFile("devices/" + attribute, value + "\n");
    }

    const ScratchFolder folder_;
};

TEST_F(Devices, TellAPartitionOfAUsbStick) {
    add("8:17", "pci0/usb1/1-1/host6/block/sdb/sdb1");
    set("pci0/usb1/1-1/host6/block/sdb/removable", "1");
    set("pci0/usb1/1-1/host6/block/sdb/queue/logical_block_size", "2048");
    set("pci0/usb1/1-1/host6/block/sdb/sdb1/partition", "1");
    set("pci0/usb1/1-1/host6/block/sdb/sdb1/ro", "1");
    const auto device = blockDevice(makedev(8, 17), folder_.path());
    ASSERT_TRUE(device);
    EXPECT_EQ(device->name, "sdb1");
    EXPECT_EQ(device->removable, true);
    EXPECT_EQ(device->writable, false);
    EXPECT_EQ(device->blockSize, 2048U);
    EXPECT_EQ(device->bus, "USB");
    EXPECT_EQ(device->internal, false);
}

TEST_F(Devices, TellTheDiskBelowAMappedDevice) {
    add("259:2", "pci0/nvme/nvme0/nvme0n1/nvme0n1p2");
    set("pci0/nvme/nvme0/nvme0n1/nvme0n1p2/partition", "2");
    set("pci0/nvme/nvme0/nvme0n1/removable", "0");
    add("253:0", "virtual/block/dm-0");
    set("virtual/block/dm-0/ro", "0");
    folder_.addFolder("devices/virtual/block/dm-0/slaves");
    std::filesystem::create_directory_symlink(folder_ / "dev/block/259:2",
                                              folder_ / "devices/virtual/block/dm-0/slaves/x");
    const auto device = blockDevice(makedev(253, 0), folder_.path());
    ASSERT_TRUE(device);
    EXPECT_EQ(device->name, "dm-0");
    EXPECT_EQ(device->bus, "PCI-Express");
    EXPECT_EQ(device->internal, true);
    EXPECT_EQ(device->removable, false);
    EXPECT_EQ(device->writable, true);
}

TEST_F(Devices, LeaveOutWhatTheyDoNotTell) {
    add("104:0", "pci0/block/cciss!c0d0");
    set("pci0/block/cciss!c0d0/removable", "what?");
    const auto device = blockDevice(makedev(104, 0), folder_.path());
    ASSERT_TRUE(device);
    EXPECT_EQ(device->name, "cciss/c0d0");
    EXPECT_FALSE(device->removable || device->writable || device->blockSize || device->bus ||
                 device->internal);
    EXPECT_FALSE(blockDevice(makedev(9, 9), folder_.path()));
}

TEST_F(Devices, HaveLinksWithTheirNames) {
    QV_NEEDS_SUPERUSER();
    // A node that nobody opens: nothing stands behind the number.
    const dev_t number = makedev(7, 1000);
    if (mknod((folder_ / "sdz1").c_str(), S_IFBLK | 0600, number) != 0)
        GTEST_SKIP() << "needs device nodes";
    folder_.addFile("disk/by-label/0", "no device");
    std::filesystem::create_symlink("../../missing", folder_ / "disk/by-label/1");
    std::filesystem::create_symlink("../../sdz1",
                                    folder_ / R"(disk/by-label/Back\x20up\x2f2\xc3\xa9\xZ)");
    folder_.addFolder("disk/by-uuid");
    std::filesystem::create_symlink("../../sdz1", folder_ / "disk/by-uuid/1B2C-3D4E");
    const VolumeTags tags = volumeTags(number, "sdz1", folder_.path());
    EXPECT_EQ(tags.label, "Back up/2\xc3\xa9\\xZ");
    EXPECT_EQ(tags.uuid, "1B2C-3D4E");
    const VolumeTags none = volumeTags(makedev(7, 1001), "missing", folder_.path());
    EXPECT_FALSE(none.label || none.uuid);
}

TEST(Mounts, AreFoundByTheirDevice) {
    const ScratchFolder folder;
    const Path table = folder.addFile(
        "mountinfo",
        "21 1 8:1 / / rw - ext4 /dev/root rw\n"
        "22 21 0:5 / /proc rw - proc proc rw\n"
        "23 21 8:17 /sub /Volumes/My\\040Disk\\012two ro shared:1 - vfat /dev/sdb1 ro\n"
        "24 21 8:17 / /again ro - vfat /dev/sdb1 ro\n");
    const auto mount = mountOfDevice(makedev(8, 17), table);
    ASSERT_TRUE(mount);
    EXPECT_EQ(mount->mountPoint, "/Volumes/My Disk\ntwo");
    EXPECT_EQ(mount->type, "vfat");
    EXPECT_EQ(mount->device, makedev(8, 17));
    EXPECT_FALSE(mountOfDevice(makedev(8, 18), table));
    EXPECT_FALSE(mountOfDevice(makedev(8, 17), folder / "missing"));
    EXPECT_FALSE(mountOfItem(folder / "missing"));
}

TEST(DiskFacts, BecomeAPropertyList) {
    const PropertyList list = parsed(propertyList({{"Flag", true},
                                                   {"Size", std::uint64_t{1} << 62U},
                                                   {"Name", "a <b> & \"c\" \xc3\xa4\n"},
                                                   {"Bytes", "no \xff text"},
                                                   {"Control", "\x1b[31m"}}));
    EXPECT_EQ(flagIn(list, "Flag"), true);
    EXPECT_EQ(numberIn(list, "Size"), std::int64_t{1} << 62U);
    EXPECT_EQ(textIn(list, "Name"), "a <b> & \"c\" \xc3\xa4\n");
    EXPECT_THAT(std::get<PropertyList::Dictionary>(list.value), Not(Contains(Key("Bytes"))));
    EXPECT_THAT(std::get<PropertyList::Dictionary>(list.value), Not(Contains(Key("Control"))));
}

TEST(DiskutilTool, DescribesTheVolumeOfAnyItem) {
    const ScratchFolder folder;
    const Path item = folder.addFile("a file\nof \xff");
    const PropertyList list = info(item);
    const std::string found =
        runTool("/usr/bin/findmnt", {"-no", "TARGET", "-T", folder.path()}).output;
    EXPECT_EQ(textIn(list, "MountPoint") + "\n", found);
    EXPECT_GT(numberIn(list, "TotalSize"), 0);
    EXPECT_GE(numberIn(list, "TotalSize"), numberIn(list, "FreeSpace"));
    EXPECT_EQ(flagIn(list, "WritableVolume"), true);
    EXPECT_EQ(textIn(info(textIn(list, "MountPoint")), "MountPoint"), textIn(list, "MountPoint"));
}

TEST(DiskutilTool, DescribesAMountedImage) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder folder;
    const Path image = folder.addFile("image");
    std::filesystem::resize_file(image, 4'000'000);
    const std::string uuid = "12345678-9abc-4def-8123-456789abcdef";
    ASSERT_EQ(
        runTool("/sbin/mke2fs", {"-q", "-t", "ext4", "-L", "Back up", "-U", uuid, "-F", image})
            .status,
        0);
    const Path volume = folder.addFolder("a volume");
    quorvane::testing::inPrivateMounts([&] {
        if (runTool("/bin/mount", {"-o", "loop,ro", image, volume}).status != 0)
            GTEST_SKIP() << "needs loop devices";
        const PropertyList list = info(volume);
        EXPECT_EQ(textIn(list, "MountPoint"), volume);
        EXPECT_EQ(textIn(list, "FilesystemType"), "ext4");
        EXPECT_EQ(textIn(list, "VolumeName"), "Back up");
        EXPECT_EQ(textIn(list, "VolumeUUID"), uuid);
        EXPECT_EQ(textIn(list, "BusProtocol"), "Disk Image");
        EXPECT_THAT(textIn(list, "DeviceIdentifier"), StartsWith("loop"));
        EXPECT_EQ(textIn(list, "DeviceNode"), "/dev/" + textIn(list, "DeviceIdentifier"));
        EXPECT_EQ(flagIn(list, "Internal"), false);
        EXPECT_EQ(flagIn(list, "Writable"), false);
        EXPECT_EQ(textIn(info(textIn(list, "DeviceNode")), "MountPoint"), volume);
        EXPECT_EQ(textIn(info(textIn(list, "DeviceIdentifier")), "MountPoint"), volume);
        quorvane::testing::asOrdinaryUser(folder.path(), [&] {
            const PropertyList same = info(volume);
            EXPECT_EQ(textIn(same, "DeviceNode"), textIn(list, "DeviceNode"));
            EXPECT_EQ(numberIn(same, "TotalSize"), numberIn(list, "TotalSize"));
        });
        EXPECT_EQ(runTool("/bin/umount", {volume}).status, 0);
    });
}

TEST(DiskutilTool, DescribesAVolumeWithoutADevice) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder folder;
    quorvane::testing::inPrivateMounts([&] {
        quorvane::testing::mountVolume("tmpfs", folder.path(), "size=1m");
        const auto facts = describe(folder.path());
        ASSERT_TRUE(facts);
        EXPECT_EQ(std::get<std::string>(facts->at("FilesystemType")), "tmpfs");
        EXPECT_EQ(std::get<std::uint64_t>(facts->at("TotalSize")), 1U << 20U);
        EXPECT_EQ(std::get<std::uint64_t>(facts->at("FreeSpace")), 1U << 20U);
        EXPECT_THAT(*facts, Not(Contains(Key("DeviceNode"))));
    });
}

TEST(DiskutilTool, KnowsNothingOfWhatIsNotThere) {
    for (const char* item : {"/no/such/item", "no-such-device", "", "/dev/no-such-device"}) {
        const ToolRun run = runTool(QV_DISKUTIL, {"info", "-plist", item});
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(run.error, std::string("diskutil: could not find disk: ") + item + "\n");
    }
}

TEST(DiskutilTool, ExplainsItself) {
    const ToolRun help = runTool(QV_DISKUTIL, {"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output, StartsWith("usage: diskutil info -plist"));
    for (const Arguments& wrong : {Arguments{}, {"info"}, {"info", "/"}, {"list", "-plist", "/"}}) {
        const ToolRun run = runTool(QV_DISKUTIL, wrong);
        EXPECT_EQ(run.status, 64);
        EXPECT_EQ(run.error, "diskutil: give info -plist and one item or device\n" + help.output);
    }
}

} // namespace
