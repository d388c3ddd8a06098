#include "tests/platform/linux/child_process.h"

#include <cstdio>

#include <grp.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace quorvane::testing {
namespace {

void inChild(const std::function<void()>& body) {
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        body();
        std::fflush(nullptr);
        _exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "see what the child says above";
}

} // namespace

bool isSuperuser() { return geteuid() == 0; }

void asOrdinaryUser(const Path& folder, const std::function<void()>& body) {
    if (!isSuperuser()) return body();
    ASSERT_EQ(chown(folder.c_str(), kOrdinaryUser, kOrdinaryUser), 0);
    inChild([&] {
        ASSERT_EQ(setgroups(0, nullptr), 0);
        ASSERT_EQ(setresgid(kOrdinaryUser, kOrdinaryUser, kOrdinaryUser), 0);
        ASSERT_EQ(setresuid(kOrdinaryUser, kOrdinaryUser, kOrdinaryUser), 0);
        body();
    });
}

void inPrivateMounts(const std::function<void()>& body) {
    inChild([&] {
        ASSERT_EQ(unshare(CLONE_NEWNS), 0);
        ASSERT_EQ(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
        body();
    });
}

void mountVolume(const char* type, const Path& folder, const std::string& options) {
    ASSERT_EQ(mount("none", folder.c_str(), type, MS_NOSUID, options.c_str()), 0) << type;
}

void mountUntrustedVolume(const Path& folder) {
    ASSERT_EQ(mount("none", folder.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "mode=755"), 0);
}

void giveCapability(const Path& program) {
    vfs_cap_data capability{};
    capability.magic_etc = VFS_CAP_REVISION_2 | VFS_CAP_FLAGS_EFFECTIVE;
    capability.data[0].permitted = 1U << CAP_SETUID;
    ASSERT_EQ(setxattr(program.c_str(), kCapability, &capability, sizeof capability, 0), 0);
}

bool honoursSetIds(const Path& item) {
    struct statvfs volume {};
    EXPECT_EQ(statvfs(item.c_str(), &volume), 0) << item;
    return (volume.f_flag & ST_NOSUID) == 0;
}

void remountReadOnly(const Path& folder) {
    ASSERT_EQ(mount("none", folder.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
}

void bindFolder(const Path& folder, const Path& place) {
    ASSERT_EQ(mount(folder.c_str(), place.c_str(), nullptr, MS_BIND, nullptr), 0) << place;
}

} // namespace quorvane::testing
