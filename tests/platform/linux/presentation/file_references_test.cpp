#include "platform/linux/presentation/file_references.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::platform::linux_ {
namespace {

namespace fs = std::filesystem;

class FileReferences : public ::testing::Test {
protected:
    static FileReference referenceTo(const Path& path) {
        const auto reference = makeFileReference(path);
        EXPECT_TRUE(reference) << path;
        return reference ? reference.value() : FileReference();
    }
    /// Where it leads; the error's text where that is nowhere.
    static Path placeOf(const FileReference& reference) {
        const auto path = pathOfReference(reference);
        return path ? path.value() : path.error().text;
    }

    quorvane::testing::ScratchFolder scratch;
};

TEST_F(FileReferences, GoThereAndBackForAnyName) {
    for (const std::string& name :
         {std::string("a b"), std::string("line\nbreak"), std::string("\xFF\xFE"),
          std::string("\xC3\xA9"), std::string("%41"), std::string(255, 'x')}) {
        const Path file = scratch.addFile(name);
        EXPECT_EQ(placeOf(referenceTo(file)), file);
        fs::remove(file);
        const Path folder = scratch.addFolder(name);
        EXPECT_EQ(placeOf(referenceTo(folder + "//")), folder);
    }
    EXPECT_EQ(placeOf(referenceTo("/")), "/");
}

TEST_F(FileReferences, GoThereAndBackForLongPaths) {
    Path folder = scratch.path();
    while (folder.size() + 201 < PATH_MAX) folder += "/" + std::string(200, 'd');
    fs::create_directories(folder);
    EXPECT_EQ(placeOf(referenceTo(folder)), folder);
    EXPECT_EQ(makeFileReference(folder + "/" + std::string(300, 'd')).error().code, ENAMETOOLONG);
}

TEST_F(FileReferences, BelongToALinkItself) {
    const Path link = scratch / "link";
    fs::create_symlink("/nowhere", link);
    EXPECT_EQ(placeOf(referenceTo(link)), link);
    fs::rename(link, scratch / "renamed");
    EXPECT_EQ(placeOf(referenceTo(scratch / "renamed")), scratch / "renamed");
}

TEST_F(FileReferences, NeedAnItem) {
    EXPECT_EQ(makeFileReference(scratch / "missing").error().code, ENOENT);
    EXPECT_EQ(makeFileReference("").error().code, ENOENT);
    EXPECT_EQ(makeFileReference("relative").error().code, ENOENT);
    EXPECT_EQ(makeFileReference(Path("/\0a", 3)).error().code, EINVAL);
    EXPECT_EQ(makeFileReference(scratch.addFile("file") + "/below").error().code, ENOTDIR);
    EXPECT_EQ(placeOf({}), "No such file or directory");
}

TEST_F(FileReferences, FollowAnItemToAnotherName) {
    const Path folder = scratch.addFolder("f");
    for (int file = 0; file < 100; ++file) scratch.addFile("f/" + std::to_string(file));
    for (const Path& old : {scratch.addFile("f/a"), scratch.addFolder("f/b")}) {
        const FileReference reference = referenceTo(old);
        fs::rename(old, old + " renamed\n");
        EXPECT_EQ(placeOf(reference), old + " renamed\n");
        // Another item has the name by now.
        scratch.addFile(old.substr(scratch.path().size() + 1));
        EXPECT_EQ(placeOf(reference), old + " renamed\n");
    }
}

TEST_F(FileReferences, FollowADocumentThatIsSavedAsANewFile) {
    const Path file = scratch.addFile("f/a", "old");
    const FileReference reference = referenceTo(file);
    fs::rename(scratch.addFile("f/new", "new"), file);
    EXPECT_EQ(placeOf(reference), file);
}

TEST_F(FileReferences, LeadNowhereOnceTheItemLeftItsFolder) {
    const Path file = scratch.addFile("f/a");
    const FileReference reference = referenceTo(file);
    scratch.addFolder("g");
    fs::rename(file, scratch / "g/a");
    EXPECT_EQ(placeOf(reference), "No such file or directory");
    fs::remove_all(scratch / "f");
    EXPECT_EQ(placeOf(reference), "No such file or directory");
}

TEST_F(FileReferences, TellAnItemFromOneThatGotItsNumber) {
    const Path file = scratch.addFile("f/a");
    FileReference reference = referenceTo(file);
    if (!reference.made) GTEST_SKIP() << "no times of making here";
    *reference.made += std::chrono::nanoseconds(1);
    fs::rename(file, scratch / "f/b");
    EXPECT_EQ(placeOf(reference), "No such file or directory");
}

TEST_F(FileReferences, NeedNoRights) {
    const Path file = scratch.addFile("f/a");
    ASSERT_EQ(::chmod(scratch.path().c_str(), 0755), 0);
    ASSERT_EQ(::chmod(file.c_str(), 0), 0);
    quorvane::testing::asOrdinaryUser(scratch / "f", [&] {
        const FileReference reference = referenceTo(file);
        fs::rename(file, scratch / "f/b");
        EXPECT_EQ(placeOf(reference), scratch / "f/b");
    });
}

} // namespace
} // namespace quorvane::platform::linux_
