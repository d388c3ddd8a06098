// Many threads on one log, on real files.
#include <map>
#include <sstream>

#include "platform/linux/file_manager.h"
#include "tests/kit/log/log_world.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {
namespace {

constexpr int kThreads = 8;

class Concurrency : public LogTest {
protected:
    Concurrency() {
        system.services.makeFileManager = platform::linux_::makeFileManager;
        system.identity->home = folder.path();
        folder.addFolder("Library");
        QVLog::createNewLog();
        QVLog::finishWriting();
    }

    /// Each thread logs its number and that of the line, and something to fill the files.
    template <class Append>
    static void logFromAllThreads(int lines, std::size_t filling, Append append) {
        const std::string fill(filling, '.');
        std::vector<std::thread> threads;
        threads.reserve(kThreads);
        for (int thread = 0; thread < kThreads; ++thread)
            threads.emplace_back([&, thread] {
                for (int line = 0; line < lines; ++line) append(thread, line, fill);
            });
        for (std::thread& thread : threads) thread.join();
    }

    /// What all generations hold, oldest first.
    std::vector<std::string> allMessages(int generations) const {
        std::vector<std::string> all;
        for (int number = generations; number >= 1; --number) {
            const auto lines = undated(contentOf(pathOf(number)));
            all.insert(all.end(), lines.begin(), lines.end());
        }
        return all;
    }
    Path pathOf(int number) const {
        return folder / ("Library/Logs/Quorvane/Fake Tool." + std::to_string(number) + ".log");
    }

    static void expectAllLinesInOrder(const std::vector<std::string>& messages, int lines,
                                      std::size_t filling) {
        std::map<int, int> next;
        for (const std::string& message : messages) {
            EXPECT_FALSE(message.starts_with("BROKEN: ")) << message;
            if (!message.starts_with("thread ")) continue;
            std::istringstream parts(message);
            std::string word;
            std::string fill;
            int thread = -1;
            int line = -1;
            parts >> word >> thread >> line >> fill;
            EXPECT_EQ(line, next[thread]++);
            EXPECT_EQ(fill, std::string(filling, '.'));
        }
        for (int thread = 0; thread < kThreads; ++thread) EXPECT_EQ(next[thread], lines);
    }

    ScratchFolder folder;
};

// 8 threads of 400 lines of about 545 bytes fill three files and a part of the fourth.
TEST_F(Concurrency, LinesKeepTheirOrderAcrossFiles) {
    constexpr int kLines = 400;
    constexpr std::size_t kFilling = 500;
    logFromAllThreads(kLines, kFilling, [](int thread, int line, const std::string& fill) {
        QVLog::fastAppendLog("thread %i %i %@", thread, line, fill);
    });
    QVLog::finishWriting();
    EXPECT_EQ(QVLog::availableLogs().size(), 4U);
    expectAllLinesInOrder(allMessages(4), kLines, kFilling);
    for (int number = 2; number <= 4; ++number) {
        const std::size_t size = contentOf(pathOf(number)).size();
        EXPECT_GE(size, QVLog::kFileSizeLimit);
        EXPECT_LT(size, QVLog::kFileSizeLimit + kFilling + 60);
    }
    for (int number = 1; number <= 3; ++number) {
        const auto lines = undated(contentOf(pathOf(number)));
        ASSERT_GE(lines.size(), 6U);
        EXPECT_TRUE(lines[0].starts_with("Log started: "));
        EXPECT_EQ(lines[5], "Log truncated at 500KB");
    }
    EXPECT_EQ(log().bytesInQueue(), 0U);
}

TEST_F(Concurrency, WaitingThreadsAllGoOn) {
    constexpr int kLines = 200;
    logFromAllThreads(kLines, 1, [](int thread, int line, const std::string& fill) {
        QVLog::appendLog("thread %i %i %@", thread, line, fill);
    });
    QVLog::finishWriting();
    expectAllLinesInOrder(allMessages(1), kLines, 1);
}

TEST_F(Concurrency, NewLogsMayBeginAnywhereAtAnyTime) {
    log().setNoPrinting(true); // generations may be moved by two threads at once
    logFromAllThreads(20, 1, [](int thread, int line, const std::string&) {
        if (line % 5 == 0) QVLog::createNewLog("Named");
        QVLog::fastAppendLog("thread %i %i", thread, line);
        if (line % 7 == 0) QVLog::availableLogs();
    });
    QVLog::finishWriting();
    EXPECT_FALSE(QVLog::availableLogs().empty());
}

} // namespace
} // namespace quorvane::testing
