// Several processes of one application on one log, on real files.
#include <array>
#include <map>

#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/file_manager.h"
#include "tests/kit/log/log_world.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {
namespace {

constexpr int kLines = 2000;

class SharedLog : public LogTest {
protected:
    SharedLog() {
        system.services.makeFileManager = platform::linux_::makeFileManager;
        system.identity->home = folder.path();
        path = folder.addFile("Library/Logs/Quorvane/Fake Tool.1.log");
    }

    /// Runs the body in so many processes at once, each with a log and a number of its own.
    template <class Body>
    static void inProcesses(int count, Body body) {
        std::array<int, 2> start{};
        ASSERT_EQ(pipe(start.data()), 0);
        std::vector<pid_t> children;
        for (int number = 0; number < count; ++number) {
            const pid_t child = fork();
            ASSERT_NE(child, -1);
            if (child == 0) {
                close(start[1]);
                char nothing = 0;
                (void)read(start[0], &nothing, 1); // until all are there
                body(number);
                QVLog::finishWriting();
                _exit(0);
            }
            children.push_back(child);
        }
        close(start[0]);
        close(start[1]);
        for (const pid_t child : children) {
            int status = 0;
            EXPECT_EQ(waitpid(child, &status, 0), child);
            EXPECT_EQ(status, 0);
        }
    }

    static std::string filling(int line) {
        return std::string(static_cast<std::size_t>(line % 50), '.');
    }

    ScratchFolder folder;
    Path path;
};

TEST_F(SharedLog, KeepsEveryLineOfEveryProcessWhole) {
    constexpr int kProcesses = 2;
    inProcesses(kProcesses, [](int number) {
        for (int line = 0; line < kLines; ++line) {
            QVLog::fastAppendLog("process %i %i %@", number, line, filling(line));
            if (line % 10 == 0) QVLog::finishWriting();
        }
    });
    std::map<int, int> next;
    for (const std::string& message : undated(contentOf(path))) {
        ASSERT_TRUE(message.starts_with("process ")) << message;
        std::istringstream parts(message);
        std::string word;
        std::string fill;
        int number = -1;
        int line = -1;
        parts >> word >> number >> line >> fill;
        EXPECT_EQ(line, next[number]++);
        EXPECT_EQ(fill, filling(line));
    }
    for (int number = 0; number < kProcesses; ++number) EXPECT_EQ(next[number], kLines);
}

TEST_F(SharedLog, GoesOnBehindATornLine) {
    folder.addFile("Library/Logs/Quorvane/Fake Tool.1.log", "torn");
    inProcesses(1, [](int) { QVLog::fastAppendLog("whole"); });
    const std::string content = contentOf(path);
    ASSERT_TRUE(content.starts_with("torn\n")) << content;
    EXPECT_EQ(undated(content.substr(5)), std::vector<std::string>{"whole"});
}

} // namespace
} // namespace quorvane::testing
