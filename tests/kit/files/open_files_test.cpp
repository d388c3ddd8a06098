// Files that real processes hold open.

#include <gtest/gtest.h>

#include "kit/files/QVFileManager.h"
#include "tests/kit/files/real_system.h"
#include "tests/platform/linux/scratch_folder.h"
#include "tests/support/time_limit.h"

#include <fcntl.h>
#include <unistd.h>

namespace quorvane {
namespace {

class RealOpenFiles : public ::testing::Test {
protected:
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

TEST_F(RealOpenFiles, AreFoundByTheirMode) {
    if (!system_.services.makeFileManager()->isExecutable("/usr/sbin/lsof"))
        GTEST_SKIP() << "needs the lister of open files";
    for (const char* name : {"plain", "two words", "two\nlines", "wu", "-w", "\xC3\xA4 \xFF"}) {
        const Path file = scratch_.addFile(name);
        EXPECT_FALSE(QVFileManager::fileIsOpenForWriting(file)) << name;
        EXPECT_FALSE(isOpen(file, O_RDONLY)) << name;
        EXPECT_TRUE(isOpen(file, O_WRONLY)) << name;
        EXPECT_TRUE(isOpen(file, O_RDWR)) << name;
    }
}

} // namespace
} // namespace quorvane
