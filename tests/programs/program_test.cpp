#include "programs/program.h"

#include "programs/options.h"
#include "tests/programs/program_fixture.h"

namespace quorvane::programs {
namespace {

using ::testing::StartsWith;

class ProgramRun : public testing::ProgramTest {
protected:
    ProgramRun() : before_(std::cout.rdbuf(output.rdbuf())) {}
    ~ProgramRun() override { std::cout.rdbuf(before_); }

    int run(const Arguments& arguments, std::function<ExitStatus()> body) const {
        return programs::run({.name = "tool",
                              .usage = "usage: tool\n",
                              .body = [&](const Arguments&) { return body(); }},
                             arguments, commandLine);
    }

private:
    std::streambuf* before_;
};

TEST_F(ProgramRun, EndsWithTheStatusOfItsBody) {
    EXPECT_EQ(run({}, [] { return ExitStatus::done; }), 0);
    EXPECT_EQ(run({}, [] { return ExitStatus::differs; }), 2);
    EXPECT_EQ(run({}, [] { return ExitStatus::cancelled; }), 130);
    EXPECT_EQ(error(), "");
}

TEST_F(ProgramRun, SaysWhatKeepsItFromGoingOn) {
    EXPECT_EQ(run({}, []() -> ExitStatus { throw Failure("/a", "no"); }), 1);
    EXPECT_EQ(error(), "tool: /a: no\n");
    EXPECT_EQ(run({}, []() -> ExitStatus { throw Failure("/a", "b", ExitStatus::wrongKind); }), 2);
    EXPECT_EQ(error(), "tool: /a: b\n");
    EXPECT_EQ(run({}, []() -> ExitStatus { throw std::bad_alloc(); }), 1);
    EXPECT_THAT(error(), StartsWith("tool: "));
    EXPECT_EQ(run({}, []() -> ExitStatus { throw UsageError("what?"); }), 64);
    EXPECT_EQ(error(), "tool: what?\nusage: tool\n");
}

TEST_F(ProgramRun, ExplainsItself) {
    const auto never = []() -> ExitStatus { throw Failure("not to be run"); };
    EXPECT_EQ(run({"--help"}, never), 0);
    EXPECT_EQ(run({"--version"}, never), 0);
    EXPECT_THAT(output.str(), StartsWith("usage: tool\ntool (Quorvane) "));
    EXPECT_EQ(error(), "");
}

TEST_F(ProgramRun, FailsWhenNobodyTakesItsOutput) {
    std::cout.setstate(std::ios::badbit);
    EXPECT_EQ(run({}, [] { return ExitStatus::differs; }), 1);
    EXPECT_EQ(error(), "tool: standard output: could not be written\n");
    std::cout.clear();
}

TEST_F(ProgramRun, ExplainsItselfToNobodyWithoutOutput) {
    commandLine.standardOutput = false;
    for (const std::string option : {"--help", "--version"}) {
        EXPECT_EQ(run({option}, [] { return ExitStatus::done; }), 1);
        EXPECT_EQ(error(), "tool: standard output: is closed\n");
    }
    EXPECT_EQ(run({}, [] { return ExitStatus::done; }), 0);
    EXPECT_EQ(output.str() + error(), "");
}

TEST_F(ProgramRun, LeavesNoLog) {
    QVLog::sharedController().setLoggingDisabled(false);
    ::testing::internal::CaptureStdout();
    run({}, [] {
        QVLog::appendLogAndPrint("message");
        QVLog::finishWriting();
        return ExitStatus::done;
    });
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_THAT(system.disk->paths(), ::testing::IsEmpty());
}

TEST_F(ProgramRun, ShowsNoControlCharacters) {
    complain("tool", "/a\nb\x1b[2J\x7f\xff\xc3\xa4: no");
    EXPECT_EQ(error(), "tool: /a?b?[2J?\xff\xc3\xa4: no\n");
}

TEST_F(ProgramRun, MakesPathsAbsolute) {
    EXPECT_EQ(absolutePath("/a/../b"), "/a/../b");
    EXPECT_THAT(absolutePath("a"), StartsWith("/"));
    EXPECT_THAT(absolutePath("a"), ::testing::EndsWith("/a"));
    EXPECT_THROW(absolutePath(""), Failure);
}

} // namespace
} // namespace quorvane::programs
