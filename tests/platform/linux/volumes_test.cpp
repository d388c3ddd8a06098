#include "platform/linux/volumes.h"

#include <gmock/gmock.h>

#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {
namespace {

using platform::linux_::localVolumes;
using platform::linux_::localVolumesIn;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* kFileSystems = "nodev\tproc\nnodev\ttmpfs\n\text4\n\tfuseblk\nnodev\tnfs4\n"
                                     "nodev\tfuse\n";

TEST(Volumes, AreTheLocalOnesInTheirOrder) {
    EXPECT_THAT(
        localVolumesIn("22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
                       "23 22 0:21 / /proc rw - proc proc rw\n"
                       "24 22 8:17 / /media/anna/Backup rw shared:2 master:3 - ext4 /dev/b rw\n"
                       "25 22 0:30 / /mnt/server rw - nfs4 server:/x rw\n"
                       "26 22 8:18 / /media/stick rw - fuseblk /dev/c rw\n"
                       "27 22 0:31 / /home/anna/remote rw - fuse.sshfs a rw\n"
                       "28 22 0:32 / /tmp rw - tmpfs tmpfs rw\n"
                       "29 28 0:33 / /tmp rw - tmpfs tmpfs rw\n",
                       kFileSystems),
        ElementsAre("/", "/media/anna/Backup", "/media/stick", "/tmp"));
}

TEST(Volumes, NamesAreUnescaped) {
    EXPECT_THAT(localVolumesIn("24 22 8:17 / /media/My\\040Disk\\012\\134\xFF rw - ext4 /dev/b rw\n"
                               "25 22 8:17 / /media/half\\04 rw - ext4 /dev/b rw\n",
                               kFileSystems),
                ElementsAre("/media/My Disk\n\\\xFF", "/media/half\\04"));
}

TEST(Volumes, MalformedLinesAreNone) {
    EXPECT_THAT(
        localVolumesIn("\n- \n24 22 8:17 / /a rw -\n24 22 8:17 / /b rw ext4 /dev/b\nx - ext4\n",
                       kFileSystems),
        IsEmpty());
    EXPECT_THAT(localVolumesIn("", ""), IsEmpty());
}

TEST(Volumes, OfThisMachine) {
    EXPECT_THAT(localVolumes(), Contains("/"));
    EXPECT_THAT(localVolumes(), Not(Contains("/proc")));
}

TEST(Volumes, AppearWhenTheyAreMounted) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    scratch.addFolder("My Disk");
    inPrivateMounts([&] {
        EXPECT_THAT(localVolumes(), Not(Contains(scratch / "My Disk")));
        mountVolume("tmpfs", scratch / "My Disk");
        EXPECT_THAT(localVolumes(), Contains(scratch / "My Disk"));
    });
}

} // namespace
} // namespace quorvane::testing
