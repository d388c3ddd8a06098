#include "platform/linux/privileged_helper/command.h"

#include <gmock/gmock.h>

#include <cerrno>

#include "tests/platform/linux/privileged_helper/helper_process.h"

namespace quorvane::platform::linux_::helper {
namespace {

using quorvane::testing::requestBytes;
using ::testing::StrEq;
using Texts = std::vector<std::string>;

int errorOf(const Texts& texts) {
    const std::string bytes = requestBytes(1, texts);
    return readCommand(parseRequest(bytes)).error;
}

TEST(Command, AreThoseOfTheKit) {
    EXPECT_EQ(errorOf({"/bin/rm", "-Rdf", "/a"}), 0);
    EXPECT_EQ(errorOf({"/bin/rm", "-R", "-f", "/a"}), 0);
    EXPECT_EQ(errorOf({"/bin/rmdir", "/a"}), 0);
    EXPECT_EQ(errorOf({"/bin/mv", "-f", "/a", "/b"}), 0);
    EXPECT_EQ(errorOf({"/bin/mv", "-nT", "/a", "/b"}), 0);
    EXPECT_EQ(errorOf({"/bin/cp", "-f", "-p", "-R", "/a", "/b"}), 0);
    EXPECT_EQ(errorOf({"/bin/cp", "-nT", "-p", "-R", "/a", "/b"}), 0);
    EXPECT_EQ(errorOf({"/bin/mkdir", "-p", "/a"}), 0);
    EXPECT_EQ(errorOf({"/usr/bin/touch", "-c", "/a"}), 0);
}

TEST(Command, KeepsItsOperandsAsTheyAre) {
    const std::string bytes = requestBytes(1, {"/bin/mv", "-f", "/a b\n\xff/-x", "/b"});
    const Command command = readCommand(parseRequest(bytes));
    EXPECT_EQ(command.job, Job::move);
    EXPECT_THAT(command.tool, StrEq("/bin/mv"));
    EXPECT_EQ(command.operandCount, 2U);
    EXPECT_THAT(command.operands[0], StrEq("/a b\n\xff/-x"));
    EXPECT_THAT(command.operands[1], StrEq("/b"));
}

TEST(Command, OtherToolsAreNotPermitted) {
    for (const char* tool :
         {"/bin/sh", "/usr/bin/mv", "rm", "", "/bin/rm ", "/bin/../bin/rm", "/usr/bin/env"})
        EXPECT_EQ(errorOf({tool, "-f", "/a", "/b"}), EPERM) << tool;
}

TEST(Command, OtherOptionsAreInvalid) {
    const std::vector<Texts> smuggled{
        {"/bin/rm", "--no-preserve-root", "-Rdf", "/a"},
        {"/bin/rm", "-Rdf", "--no-preserve-root", "/a"},
        {"/bin/rm", "-Rdf", "--no-preserve-root"},
        {"/bin/rm", "/a"},
        {"/bin/rm", "-f", "-R", "/a"},
        {"/bin/rmdir", "-p", "/a"},
        {"/bin/rmdir", "--parents"},
        {"/bin/mv", "-t", "/a", "/b"},
        {"/bin/mv", "-f", "-t", "/a", "/b"},
        {"/bin/mv", "-f", "--target-directory=/etc", "/a"},
        {"/bin/mv", "/a", "/b"},
        {"/bin/cp", "-f", "-p", "-L", "/a", "/b"},
        {"/bin/cp", "-fpR", "/a", "/b"},
        {"/bin/mkdir", "-m", "/a"},
        {"/usr/bin/touch", "-c", "-r", "/a"},
    };
    for (const Texts& texts : smuggled)
        EXPECT_EQ(errorOf(texts), EINVAL) << ::testing::PrintToString(texts);
}

TEST(Command, OtherNumbersOfOperandsAreInvalid) {
    for (const Texts& texts :
         {Texts{"/bin/rm", "-Rdf"}, Texts{"/bin/rm", "-Rdf", "/a", "/b"}, Texts{"/bin/rmdir"},
          Texts{"/bin/rmdir", "/a", "/b"}, Texts{"/bin/mv", "-f"}, Texts{"/bin/mv", "-f", "/a"},
          Texts{"/bin/mv", "-f", "/a", "/b", "/c"}})
        EXPECT_EQ(errorOf(texts), EINVAL) << ::testing::PrintToString(texts);
}

TEST(Command, OperandsThatAreNotPlainAndAbsoluteAreInvalid) {
    for (const char* operand : {"", "/", "//", "a", "./a", "../a", "-x", "--", "~", "/a/", "/a//b",
                                "//a", "/./a", "/a/.", "/a/./b", "/..", "/a/..", "/a/../b"}) {
        EXPECT_EQ(errorOf({"/bin/rm", "-Rdf", operand}), EINVAL) << operand;
        EXPECT_EQ(errorOf({"/bin/rmdir", operand}), EINVAL) << operand;
        EXPECT_EQ(errorOf({"/bin/mv", "-f", "/a", operand}), EINVAL) << operand;
    }
    for (const char* operand : {"/...", "/.a", "/a..", "/-x", "/ ", "/a/-"})
        EXPECT_EQ(errorOf({"/bin/rm", "-Rdf", operand}), 0) << operand;
}

} // namespace
} // namespace quorvane::platform::linux_::helper
