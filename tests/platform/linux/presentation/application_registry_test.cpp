#include "platform/linux/presentation/application_registry.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "platform/linux/presentation/desktop_entry.h"
#include "platform/linux/property_lists.h"
#include "tests/platform/linux/sample_bundle.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::platform::linux_ {
namespace {

namespace fs = std::filesystem;
using quorvane::testing::addBundle;
using quorvane::testing::contentOf;
using Values = std::map<std::string, std::string>;

constexpr const char* kIdentifier = "com.quorvane.A";

class ApplicationRegistry : public ::testing::Test {
protected:
    Path add(const std::string& path, Values values = {}) {
        values.try_emplace("CFBundleIdentifier", kIdentifier);
        return addBundle(scratch, path, values);
    }
    /// The error number, 0 for success.
    int enter(const Path& bundle, ForceUpdate forceUpdate = ForceUpdate::yes) {
        const auto done = registerBundle(bundle, entries, forceUpdate, propertyLists);
        return done ? 0 : done.error().code;
    }
    MaybePath found(const std::string& identifier = kIdentifier) {
        return registeredBundle(entries, identifier, propertyLists);
    }
    Path entryFile(const std::string& identifier = kIdentifier) const {
        return entries + "/" + identifier + ".desktop";
    }
    std::string entry() const { return contentOf(entryFile()); }
    void writeEntry(const std::string& content) const {
        scratch.addFile(std::string("data/applications/") + kIdentifier + ".desktop", content);
    }
    bool isValid() const {
        const std::string line = "desktop-file-validate '" + entryFile() + "'";
        return std::system(line.c_str()) == 0;
    }
    std::ptrdiff_t entryCount() const {
        return std::distance(fs::directory_iterator(entries), fs::directory_iterator());
    }

    quorvane::testing::ScratchFolder scratch;
    Path entries = scratch / "data/applications";
    LinuxPropertyLists propertyLists;
};

TEST_F(ApplicationRegistry, WritesAnEntryThatStartsTheBundle) {
    const Path bundle = add("Stage Tidy.app", {{"CFBundleName", "Stage Tidy"},
                                               {"CFBundleExecutable", "tidy"},
                                               {"CFBundleIconFile", "icon"}});
    const Path icon = scratch.addFile("Stage Tidy.app/Contents/Resources/icon.png");
    EXPECT_EQ(enter(bundle + "/"), 0);
    EXPECT_EQ(entry(),
              "[Desktop Entry]\nType=Application\nVersion=1.0\nName=Stage Tidy\nTryExec=" + bundle +
                  "/Contents/MacOS/tidy\nExec=\"" + bundle +
                  "/Contents/MacOS/tidy\"\nIcon=" + icon + "\nX-Quorvane-Bundle=" + bundle + "\n");
    EXPECT_TRUE(isValid());
    EXPECT_EQ(found(), MaybePath(bundle));
}

TEST_F(ApplicationRegistry, NamesMayHaveAnyCharacters) {
    const Path bundle = add("\"a\" $b `c\\ %f =\t\n\xC3\xA9;.app", {{"CFBundleName", " A\nB \\ "}});
    EXPECT_EQ(enter(bundle), 0);
    EXPECT_TRUE(isValid()) << entry();
    EXPECT_EQ(found(), MaybePath(bundle));
    EXPECT_NE(entry().find("\nName=\\sA\\nB \\\\\\s\n"), std::string::npos) << entry();
}

TEST_F(ApplicationRegistry, ABundleWithoutNamesHasItsFoldersName) {
    const Path bundle = add("Deck.v2.app");
    EXPECT_EQ(enter(bundle), 0);
    EXPECT_NE(entry().find("\nName=Deck.v2\n"), std::string::npos);
    EXPECT_NE(entry().find("\nExec=\"" + bundle + "/Contents/MacOS/Deck.v2\"\n"),
              std::string::npos);
    EXPECT_EQ(entry().find("\nIcon="), std::string::npos);
    EXPECT_TRUE(isValid());
}

TEST_F(ApplicationRegistry, BundlesOfTheBackgroundAreNotDisplayed) {
    for (const char* value : {"<true/>", "<integer>1</integer>", "1", "YES"}) {
        EXPECT_EQ(enter(add("A.app", {{"LSUIElement", value}})), 0);
        EXPECT_NE(entry().find("\nNoDisplay=true\n"), std::string::npos) << value;
        EXPECT_TRUE(isValid());
    }
    EXPECT_EQ(enter(add("A.app", {{"LSBackgroundOnly", "<true/>"}})), 0);
    EXPECT_NE(entry().find("\nNoDisplay=true\n"), std::string::npos);
    EXPECT_EQ(enter(add("A.app", {{"LSUIElement", "<false/>"}, {"LSBackgroundOnly", "0"}})), 0);
    EXPECT_EQ(entry().find("NoDisplay"), std::string::npos);
    EXPECT_NE(found(), std::nullopt);
}

TEST_F(ApplicationRegistry, IconsAreTakenInAFormatThatDesktopsDraw) {
    const auto iconWith = [&](const std::string& stated) {
        EXPECT_EQ(enter(add("A.app", {{"CFBundleIconFile", stated}})), 0);
        return entryValue(entry(), "Icon").value_or("");
    };
    scratch.addFile("A.app/Contents/Resources/icon.icns");
    const Path resources = scratch / "A.app/Contents/Resources/";
    EXPECT_EQ(iconWith("icon"), resources + "icon.icns");
    EXPECT_EQ(iconWith("icon.icns"), resources + "icon.icns");
    scratch.addFile("A.app/Contents/Resources/icon.svg");
    EXPECT_EQ(iconWith("icon.icns"), resources + "icon.svg");
    scratch.addFolder("A.app/Contents/Resources/folder.png");
    scratch.addFile("A.app/Contents/outside.png");
    for (const char* stated : {"missing", "folder", "../outside", "..", "."})
        EXPECT_EQ(iconWith(stated), "") << stated;
}

TEST_F(ApplicationRegistry, UpdatesInPlace) {
    const Path first = add("A.app");
    const Path second = add("B.app");
    EXPECT_EQ(enter(first), 0);
    ASSERT_EQ(::chmod(entryFile().c_str(), 0640), 0);
    EXPECT_EQ(enter(second), 0);
    EXPECT_EQ(found(), MaybePath(second));
    EXPECT_EQ(entryCount(), 1);
    struct stat status {};
    ASSERT_EQ(::stat(entryFile().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(ApplicationRegistry, OnlyForcingWritesAKnownBundleAgain) {
    const Path bundle = add("A.app");
    writeEntry("[Desktop Entry]\nX-Quorvane-Bundle=" + bundle + "\n");
    EXPECT_EQ(enter(bundle, ForceUpdate::no), 0);
    EXPECT_EQ(entry(), "[Desktop Entry]\nX-Quorvane-Bundle=" + bundle + "\n");
    EXPECT_EQ(enter(bundle, ForceUpdate::yes), 0);
    EXPECT_NE(entry().find("Exec="), std::string::npos);
    const Path other = add("B.app");
    EXPECT_EQ(enter(other, ForceUpdate::no), 0);
    EXPECT_EQ(found(), MaybePath(other));
}

TEST_F(ApplicationRegistry, EntriesOfOthersStay) {
    const Path bundle = add("A.app");
    writeEntry("[Desktop Entry]\nName=Mine\n");
    EXPECT_EQ(enter(bundle), EEXIST);
    EXPECT_EQ(entry(), "[Desktop Entry]\nName=Mine\n");
    fs::remove(entryFile());
    ASSERT_EQ(::mkfifo(entryFile().c_str(), 0600), 0);
    EXPECT_EQ(enter(bundle), EEXIST);
    fs::remove(entryFile());
    fs::create_directory(entryFile());
    EXPECT_EQ(enter(bundle), EEXIST);
}

TEST_F(ApplicationRegistry, NeverWritesThroughALink) {
    const Path bundle = add("A.app");
    const std::string old = "[Desktop Entry]\nX-Quorvane-Bundle=/old\n";
    const Path target = scratch.addFile("target", old);
    scratch.addFolder("data/applications");
    fs::create_symlink(target, entryFile());
    EXPECT_EQ(enter(bundle), 0);
    EXPECT_FALSE(fs::is_symlink(entryFile()));
    EXPECT_EQ(contentOf(target), old);
    fs::remove(entryFile());
    fs::create_symlink(scratch / "missing", entryFile());
    EXPECT_EQ(enter(bundle), 0);
    EXPECT_FALSE(fs::exists(scratch / "missing"));
    EXPECT_EQ(found(), MaybePath(bundle));
    EXPECT_EQ(entryCount(), 1);
}

TEST_F(ApplicationRegistry, IdentifiersThatCannotNameAFileAreRefused) {
    scratch.addFolder("data/applications");
    for (const std::string& identifier :
         {std::string("../x"), std::string("a/b"), std::string("/a"), std::string(".."),
          std::string(".hidden"), std::string("a\nb"), std::string("a\x7F"), std::string("a\xFF"),
          std::string(248, 'a')}) {
        EXPECT_EQ(enter(add("A.app", {{"CFBundleIdentifier", identifier}})), EINVAL) << identifier;
        EXPECT_EQ(found(identifier), std::nullopt);
    }
    EXPECT_EQ(enter(add("A.app", {{"CFBundleIdentifier", "<string></string>"}})), EINVAL);
    EXPECT_EQ(found(""), std::nullopt);
    EXPECT_EQ(entryCount(), 0);
    EXPECT_FALSE(fs::exists(scratch / "data/x.desktop"));

    const std::string longest(247, 'a');
    EXPECT_EQ(enter(add("A.app", {{"CFBundleIdentifier", longest}})), 0);
    EXPECT_EQ(found(longest), MaybePath(scratch / "A.app"));
}

TEST_F(ApplicationRegistry, WhatIsNoSoundBundleIsRefused) {
    EXPECT_EQ(enter(scratch / "missing.app"), EINVAL);
    EXPECT_EQ(enter(""), ENOENT);
    EXPECT_EQ(enter("A.app"), ENOENT);
    EXPECT_EQ(enter(scratch.addFile("file.app")), EINVAL);
    EXPECT_EQ(enter(add("folder")), EINVAL);
    EXPECT_EQ(enter(scratch.addFolder("empty.app")), ENOENT);
    scratch.addFile("B.app/Contents/Info.plist", "nonsense");
    EXPECT_NE(enter(scratch / "B.app"), 0);
    EXPECT_EQ(enter(add("C.app", {{"CFBundleIdentifier", "<integer>1</integer>"}})), EINVAL);
    for (const char* executable : {"../../../bin/sh", "..", "a/b"})
        EXPECT_EQ(enter(add("D.app", {{"CFBundleExecutable", executable}})), EINVAL);
    EXPECT_EQ(enter(add("\xFF.app")), EILSEQ);
    EXPECT_EQ(enter(add("bell\a.app")), EINVAL);
    EXPECT_EQ(enter(add("E.app", {{"CFBundleExecutable", "delete\x7F"}})), EINVAL);
    EXPECT_FALSE(fs::exists(entries));
}

TEST_F(ApplicationRegistry, AFolderThatCannotBeMadeIsAFailure) {
    scratch.addFile("data");
    EXPECT_NE(enter(add("A.app")), 0);
}

TEST_F(ApplicationRegistry, ReadsEntriesThatOthersWrote) {
    const Path bundle = add("My App\\.app");
    writeEntry("[Desktop Entry]\nName=A\nX-Quorvane-Bundle = " + scratch.path() +
               "/My\\sApp\\\\.app\n");
    EXPECT_EQ(found(), MaybePath(bundle));
    EXPECT_EQ(found("com.quorvane.B"), std::nullopt);
    EXPECT_EQ(found("../com.quorvane.A"), std::nullopt);
}

TEST_F(ApplicationRegistry, StaleAndForeignEntriesAreIgnored) {
    const Path bundle = add("A.app");
    const Path other = add("Other.app", {{"CFBundleIdentifier", "com.quorvane.Other"}});
    for (const std::string& text :
         {std::string("[Desktop Entry]\nName=A\n"), "X-Quorvane-Bundle=" + bundle,
          "[Desktop Entry]\n[Desktop Action x]\nX-Quorvane-Bundle=" + bundle,
          "[Desktop Entry]\nX-Quorvane-BundleOther=" + bundle,
          "[Desktop Entry]\nX-Quorvane-Bundle=" + bundle + "/missing",
          "[Desktop Entry]\nX-Quorvane-Bundle=" + other,
          std::string("[Desktop Entry]\nX-Quorvane-Bundle=A.app"),
          std::string("[Desktop Entry]\nX-Quorvane-Bundle="), std::string()}) {
        writeEntry(text);
        EXPECT_EQ(found(), std::nullopt) << text;
    }
    writeEntry("[Desktop Entry]\nX-Quorvane-Bundle=" + bundle);
    EXPECT_EQ(found(), MaybePath(bundle));
}

TEST_F(ApplicationRegistry, TellsWhereABundleReallyStands) {
    const Path bundle = add("folder/A.app");
    fs::create_directory_symlink(scratch / "folder", scratch / "link");
    for (const char* path : {"//folder///A.app", "/./folder/./A.app/", "/link/A.app",
                             "/link/../folder/A.app", "/folder/A.app/."}) {
        writeEntry("[Desktop Entry]\nX-Quorvane-Bundle=" + scratch.path() + path + "\n");
        EXPECT_EQ(found(), MaybePath(bundle)) << path;
    }
}

TEST_F(ApplicationRegistry, ALinkThatIsRegisteredIsTheBundle) {
    const Path bundle = add("folder/A.app");
    fs::create_directory_symlink(bundle, scratch / "B.app");
    writeEntry("[Desktop Entry]\nX-Quorvane-Bundle=" + scratch.path() + "/B.app\n");
    EXPECT_EQ(found(), MaybePath(scratch / "B.app"));
}

TEST_F(ApplicationRegistry, BundlesInHiddenFoldersAreNotFound) {
    for (const char* path : {".Trash-1000/files/A.app", "a/.hidden/b/A.app", ".A.app"}) {
        writeEntry("[Desktop Entry]\nX-Quorvane-Bundle=" + add(path) + "\n");
        EXPECT_EQ(found(), std::nullopt) << path;
    }
    fs::create_directory_symlink(scratch / ".Trash-1000/files", scratch / "link");
    writeEntry("[Desktop Entry]\nX-Quorvane-Bundle=" + scratch.path() + "/link/A.app\n");
    EXPECT_EQ(found(), std::nullopt);
}

} // namespace
} // namespace quorvane::platform::linux_
