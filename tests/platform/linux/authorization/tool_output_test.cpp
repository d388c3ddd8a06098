#include "platform/linux/authorization/tool_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "tests/platform/linux/authorization/fake_helper.h"
#include "tests/support/time_limit.h"

namespace quorvane::platform::linux_ {
namespace {

using testing::openDescriptors;

std::string readToEnd(ToolOutput& output) {
    std::string text;
    for (int next = output.readCharacter(); next >= 0; next = output.readCharacter())
        text += static_cast<char>(next);
    return text;
}

class ToolOutputTest : public ::testing::Test {
protected:
    const testing::TimeLimit timeLimit_;
    testing::TestPipe pipe_;
};

TEST_F(ToolOutputTest, OfASilentToolIsAtItsEnd) {
    ToolOutput output{Descriptor()};
    EXPECT_TRUE(output.settle());
    EXPECT_EQ(output.readCharacter(), -1);
    EXPECT_EQ(output.readCharacter(), -1);
}

TEST_F(ToolOutputTest, IsReadByteByByteWhileTheToolRuns) {
    ToolOutput output(std::move(pipe_.reading));
    pipe_.write(std::string("a\xff\0", 3));
    EXPECT_EQ(output.readCharacter(), 'a');
    EXPECT_EQ(output.readCharacter(), 0xff);
    EXPECT_EQ(output.readCharacter(), 0);
    pipe_.write("b");
    EXPECT_EQ(output.readCharacter(), 'b');
    pipe_.writing.reset();
    EXPECT_EQ(output.readCharacter(), -1);
    EXPECT_TRUE(output.settle());
}

TEST_F(ToolOutputTest, OfARunningToolIsNotSettled) {
    ToolOutput output(std::move(pipe_.reading));
    EXPECT_FALSE(output.settle());
    pipe_.write("some");
    EXPECT_FALSE(output.settle());
    pipe_.writing.reset();
    EXPECT_EQ(readToEnd(output), "some");
}

TEST_F(ToolOutputTest, OfAnEndedToolCostsNoDescriptorAndLosesNothing) {
    const std::size_t before = openDescriptors();
    // As much as the pipe holds.
    ASSERT_EQ(::fcntl(pipe_.writing.get(), F_SETFL, O_NONBLOCK), 0);
    std::string written;
    for (char next = 0; ::write(pipe_.writing.get(), &next, 1) == 1; ++next) written += next;
    pipe_.writing.reset();
    ToolOutput output(std::move(pipe_.reading));
    EXPECT_EQ(output.readCharacter(), 0);
    EXPECT_TRUE(output.settle());
    EXPECT_EQ(openDescriptors(), before - 2);
    EXPECT_EQ(readToEnd(output), written.substr(1));
    EXPECT_EQ(output.readCharacter(), -1);
}

TEST_F(ToolOutputTest, CannotSettleUnderAReader) {
    ToolOutput output(std::move(pipe_.reading));
    std::thread reader([&] { EXPECT_EQ(readToEnd(output), "late"); });
    for (int attempt = 0; attempt < 100; ++attempt) {
        EXPECT_FALSE(output.settle());
        std::this_thread::yield();
    }
    pipe_.write("late");
    pipe_.writing.reset();
    EXPECT_TRUE(testing::eventually([&] { return output.settle(); }));
    reader.join();
}

TEST_F(ToolOutputTest, OutlivesWhoeverReadsIt) {
    auto output = std::make_shared<ToolOutput>(std::move(pipe_.reading));
    pipe_.write("x");
    auto held = communicationsPipe(output);
    EXPECT_EQ(held->readCharacter(), 'x');
    held.reset();
    EXPECT_FALSE(output->settle());
}

} // namespace
} // namespace quorvane::platform::linux_
