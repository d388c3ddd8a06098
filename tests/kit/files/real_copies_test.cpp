// Copies with progress on real file systems: full ones, ones that err and ones that vanish.
#include <filesystem>
#include <fstream>

#include <sys/mount.h>
#include <sys/stat.h>

#include <gmock/gmock.h>

#include "kit/files/QVFileManager.h"
#include "kit/log/QVLog.h"
#include "tests/kit/files/faulty_volume.h"
#include "tests/kit/files/real_system.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane {
namespace {

namespace fs = std::filesystem;
using ::testing::Each;
using ::testing::ElementsAre;
using testing::Faults;
using testing::FaultyVolume;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::size_t kMiB = 1024UL * 1024;
constexpr std::size_t kChunk = 65'536;

#define QV_NEEDS_A_FAULTY_VOLUME()                                                                 \
    if (!FaultyVolume::isPossible()) GTEST_SKIP() << "needs file systems of user programs"

class RealCopies : public ::testing::Test {
protected:
    /// Every chunk different, the last one not whole.
    static Bytes content(std::size_t size) {
        Bytes bytes(size, '\0');
        for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i / kChunk + i % 251);
        return bytes;
    }

    /// Copies with SHA-1; the delegate writes down which destinations failed their verification.
    bool copy(const Path& source, const std::vector<Path>& destinations) {
        const auto delegate = std::make_shared<FileCopyDelegate>();
        delegate->fileCopyBytesWritten = [this](std::uint64_t bytes, const CopySettings& settings) {
            bytes_ = bytes;
            settings_ = settings;
            if (onReport_) onReport_();
            onReport_ = nullptr;
        };
        delegate->fileCopyVerificationFailed = [this](const CopySettings&, const Path& path) {
            failed_.push_back(path);
        };
        return QVFileManager::copyFileWithProgress(source, destinations, VerificationType::sha1,
                                                   delegate);
    }
    /// Does something once, while a copy of more than 20 MiB goes on.
    void whileCopying(std::function<void()> action) {
        system_.answerAtOnce();
        onReport_ = std::move(action);
    }
    void expectAllVerified(const Path& source) {
        EXPECT_THAT(failed_, IsEmpty());
        EXPECT_EQ(settings_->sourceChecksum(), QVFileManager::sha1HashForFile(source));
        EXPECT_THAT(*settings_->destChecksums(), Each(settings_->sourceChecksum()));
    }
    std::vector<std::string> console() { return system_.consoleLog->messages(); }
    std::size_t openStreams() const {
        return system_.services.makeFileManager()
            ->contentsOfDirectory("/proc/self/fd")
            .value()
            .size();
    }
    static timespec modified(const Path& path) {
        struct stat status {};
        EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
        return status.st_mtim;
    }

    testing::ScratchFolder scratch_;
    testing::RealSystem& system_ = *new testing::RealSystem(scratch_.path());
    std::vector<Path> failed_;
    std::uint64_t bytes_ = 0;
    CopySettings settings_;

private:
    std::function<void()> onReport_;
};

TEST_F(RealCopies, HoldWhatTheSourceHolds) {
    for (const std::size_t size : {0U, 1U, 65536U, 65537U, 3145735U}) {
        const Path source =
            scratch_.addFile("source \xC3\xA4 \xFF\n" + std::to_string(size), content(size));
        fs::last_write_time(source, fs::file_time_type::clock::now() - std::chrono::hours(5));
        const std::vector<Path> destinations{scratch_ / "a", scratch_ / "new folder/b\n",
                                             scratch_ / "a"};
        scratch_.addFile("a", "old and longer than some");
        const std::size_t before = openStreams();
        EXPECT_TRUE(copy(source, destinations)) << size;
        EXPECT_EQ(openStreams(), before);
        expectAllVerified(source);
        EXPECT_EQ(bytes_, size);
        for (const Path& destination : destinations) {
            EXPECT_EQ(testing::contentOf(destination), content(size));
            EXPECT_EQ(modified(destination).tv_sec, modified(source).tv_sec);
            EXPECT_EQ(modified(destination).tv_nsec, modified(source).tv_nsec);
            EXPECT_EQ(QVFileManager::creationDateForFile(destination),
                      QVFileManager::creationDateForFile(source));
        }
    }
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(RealCopies, NeitherWaitForFifosNorFillThem) {
    const Path file = scratch_.addFile("file", "content");
    const Path fifo = scratch_ / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_FALSE(copy(fifo, {scratch_ / "a"}));
    EXPECT_FALSE(copy(file, {fifo}));
    EXPECT_THAT(console(), ElementsAre("Error: Unable to read source file " + fifo +
                                           ". Aborting copy process...",
                                       "Error: Unable to open destination file " + fifo +
                                           ". Aborting copy process..."));
}

TEST_F(RealCopies, OfASourceThatTheUserMayNotRead) {
    const Path source = scratch_.addFile("source", "content");
    fs::permissions(source, fs::perms::none);
    testing::asOrdinaryUser(scratch_.path(), [&] {
        EXPECT_FALSE(copy(source, {scratch_ / "a"}));
        EXPECT_THAT(console(), ElementsAre("Error: Unable to read source file " + source +
                                           ". Aborting copy process..."));
        EXPECT_FALSE(fs::exists(scratch_ / "a"));
    });
}

TEST_F(RealCopies, OfASourceThatIsCutShort) {
    const Path source = scratch_.addFile("source", content(22 * kMiB));
    whileCopying([&] { fs::resize_file(source, 21 * kMiB); });
    EXPECT_FALSE(copy(source, {scratch_ / "a"}));
    EXPECT_THAT(console(),
                ElementsAre("Error: copied file size does not match original source " + source));
    EXPECT_EQ(fs::file_size(scratch_ / "a"), 21 * kMiB);
}

TEST_F(RealCopies, OfASourceThatGrows) {
    const Path source = scratch_.addFile("source", content(22 * kMiB));
    whileCopying([&] { std::ofstream(source, std::ios::app | std::ios::binary) << "more"; });
    EXPECT_TRUE(copy(source, {scratch_ / "a", scratch_ / "b"}));
    EXPECT_EQ(bytes_, 22 * kMiB + 4);
    expectAllVerified(source);
    EXPECT_EQ(testing::contentOf(scratch_ / "b"), content(22 * kMiB) + "more");
}

TEST_F(RealCopies, OntoAFileThatIsDeletedMeanwhile) {
    const Path source = scratch_.addFile("source", content(22 * kMiB));
    whileCopying([&] { fs::remove(scratch_ / "a"); });
    EXPECT_TRUE(copy(source, {scratch_ / "a", scratch_ / "b"}));
    expectAllVerified(source); // of the file that was open
    EXPECT_FALSE(fs::exists(scratch_ / "a"));
    EXPECT_THAT(console(), ElementsAre("Error setting metadata for file " + (scratch_ / "a") +
                                       " - No such file or directory"));
}

TEST_F(RealCopies, OntoAFullDiskFailThereAlone) {
    QV_NEEDS_SUPERUSER();
    const Path source = scratch_.addFile("source", content(3 * kMiB + 5));
    const Path full = scratch_.addFolder("full") + "/a";
    testing::inPrivateMounts([&] {
        testing::mountVolume("tmpfs", scratch_ / "full", "size=1m");
        EXPECT_TRUE(copy(source, {full, scratch_ / "b"}));
        EXPECT_THAT(failed_, ElementsAre(full));
        EXPECT_THAT(console(), SizeIs(33)); // of 49 chunks 16 fit
        EXPECT_THAT(console(), Each("Error writing file " + full + ": 1"));
        EXPECT_EQ(fs::file_size(full), kMiB);
        EXPECT_EQ(settings_->destChecksum(), QVFileManager::sha1HashForFile(full));
        EXPECT_EQ(settings_->destChecksums()->back(), settings_->sourceChecksum());
        EXPECT_EQ(testing::contentOf(scratch_ / "b"), content(3 * kMiB + 5));
    });
}

TEST_F(RealCopies, OntoAReadOnlyDiskAreRefused) {
    QV_NEEDS_SUPERUSER();
    const Path source = scratch_.addFile("source", "content");
    const Path destination = scratch_.addFolder("volume") + "/a";
    testing::inPrivateMounts([&] {
        testing::mountVolume("tmpfs", scratch_ / "volume");
        testing::remountReadOnly(scratch_ / "volume");
        const std::size_t before = openStreams();
        EXPECT_FALSE(copy(source, {scratch_ / "b", destination}));
        EXPECT_THAT(console(), ElementsAre("Error: Unable to open destination file " + destination +
                                           ". Aborting copy process..."));
        EXPECT_EQ(openStreams(), before + 2);
    });
}

TEST_F(RealCopies, FindTheByteThatADiskReadsWrong) {
    QV_NEEDS_A_FAULTY_VOLUME();
    const Bytes bytes = content(3 * kMiB + 5);
    const Path source = scratch_.addFile("source", bytes);
    const Path wrong = scratch_.addFolder("volume") + "/a";
    for (const std::size_t turned : {std::size_t{0}, 7 * kChunk - 1, 3 * kMiB + 4}) {
        testing::inPrivateMounts([&] {
            const FaultyVolume volume(scratch_ / "volume", Faults{.turnedByte = turned});
            EXPECT_TRUE(copy(source, {scratch_ / "b", wrong, scratch_ / "c"}));
            EXPECT_THAT(failed_, ElementsAre(wrong));
            const MaybeText right = QVFileManager::sha1HashForFile(source);
            const MaybeText found = QVFileManager::sha1HashForFile(wrong);
            EXPECT_EQ(settings_->sourceChecksum(), right);
            EXPECT_THAT(*settings_->destChecksums(), ElementsAre(right, found, right));
            EXPECT_NE(found, right);
            EXPECT_EQ(fs::file_size(wrong), bytes.size());
        });
    }
}

TEST_F(RealCopies, KeepTheModificationDateWhereThereIsNoCreationDate) {
    QV_NEEDS_A_FAULTY_VOLUME();
    const Path source = scratch_.addFile("source", "content");
    fs::last_write_time(source, fs::file_time_type::clock::now() - std::chrono::hours(5));
    const Path destination = scratch_.addFolder("volume") + "/a";
    testing::inPrivateMounts([&] {
        const FaultyVolume volume(scratch_ / "volume", {});
        EXPECT_TRUE(copy(source, {destination}));
        expectAllVerified(source);
        EXPECT_THAT(console(), ElementsAre("Error setting metadata for file " + destination +
                                           " - Operation not supported"));
        EXPECT_EQ(modified(destination).tv_sec, modified(source).tv_sec);
    });
}

TEST_F(RealCopies, OntoADiskThatDoesNotTakeAllFailThereAlone) {
    QV_NEEDS_A_FAULTY_VOLUME();
    const Bytes bytes = content(20 * kChunk);
    const Path source = scratch_.addFile("source", bytes);
    const Path bad = scratch_.addFolder("volume") + "/a";
    testing::inPrivateMounts([&] {
        const FaultyVolume volume(scratch_ / "volume", Faults{.unwritableFrom = 18 * kChunk - 100});
        EXPECT_TRUE(copy(source, {bad, scratch_ / "b"}));
        EXPECT_THAT(failed_, ElementsAre(bad));
        EXPECT_EQ(console().at(0), "Error writing file " + bad + ": 1");
        EXPECT_EQ(fs::file_size(bad), 18 * kChunk - 100);
        EXPECT_EQ(testing::contentOf(scratch_ / "b"), bytes);
    });
}

TEST_F(RealCopies, OntoADiskThatCannotBeReadFailThereAlone) {
    QV_NEEDS_A_FAULTY_VOLUME();
    const Bytes bytes = content(20 * kChunk);
    const Path source = scratch_.addFile("source", bytes);
    const Path bad = scratch_.addFolder("volume") + "/a";
    testing::inPrivateMounts([&] {
        const FaultyVolume volume(scratch_ / "volume", Faults{.unreadableFrom = 9 * kChunk});
        EXPECT_TRUE(copy(source, {bad, scratch_ / "b"}));
        EXPECT_THAT(failed_, ElementsAre(bad));
        EXPECT_EQ(fs::file_size(bad), bytes.size()); // written all the same
        EXPECT_EQ(testing::contentOf(scratch_ / "b"), bytes);
    });
}

TEST_F(RealCopies, OntoADiskThatVanishesGoOnElsewhere) {
    QV_NEEDS_A_FAULTY_VOLUME();
    const Bytes bytes = content(22 * kMiB);
    const Path source = scratch_.addFile("source", bytes);
    const Path gone = scratch_.addFolder("volume") + "/a";
    testing::inPrivateMounts([&] {
        FaultyVolume volume(scratch_ / "volume", {});
        whileCopying([&] { volume.vanish(); });
        EXPECT_TRUE(copy(source, {gone, scratch_ / "b"}));
        EXPECT_THAT(failed_, ElementsAre(gone));
        EXPECT_EQ(console().front(), "Error writing file " + gone + ": 1");
        EXPECT_THAT(console().back(), HasSubstr("Error setting metadata for file " + gone + " - "));
        EXPECT_EQ(testing::contentOf(scratch_ / "b"), bytes);
        EXPECT_EQ(settings_->destChecksums()->back(), settings_->sourceChecksum());
    });
}

TEST_F(RealCopies, OfASourceThatCannotBeReadToItsEnd) {
    QV_NEEDS_A_FAULTY_VOLUME();
    const Path source = scratch_.addFolder("volume") + "/source";
    testing::inPrivateMounts([&] {
        const FaultyVolume volume(scratch_ / "volume", Faults{.unreadableFrom = 9 * kChunk + 10});
        std::ofstream(source, std::ios::binary) << content(20 * kChunk);
        const std::size_t before = openStreams();
        ::testing::internal::CaptureStdout();
        EXPECT_FALSE(copy(source, {scratch_ / "a", scratch_ / "b"}));
        EXPECT_EQ(QVFileManager::md5HashForFile(source), std::nullopt);
        EXPECT_THAT(::testing::internal::GetCapturedStdout(),
                    HasSubstr("Error reading file " + source + " - aborting..."));
        QVLog::finishWriting();               // the log is looked for on a thread of its own
        EXPECT_EQ(openStreams(), before + 3); // of the copy
        EXPECT_EQ(fs::file_size(scratch_ / "b"), 9 * kChunk + 10);
        EXPECT_THAT(console(), IsEmpty());
    });
}

} // namespace
} // namespace quorvane
