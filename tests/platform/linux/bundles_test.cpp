#include "platform/linux/bundles.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "platform/linux/property_lists.h"
#include "tests/platform/linux/sample_bundle.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::platform::linux_ {
namespace {

namespace fs = std::filesystem;

class BundlesTest : public ::testing::Test {
protected:
    Path addApplication(const std::string& path, const std::string& identifier) const {
        return quorvane::testing::addBundle(scratch, path, {{"CFBundleIdentifier", identifier}});
    }
    MaybePath find(const std::string& identifier) {
        return findBundle(scratch.path(), identifier, propertyLists, isOffered);
    }
    quorvane::testing::ScratchFolder scratch;
    std::function<bool(const Path&)> isOffered = [](const Path&) { return true; };
    LinuxPropertyLists propertyLists;
};

TEST_F(BundlesTest, ABundleIsAFolderWithABundlesExtension) {
    for (const char* name : {"A.app", "B.APP", "c.bundle", "d.plugin", "e.kext", "f.prefPane",
                             "g.pkg", "h.framework", "i j.app"})
        EXPECT_TRUE(isBundle(scratch.addFolder(name))) << name;
    EXPECT_TRUE(isBundle(scratch / "A.app/"));
    for (const char* name : {"folder", "app", ".app", "x.apps", "y.app.txt", "z."})
        EXPECT_FALSE(isBundle(scratch.addFolder(name))) << name;
    EXPECT_FALSE(isBundle(scratch.addFile("file.app")));
    EXPECT_FALSE(isBundle(scratch / "missing.app"));
    EXPECT_FALSE(isBundle(""));
}

TEST_F(BundlesTest, FindsAnApplicationThreeLevelsDeep) {
    const Path first = addApplication("A.app", "com.quorvane.A");
    const Path third = addApplication("Utilities/More/C.app", "com.quorvane.C");
    addApplication("Utilities/More/Deep/D.app", "com.quorvane.D");
    EXPECT_EQ(find("com.quorvane.A"), MaybePath(first));
    EXPECT_EQ(find("com.quorvane.C"), MaybePath(third));
    EXPECT_EQ(find("com.quorvane.D"), std::nullopt);
    EXPECT_EQ(find(""), std::nullopt);
}

TEST_F(BundlesTest, TheFirstInTheOrderOfNamesIsTaken) {
    addApplication("Z.app", "com.quorvane.A");
    const Path first = addApplication("B.app", "com.quorvane.A");
    EXPECT_EQ(find("com.quorvane.A"), MaybePath(first));
}

TEST_F(BundlesTest, IdentifiersAreComparedAsTheyStand) {
    addApplication("A.app", "com.quorvane.A");
    EXPECT_EQ(find("com.quorvane.a"), std::nullopt);
    EXPECT_EQ(find("com.quorvane"), std::nullopt);
}

TEST_F(BundlesTest, DoesNotLookIntoBundlesOrThroughLinks) {
    addApplication("A.app/Helpers/Inner.app", "com.quorvane.Inner");
    addApplication("B.bundle/C.app", "com.quorvane.C");
    addApplication("plain.bundle", "com.quorvane.Plain");
    fs::create_directory_symlink(scratch.path(), scratch / "loop");
    EXPECT_EQ(find("com.quorvane.Inner"), std::nullopt);
    EXPECT_EQ(find("com.quorvane.C"), std::nullopt);
    EXPECT_EQ(find("com.quorvane.Plain"), std::nullopt);
}

TEST_F(BundlesTest, DoesNotLookIntoHiddenFolders) {
    addApplication(".Trash-1000/files/A.app", "com.quorvane.A");
    addApplication(".hidden/A.app", "com.quorvane.A");
    addApplication("folder/.hidden/A.app", "com.quorvane.A");
    addApplication(".A.app", "com.quorvane.A");
    EXPECT_EQ(find("com.quorvane.A"), std::nullopt);
    const Path plain = addApplication("folder/in.here/A.app", "com.quorvane.A");
    EXPECT_EQ(find("com.quorvane.A"), MaybePath(plain));
}

TEST_F(BundlesTest, GoesOnWhereABundleIsNotOffered) {
    const Path first = addApplication("A.app", "com.quorvane.A");
    const Path second = addApplication("folder/A.app", "com.quorvane.A");
    isOffered = [&](const Path& bundle) { return bundle != first; };
    EXPECT_EQ(find("com.quorvane.A"), MaybePath(second));
    isOffered = [](const Path&) { return false; };
    EXPECT_EQ(find("com.quorvane.A"), std::nullopt);
}

TEST_F(BundlesTest, BrokenInfosAreSkipped) {
    scratch.addFile("A.app/Contents/Info.plist", "no property list");
    scratch.addFile(
        "B.app/Contents/Info.plist",
        "<plist><dict><key>CFBundleIdentifier</key><integer>1</integer></dict></plist>");
    scratch.addFolder("C.app/Contents");
    ASSERT_EQ(::mkfifo((scratch / "C.app/Contents/Info.plist").c_str(), 0600), 0);
    scratch.addFolder("D.app");
    const Path sound = addApplication("E.app", "com.quorvane.A");
    EXPECT_EQ(find("com.quorvane.A"), MaybePath(sound));
}

TEST_F(BundlesTest, AMissingFolderHoldsNothing) {
    EXPECT_EQ(findBundle(scratch / "missing", "com.quorvane.A", propertyLists, isOffered),
              std::nullopt);
}

} // namespace
} // namespace quorvane::platform::linux_
