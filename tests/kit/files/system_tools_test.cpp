// What the file manager learns and makes by command-line tools, with the real ones.

#include <filesystem>

#include <gtest/gtest.h>

#include "kit/files/QVFileManager.h"
#include "platform/PropertyLists.h"
#include "platform/Workspace.h"
#include "platform/linux/processes.h"
#include "platform/linux/tools.h"
#include "tests/kit/files/real_system.h"
#include "tests/platform/linux/scratch_folder.h"
#include "tests/support/time_limit.h"

#include <fcntl.h>
#include <unistd.h>

namespace quorvane {
namespace {

/// Runs the tools just built, in place of those installed.
class SystemTools : public ::testing::Test {
protected:
    SystemTools() {
        system_.services.tools =
            platform::linux_::makeTools(QV_TOOLS_FOLDER, platform::linux_::Superuser::no);
        system_.services.processes = platform::linux_::makeProcesses(system_.services.tools);
    }

    /// Whether the file is found open for writing while this process holds it open so.
    bool isOpen(const Path& file, int flags) {
        const int held = open(file.c_str(), flags | O_CLOEXEC);
        EXPECT_NE(held, -1);
        const bool found = QVFileManager::fileIsOpenForWriting(file);
        close(held);
        return found;
    }

    const testing::TimeLimit timeLimit_;
    testing::ScratchFolder scratch_;
    testing::RealSystem& system_ = *new testing::RealSystem(scratch_.path());
};

TEST_F(SystemTools, FindFilesOpenForWriting) {
    for (const char* name : {"plain", "two words", "two\nlines", "wu", "-w", "\xC3\xA4 \xFF"}) {
        const Path file = scratch_.addFile(name);
        EXPECT_FALSE(QVFileManager::fileIsOpenForWriting(file)) << name;
        EXPECT_FALSE(isOpen(file, O_RDONLY)) << name;
        EXPECT_TRUE(isOpen(file, O_WRONLY)) << name;
        EXPECT_TRUE(isOpen(file, O_RDWR)) << name;
    }
    EXPECT_FALSE(QVFileManager::fileIsOpenForWriting(scratch_ / "wu missing"));
}

TEST_F(SystemTools, PackAndUnpackFolders) {
    scratch_.addFile("a folder/\xC3\xA4 \xFF\n", "content");
    scratch_.addFolder("a folder/empty");
    const Path archive = scratch_ / "an archive.zip";
    ASSERT_TRUE(QVFileManager::compressFile(scratch_ / "a folder", archive));
    ASSERT_TRUE(QVFileManager::decompressFile(archive, scratch_ / "unpacked"));
    EXPECT_EQ(testing::contentOf(scratch_ / "unpacked/a folder/\xC3\xA4 \xFF\n"), "content");
    EXPECT_TRUE(QVFileManager::isDirectoryAtPath(scratch_ / "unpacked/a folder/empty"));
    EXPECT_FALSE(QVFileManager::decompressFile(scratch_ / "missing.zip", scratch_ / "nothing"));
}

/// A workspace whose Trash is a folder of the test.
class OwnTrash final : public platform::Workspace {
public:
    explicit OwnTrash(Path trash) : trash_(std::move(trash)) {}

    platform::Result<void> recycle(const Path& folder, const Path& /*destination*/,
                                   const std::vector<std::string>& names) override {
        for (const std::string& name : names)
            std::filesystem::rename(folder + "/" + name, trash_ + "/" + name);
        return {};
    }
    bool isInTrash(const Path& path) override { return path.starts_with(trash_); }
    bool isSuperusersPlace(const Path& /*path*/) override { return false; }
    MaybePath bundlePath(const std::string& /*identifier*/) override { return std::nullopt; }
    std::vector<Path> mountedLocalVolumes() override { return {}; }
    bool isFilePackage(const Path& /*path*/) override { return false; }
    void noteFileSystemChanged(const Path& /*path*/) override {}

private:
    Path trash_;
};

TEST_F(SystemTools, UnpackFoldersWhollyOrNotAtAll) {
    system_.services.workspace = std::make_shared<OwnTrash>(scratch_.addFolder("Trash"));
    const Path archive = scratch_ / "a.zip";
    scratch_.addFile("source/first", "content");
    std::string numbers;
    for (int number = 0; number < 5000; ++number) numbers += std::to_string(number);
    scratch_.addFile("source/second", numbers);
    ASSERT_TRUE(QVFileManager::compressFile(scratch_ / "source", archive));
    const std::string whole = testing::contentOf(archive);
    std::string miscounted = whole;
    ++miscounted[whole.size() - 12];
    std::string damaged = whole;
    ++damaged[whole.size() / 2]; // in the second file
    for (const std::string& content : {whole + "rest", whole.substr(1), miscounted, damaged}) {
        scratch_.addFile("a.zip", content);
        scratch_.addFile("unpacked/old", "old");
        EXPECT_FALSE(QVFileManager::decompressFile(archive, scratch_ / "unpacked"));
        EXPECT_EQ(testing::contentOf(scratch_ / "Trash/unpacked/old"), "old");
        std::filesystem::remove_all(scratch_ / "Trash/unpacked");
        for (const auto& entry : std::filesystem::directory_iterator(scratch_.path()))
            EXPECT_FALSE(entry.path().filename().string().starts_with('.')) << entry.path();
    }
}

TEST_F(SystemTools, DescribeTheDiskOfAMountPoint) {
    const auto info = QVFileManager::infoForDiskAtMountpoint("/");
    ASSERT_TRUE(info);
    const platform::PropertyList* mountPoint = info->find("MountPoint");
    ASSERT_NE(mountPoint, nullptr);
    EXPECT_EQ(std::get<std::string>(mountPoint->value), "/");
    EXPECT_FALSE(QVFileManager::infoForDiskAtMountpoint(scratch_ / "missing"));
}

/// What the progress marker of a file says.
std::string progressOf(const Path& file) {
    return QVFileManager::metadataValueForKey("com.apple.progress.fractionCompleted", file)
        .value_or("none");
}

TEST_F(SystemTools, ShowProgressAndTakeItAway) {
    const Path file = scratch_.addFile("a b\n\xFF");
    const auto modified = QVFileManager::modificationDateForFile(file);
    for (const auto& [fraction, text] : {std::pair{0.0F, "0.000"}, {0.4567F, "0.457"}}) {
        QVFileManager::setFinderProgress(fraction, file);
        EXPECT_EQ(progressOf(file), text);
        EXPECT_EQ(QVFileManager::creationDateForFile(file),
                  platform::FileTime(std::chrono::seconds(443'779'200)));
    }
    for (int times = 0; times < 2; ++times) {
        QVFileManager::removeFinderProgressForFile(file);
        EXPECT_EQ(progressOf(file), "none");
        EXPECT_EQ(QVFileManager::creationDateForFile(file), modified);
    }
    EXPECT_EQ(QVFileManager::modificationDateForFile(file), modified);
}

TEST_F(SystemTools, ShowNoProgressOnWhatCannotHaveIt) {
    for (const Path& path : {Path("/proc/self/status"), scratch_ / "missing", Path("/dev/null")}) {
        QVFileManager::setFinderProgress(0.5F, path);
        QVFileManager::removeFinderProgressForFile(path);
        EXPECT_EQ(progressOf(path), "none");
    }
    EXPECT_FALSE(QVFileManager::fileExistsAtPath(scratch_ / "missing"));
}

} // namespace
} // namespace quorvane
