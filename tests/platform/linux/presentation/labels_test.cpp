#include "platform/linux/presentation/labels.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/xattr.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <limits>

#include "kit/files/QVFileManager.h"
#include "platform/linux/run_loop.h"
#include "platform/linux/services.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::platform::linux_ {
namespace {

namespace fs = std::filesystem;
using quorvane::testing::inPrivateMounts;

constexpr std::optional<int> kNone = std::nullopt;

class Labels : public ::testing::Test {
protected:
    static int write(const Path& path, int number) {
        const auto written = writeLabel(path, number);
        return written ? 0 : written.error().code;
    }
    /// Sets, reads and takes away every label of a file and a folder.
    void expectLabelsIn(const Path& folder) {
        const Path file = folder + "/file";
        std::ofstream(file) << "content";
        for (const Path& item : {file, folder}) {
            EXPECT_EQ(readLabel(item), kNone);
            for (int label = 1; label <= 7; ++label) {
                EXPECT_EQ(write(item, label), 0);
                EXPECT_EQ(readLabel(item), label);
            }
            EXPECT_EQ(write(item, 0), 0);
            EXPECT_EQ(write(item, 0), 0);
            EXPECT_EQ(readLabel(item), kNone);
        }
    }
    /// Makes a file system in an image and mounts it; false where this machine cannot.
    bool mountImage(const std::string& type, const Path& folder) {
        const Path image = scratch / type + ".img";
        std::ofstream(image).close();
        fs::resize_file(image, std::uintmax_t{128} << 20U);
        const std::string make = "mkfs." + type + " -q " + image + " 2>/dev/null >&2";
        const std::string mount = "mount -o loop " + image + " " + folder + " 2>/dev/null";
        return std::system(make.c_str()) == 0 && std::system(mount.c_str()) == 0;
    }

    quorvane::testing::ScratchFolder scratch;
};

TEST_F(Labels, GoThereAndBack) { expectLabelsIn(scratch.addFolder("f")); }

TEST_F(Labels, GoThereAndBackOnEveryFileSystemWithAttributes) {
    QV_NEEDS_SUPERUSER();
    for (const std::string type : {"ext4", "btrfs", "tmpfs"}) {
        inPrivateMounts([&] {
            const Path folder = scratch.addFolder(type);
            if (type == "tmpfs")
                quorvane::testing::mountVolume("tmpfs", folder);
            else if (!mountImage(type, folder))
                return void(std::fprintf(stderr, "no %s here\n", type.c_str()));
            expectLabelsIn(folder);
            ::umount(folder.c_str());
        });
    }
}

TEST_F(Labels, AreQuietWhereThereAreNoAttributes) {
    EXPECT_NE(write("/proc/self/status", 6), 0);
    EXPECT_EQ(readLabel("/proc/self/status"), kNone);
    EXPECT_NE(write("/dev/null", 0), 0);
    EXPECT_EQ(readLabel("/dev/null"), kNone);
    QV_NEEDS_SUPERUSER();
    inPrivateMounts([&] {
        const Path folder = scratch.addFolder("ramfs");
        quorvane::testing::mountVolume("ramfs", folder);
        const Path file = scratch.addFile("ramfs/file");
        EXPECT_EQ(write(file, 6), EOPNOTSUPP);
        EXPECT_EQ(readLabel(file), kNone);
    });
}

TEST_F(Labels, HaveNumbersUpToSeven) {
    const Path file = scratch.addFile("a");
    EXPECT_EQ(write(file, 3), 0);
    for (const int number : {-1, 8, std::numeric_limits<int>::max()})
        EXPECT_EQ(write(file, number), EINVAL);
    EXPECT_EQ(readLabel(file), 3);
}

TEST_F(Labels, WhatIsNoLabelDoesNotCount) {
    const Path file = scratch.addFile("a");
    for (const std::string value : {"0", "8", "", "11", "x", "\xFF"}) {
        ASSERT_EQ(::setxattr(file.c_str(), kLabelAttribute, value.data(), value.size(), 0), 0);
        EXPECT_EQ(readLabel(file), kNone) << value;
    }
    EXPECT_EQ(write(file, 5), 0);
    EXPECT_EQ(readLabel(file), 5);
}

TEST_F(Labels, AbsentItemsAndLinksHaveNone) {
    const Path file = scratch.addFile("a");
    const Path link = scratch / "link";
    fs::create_symlink(file, link);
    EXPECT_EQ(write(file, 4), 0);
    EXPECT_EQ(readLabel(link), kNone);
    EXPECT_NE(write(link, 5), 0);
    EXPECT_EQ(readLabel(file), 4);
    for (const Path& path : {scratch / "missing", Path(), Path("a")}) {
        EXPECT_EQ(write(path, 4), ENOENT);
        EXPECT_EQ(readLabel(path), kNone);
    }
}

TEST_F(Labels, StayWithAnItemThatIsCopiedAndThrownAway) {
    const Path home = scratch.addFolder("home");
    fs::permissions(scratch.path(), fs::perms(0755));
    ::setenv("HOME", home.c_str(), 1);
    for (const char* name : {"XDG_DATA_HOME", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"})
        ::unsetenv(name);
    quorvane::testing::asOrdinaryUser(home, [&] {
        // They stay: the log uses them until the process ends.
        installServices(new Services(makeServices(std::make_shared<RunLoop>())));
        const Path file = scratch / "home/a";
        std::ofstream(file) << "content";
        QVFileManager::setFinderColorIndex(6, file);
        EXPECT_TRUE(QVFileManager::copyFile(file, home + "/b"));
        EXPECT_EQ(QVFileManager::finderColorIndexForPath(home + "/b"), 6);
        EXPECT_TRUE(QVFileManager::trashFile(file, ShouldAuth::no));
        const Path trashed = home + "/.local/share/Trash/files/a";
        EXPECT_EQ(QVFileManager::finderColorIndexForPath(trashed), 6);
        EXPECT_TRUE(QVFileManager::moveFile(trashed, file, ShouldAuth::no));
        EXPECT_EQ(QVFileManager::finderColorIndexForPath(file), 6);
    });
}

} // namespace
} // namespace quorvane::platform::linux_
