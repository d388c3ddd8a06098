// The Trash on a file system that cannot rename without replacing, such as a network home.
#include <fcntl.h>
#include <gmock/gmock.h>

#include "tests/platform/linux/trash_fixture.h"

static int refusals = 0;

// Stands in for the C library's.
extern "C" int renameat2(int, const char*, int, const char*, unsigned) noexcept {
    ++refusals;
    errno = EINVAL;
    return -1;
}

namespace quorvane::platform::linux_ {
namespace {

using quorvane::testing::contentOf;
using ::testing::ElementsAre;

class TrashWithoutNoReplaceTest : public quorvane::testing::TrashFixture {};

TEST_F(TrashWithoutNoReplaceTest, MovesAndNeverReplaces) {
    scratch.addFile("home/.local/share/Trash/files/a", "unrecorded");
    scratch.addFile("source/a", "new");
    scratch.addFile("source/b", "b");
    EXPECT_EQ(recycle({"a", "b"}), 0);
    EXPECT_EQ(refusals, 3);
    EXPECT_EQ(contentOf(files + "/a"), "unrecorded");
    EXPECT_EQ(contentOf(files + "/a.2"), "new");
    EXPECT_EQ(contentOf(files + "/b"), "b");
    EXPECT_THAT(entries(infos), ElementsAre("a.2.trashinfo", "b.trashinfo"));
    EXPECT_THAT(entries(source), ElementsAre());
}

TEST_F(TrashWithoutNoReplaceTest, AFailureLeavesTheItemAndNoInfo) {
    ASSERT_TRUE(trash.recycle(scratch.path(), {}));
    EXPECT_EQ(trash.recycle(scratch.path(), {"home"}).error().code, EINVAL);
    EXPECT_THAT(entries(infos), ElementsAre());
}

} // namespace
} // namespace quorvane::platform::linux_
