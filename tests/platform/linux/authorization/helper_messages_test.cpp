#include "platform/linux/authorization/helper_messages.h"

#include <fcntl.h>

#include <cstring>

#include <gtest/gtest.h>

#include "tests/platform/linux/authorization/fake_helper.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr std::size_t kHeaderSize = sizeof(helper::RequestHeader);

int errorOf(const Path& tool, const Arguments& arguments) {
    const auto request = helperRequest(1, tool, arguments);
    return request ? 0 : request.error().code;
}

TEST(HelperRequest, IsItsNumberItsCountAndItsTexts) {
    const auto request = helperRequest(7, "/bin/mv", {"-f", "/a b\n", "/\xff"});
    ASSERT_TRUE(request);
    helper::RequestHeader header{};
    std::memcpy(&header, request.value().data(), kHeaderSize);
    EXPECT_EQ(header.id, 7U);
    EXPECT_EQ(header.textCount, 4U);
    EXPECT_EQ(request.value().substr(kHeaderSize), std::string("/bin/mv\0-f\0/a b\n\0/\xff\0", 20));
}

TEST(HelperRequest, HasAMostOfTexts) {
    EXPECT_EQ(errorOf("/bin/cp", Arguments(helper::kMaximumTexts - 1)), 0);
    EXPECT_EQ(errorOf("/bin/cp", Arguments(helper::kMaximumTexts)), E2BIG);
    EXPECT_EQ(errorOf("/bin/cp", Arguments(100000, "x")), E2BIG);
}

TEST(HelperRequest, HasAGreatestLength) {
    const std::size_t room = helper::kMaximumRequest - kHeaderSize - sizeof "/bin/rm";
    EXPECT_EQ(errorOf("/bin/rm", {std::string(room - 1, 'x')}), 0);
    EXPECT_EQ(errorOf("/bin/rm", {std::string(room, 'x')}), E2BIG);
}

TEST(HelperRequest, HasNoTextThatEndsEarly) {
    EXPECT_EQ(errorOf("/bin/rm", {std::string("/a\0b", 4)}), EINVAL);
    EXPECT_EQ(errorOf(std::string("/bin/rm\0", 8), {"/a"}), EINVAL);
    EXPECT_EQ(errorOf("/bin/rm", {std::string("/a\0", 3), "/b"}), EINVAL);
}

TEST(HelperAnswer, BringsADescriptorThatChildrenDoNotGet) {
    testing::FakeHelper helper;
    const Descriptor client = helper.takeClientEnd();
    const testing::TestPipe pipe;
    helper.answer(7, helper::AnswerKind::started, 0, {pipe.reading.get()});
    const auto received = receiveFromHelper(client.get());
    ASSERT_TRUE(received);
    EXPECT_EQ(received.value().answer.id, 7U);
    EXPECT_EQ(received.value().answer.kind, helper::AnswerKind::started);
    EXPECT_EQ(::fcntl(received.value().output.get(), F_GETFD), FD_CLOEXEC);
}

} // namespace
} // namespace quorvane::platform::linux_
