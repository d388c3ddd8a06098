// The kit's guard compares texts; this holds that the texts which Linux gives it are comparable.

#include <sys/mount.h>

#include <gtest/gtest.h>

#include "kit/paths/QVLocalPaths.h"
#include "platform/Services.h"
#include "platform/linux/run_loop.h"
#include "platform/linux/services.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {
namespace {

class LinuxGuard : public ::testing::Test {
protected:
    LinuxGuard() {
        platform::installServices(&services);
        ::setenv("XDG_CONFIG_HOME", (scratch.path() + "/").c_str(), 1);
        scratch.addFile("user-dirs.dirs", "XDG_DESKTOP_DIR=\"$HOME//Schreibtisch/\"\n"
                                          "XDG_DOCUMENTS_DIR=\"//data/./Papers\"\n");
    }
    ~LinuxGuard() override { platform::installServices(nullptr); }

    static bool isProtected(const Path& path) {
        return QVLocalPaths::isPathSystemDirectory(path, ExactMatch::yes);
    }

    ScratchFolder scratch;
    const platform::Services services =
        platform::linux_::makeServices(std::make_shared<platform::linux_::RunLoop>());
};

TEST_F(LinuxGuard, ProtectsAHomeHoweverItIsSpelt) {
    // As an ordinary user, since the superuser's folders are the console user's.
    asOrdinaryUser(scratch.path(), [] {
        for (const char* home : {"/home/anna", "/home/anna/", "/home//anna", "/home/./anna"}) {
            ::setenv("HOME", home, 1);
            for (const char* path :
                 {"/home/anna", "/home/anna/Library", "/home/anna/Applications",
                  "/home/anna/Library/Caches", "/home/anna/Schreibtisch", "/data/Papers"})
                EXPECT_TRUE(isProtected(path)) << path << " in " << home;
            EXPECT_FALSE(isProtected("/home/anna/item")) << home;
            EXPECT_EQ(QVLocalPaths::trashDirectory(), MaybePath("/home/anna/.Trash"));
        }
    });
}

TEST_F(LinuxGuard, ProtectsTheConsoleUsersHomeHoweverItIsSpelt) {
    QV_NEEDS_SUPERUSER();
    const Path accounts = scratch.addFile(
        "passwd", "root:x:0:0::/root:/bin/sh\nanna:x:1000:1000:://home/./anna/:/\n");
    const Path sessions = scratch.addFolder("run");
    scratch.addFile("run/systemd/seats/seat0", "ACTIVE=c1\n");
    scratch.addFile("run/systemd/sessions/c1", "CLASS=user\nUSER=anna\n");
    inPrivateMounts([&] {
        ASSERT_EQ(::mount(accounts.c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr), 0);
        bindFolder(sessions, "/run");
        ASSERT_EQ(QVLocalPaths::currentConsoleUser(), MaybeText("anna"));
        for (const char* path : {"/home/anna", "/home/anna/Library", "/home/anna/Desktop"})
            EXPECT_TRUE(isProtected(path)) << path;
    });
}

} // namespace
} // namespace quorvane::testing
