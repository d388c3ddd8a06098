#include "platform/linux/presentation/presentation.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "kit/files/QVFileManager.h"
#include "platform/Workspace.h"
#include "platform/linux/accounts.h"
#include "platform/linux/presentation/change_notices.h"
#include "platform/linux/property_lists.h"
#include "platform/linux/run_loop.h"
#include "platform/linux/services.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/presentation/private_bus.h"
#include "tests/platform/linux/sample_bundle.h"
#include "tests/platform/linux/stub_identity.h"

namespace quorvane::platform::linux_ {
namespace {

namespace fs = std::filesystem;

class LinuxPresentation : public ::testing::Test {
protected:
    LinuxPresentation() {
        for (const char* name : {"XDG_DATA_HOME", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"})
            ::unsetenv(name);
        identity->home = scratch.addFolder("home");
    }

    Path addApplication() const {
        return quorvane::testing::addBundle(scratch, "A.app",
                                            {{"CFBundleIdentifier", "com.quorvane.A"}});
    }
    /// The error number, 0 for success.
    int enter(const Path& bundle) const {
        const auto done = presentation->registerApplication(bundle, ForceUpdate::yes);
        return done ? 0 : done.error().code;
    }

    quorvane::testing::ScratchFolder scratch;
    const std::shared_ptr<quorvane::testing::StubIdentity> identity =
        std::make_shared<quorvane::testing::StubIdentity>();
    const std::shared_ptr<Presentation> presentation = makePresentation(
        identity, std::make_shared<LinuxPropertyLists>(), std::make_shared<ChangeNotices>());
};

TEST_F(LinuxPresentation, RegistersWhereTheUsersDataIs) {
    EXPECT_EQ(enter(addApplication()), 0);
    EXPECT_TRUE(fs::exists(scratch / "home/.local/share/applications/com.quorvane.A.desktop"));
    ::setenv("XDG_DATA_HOME", (scratch / "data").c_str(), 1);
    EXPECT_EQ(enter(addApplication()), 0);
    EXPECT_TRUE(fs::exists(scratch / "data/applications/com.quorvane.A.desktop"));
    identity->home = std::nullopt;
    EXPECT_EQ(enter(addApplication()), ENOENT);
}

TEST_F(LinuxPresentation, TheSuperuserRegistersForTheUserAtTheConsole) {
    QV_NEEDS_SUPERUSER();
    const auto account = accountNamed("nobody");
    ASSERT_TRUE(account);
    identity->userId = 0;
    identity->console = "nobody";
    identity->homes["nobody"] = scratch / "home";
    const Path bundle = addApplication();
    fs::permissions(scratch.path(), fs::perms(0755));
    EXPECT_EQ(enter(bundle), EACCES) << "the folder is the superuser's";
    ASSERT_EQ(::chown((scratch / "home").c_str(), account->uid, account->gid), 0);
    EXPECT_EQ(enter(bundle), 0);
    struct stat status {};
    const Path entry = scratch / "home/.local/share/applications/com.quorvane.A.desktop";
    ASSERT_EQ(::stat(entry.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, account->uid);
    // The user must not lead the superuser to where the user may not write.
    const Path forbidden = scratch.addFolder("forbidden");
    fs::remove_all(scratch / "home/.local/share/applications");
    fs::create_directory_symlink(forbidden, scratch / "home/.local/share/applications");
    EXPECT_EQ(enter(bundle), EACCES);
    EXPECT_TRUE(fs::is_empty(forbidden));
    identity->console = std::nullopt;
    EXPECT_EQ(enter(bundle), ENOENT);
}

TEST_F(LinuxPresentation, OnlyChangesOfItemsCanBeTold) {
    const EventDescription change{"fndr", "fupd", "sign", "MACS", -1, 0, "'----':alis(@@)"};
    EXPECT_TRUE(presentation->buildEvent(change, {}));
    for (const auto member :
         {&EventDescription::eventClass, &EventDescription::eventId, &EventDescription::addressType,
          &EventDescription::address, &EventDescription::parameters}) {
        EventDescription other = change;
        other.*member = "none";
        EXPECT_EQ(presentation->buildEvent(other, {}).error().code, ENOTSUP);
    }
}

TEST_F(LinuxPresentation, ListenersHearOfAChangedItemByTheNameThatItHasNow) {
    const std::string address = "unix:path=" + scratch.path() + "/bus";
    const quorvane::testing::PrivateBus bus(scratch.path(), address);
    quorvane::testing::NoticeListener listener(address);
    ::setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    const Services services = makeServices(std::make_shared<RunLoop>());
    installServices(&services);
    const Path folder = scratch.addFolder("a folder");
    QVFileManager::notifyFileSystemChanged(folder);
    EXPECT_EQ(listener.next(), "FilesAdded file://" + scratch.path() + "/a%20folder");
    const Path file = scratch.addFile("a");
    const FileReference reference = QVFileManager::stringToFSRef(file);
    fs::rename(file, scratch / "b");
    EXPECT_EQ(SendFinderSyncEvent(&reference), 0);
    EXPECT_EQ(listener.next(), "FilesChanged [file://" + scratch.path() + "/b]");
    services.workspace->noteFileSystemChanged(scratch / "b");
    EXPECT_EQ(listener.next(), "FilesChanged [file://" + scratch.path() + "/b]");
    fs::remove(scratch / "b");
    EXPECT_EQ(SendFinderSyncEvent(&reference), ENOENT);
    installServices(nullptr);
}

TEST_F(LinuxPresentation, WithoutADesktopNobodyIsTold) {
    const Services services = makeServices(std::make_shared<RunLoop>());
    installServices(&services);
    const FileReference reference = QVFileManager::stringToFSRef(scratch.path());
    EXPECT_EQ(SendFinderSyncEvent(&reference), ENOENT);
    QVFileManager::notifyFileSystemChanged(scratch.path());
    installServices(nullptr);
}

} // namespace
} // namespace quorvane::platform::linux_
