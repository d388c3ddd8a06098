// Hashing and copying without memory for their buffers. Replaces a function of the language for the
// whole program.
#include <limits>
#include <new>

#include "tests/kit/files/verified_copy_fixture.h"

namespace {

/// How many more chunks there is memory for.
std::size_t chunksLeft = std::numeric_limits<std::size_t>::max();

} // namespace

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    if (size == quorvane::testing::kChunk && chunksLeft-- == 0) {
        chunksLeft = 0;
        return nullptr;
    }
    return ::operator new[](size);
}

namespace quorvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::kChunk;

class LittleMemory : public testing::VerifiedCopyTest {
protected:
    void TearDown() override { chunksLeft = std::numeric_limits<std::size_t>::max(); }
};

TEST_F(LittleMemory, EndsAHashAndClosesTheFile) {
    system.disk->addFile("/file", "content");
    for (const auto hash : {QVFileManager::md5HashForFile, QVFileManager::sha1HashForFile,
                            QVFileManager::sha512HashForFile}) {
        chunksLeft = 0;
        EXPECT_EQ(hash("/file", nullptr), std::nullopt);
    }
    const std::string line = "Error reading file /file - out of memory";
    EXPECT_THAT(log.messages(), ElementsAre(line, line, line));
    EXPECT_EQ(log.printed(), line + "\n" + line + "\n" + line + "\n");
    EXPECT_EQ(system.disk->openStreams(), 1U); // the log
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(LittleMemory, EndsACopyAndLeavesTheStreamsOpen) {
    system.disk->addFile("/s", "content");
    for (const std::size_t chunks : {0U, 1U}) {
        chunksLeft = chunks;
        EXPECT_FALSE(copy({"/d/a"}, VerificationType::md5));
    }
    const char* line = "Error copying file /s - out of memory";
    EXPECT_THAT(log.messages(), ElementsAre(line, line));
    EXPECT_EQ(system.disk->openStreams(), 4U + 1U); // and the log
    EXPECT_EQ(system.disk->content("/d/a"), "");
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(LittleMemory, IsEnoughWithTheLeast) {
    const Bytes bytes(40 * kChunk + 7, 'x');
    system.disk->addFile("/s", bytes);
    for (const std::size_t chunks : {1U, 2U, 9U}) {
        chunksLeft = chunks;
        EXPECT_EQ(QVFileManager::sha1HashForFile("/s"), digest(VerificationType::sha1, bytes));
        chunksLeft = chunks + 1;
        EXPECT_TRUE(copy({"/d/a", "/d/b"}, VerificationType::md5));
        EXPECT_EQ(settings()->destChecksums()->back(), digest(VerificationType::md5, bytes));
    }
}

} // namespace
} // namespace quorvane
