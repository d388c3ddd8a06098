// Digests of real files, beside what the system's own tools say.
#include <array>
#include <cstdio>
#include <memory>

#include <sys/resource.h>
#include <sys/stat.h>

#include <gmock/gmock.h>

#include "kit/files/QVFileManager.h"
#include "kit/log/QVLog.h"
#include "platform/Services.h"
#include "tests/kit/files/real_system.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane {
namespace {

using ::testing::ElementsAre;

class RealHashing : public ::testing::Test {
protected:
    static Bytes content(std::size_t size) {
        Bytes bytes(size, '\0');
        for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i / 251 + i % 13);
        return bytes;
    }
    /// The first word that a tool prints for the file.
    static std::string said(const std::string& tool, const Path& file) {
        const std::string command = tool + " '" + file + "'";
        const std::unique_ptr<FILE, int (*)(FILE*)> output(popen(command.c_str(), "r"), pclose);
        std::array<char, 256> line{};
        if (!output || std::fgets(line.data(), line.size(), output.get()) == nullptr) return {};
        const std::string text(line.data());
        return text.substr(0, text.find(' '));
    }
    MaybeText sha256(const Bytes& bytes) {
        auto context = platform::services().digests->begin(platform::DigestAlgorithm::sha256);
        context.update(bytes);
        return QVFileManager::sha256HashWithContext(context);
    }

    testing::ScratchFolder scratch_;
    testing::RealSystem& system_ = *new testing::RealSystem(scratch_.path());
};

TEST_F(RealHashing, AgreesWithTheSystemsTools) {
    for (const std::size_t size : {0U, 1U, 65535U, 65536U, 65537U, 262144U, 262145U, 3145735U}) {
        const Bytes bytes = content(size);
        const Path file = scratch_.addFile("file of " + std::to_string(size), bytes);
        EXPECT_EQ(QVFileManager::md5HashForFile(file), said("md5sum", file)) << size;
        EXPECT_EQ(QVFileManager::sha1HashForFile(file), said("sha1sum", file)) << size;
        EXPECT_EQ(sha256(bytes), said("sha256sum", file)) << size;
        EXPECT_EQ(QVFileManager::sha512HashForFile(file), said("sha512sum", file)) << size;
    }
}

TEST_F(RealHashing, OfFilesThatTheKernelMakesUp) {
    EXPECT_EQ(QVFileManager::md5HashForFile("/proc/filesystems"),
              said("md5sum", "/proc/filesystems"));
}

TEST_F(RealHashing, NeverWaitsForAFifo) {
    const Path fifo = scratch_ / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(QVFileManager::md5HashForFile(fifo), std::nullopt);
    EXPECT_THAT(system_.consoleLog->messages(),
                ElementsAre("Error: Unable to open destination file " + fifo +
                            ". Aborting hash verification..."));
}

TEST_F(RealHashing, DoesWithoutASecondThread) {
    const Path file = scratch_.addFile("file", content(3145735));
    const std::string expected = said("sha1sum", file);
    testing::asOrdinaryUser(scratch_.path(), [&] {
        // The limit does not hold for the superuser.
        const rlimit none{0, 0};
        ASSERT_EQ(setrlimit(RLIMIT_NPROC, &none), 0);
        EXPECT_EQ(QVFileManager::sha1HashForFile(file), expected);
    });
}

TEST_F(RealHashing, LeavesNoStreamOpen) {
    const Path file = scratch_.addFile("file", content(3145735));
    const auto open = [&] {
        return system_.services.makeFileManager()->contentsOfDirectory("/proc/self/fd").value();
    };
    const auto before = open();
    EXPECT_TRUE(QVFileManager::md5HashForFile(file));
    EXPECT_EQ(QVFileManager::md5HashForFile(scratch_.path()), std::nullopt);
    QVLog::finishWriting(); // the log is looked for on a thread of its own
    EXPECT_EQ(open().size(), before.size());
}

} // namespace
} // namespace quorvane
