// Thousands of runs from many threads, after which the process is what it was before.
#include "tests/kit/tasks/real_tools.h"

#include <array>
#include <atomic>
#include <filesystem>
#include <functional>
#include <thread>
#include <vector>

#include <sys/wait.h>

#include "kit/tasks/QVTaskEx.h"

namespace quorvane {
namespace {

using testing::eventually;

constexpr int kThreads = 16;
constexpr int kKillSignal = 9;
const std::string kMissing = "/no/such/tool";

std::size_t entryCount(const Path& folder) {
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

/// What may leak.
struct Holdings {
    std::size_t descriptors = entryCount("/proc/self/fd");
    std::size_t threads = entryCount("/proc/self/task");
    bool isNoMoreThan(const Holdings& other) const {
        return descriptors <= other.descriptors && threads <= other.threads;
    }
};

bool hasChildren() {
    siginfo_t info{};
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

std::optional<Bytes> outputOf(const std::string& script) {
    return QVTaskEx::dataFromTask("/bin/sh", {"-c", script}, nullptr);
}

/// An asynchronous run to its end, or ended by its delegate after the first chunk.
bool runsAsynchronously(bool endsEarly) {
    std::atomic<bool> ended = false;
    Bytes text;
    const auto delegate = std::make_shared<TaskDelegate>();
    delegate->receiveData = [&](const Bytes& data, QVTaskEx& runner, const std::any&) {
        text += data;
        if (endsEarly) runner.terminateTask();
        ended = endsEarly || data.empty();
    };
    QVTaskEx::make()->asyncDataFromTask("/bin/echo", {"text"}, delegate, &TaskDelegate::receiveData,
                                        {});
    return eventually([&] { return ended.load(); }) && text == "text\n";
}

using Run = std::function<bool(int number)>;

/// Most of the runs are short, so that many of them take little time.
const std::vector<Run>& runs() {
    static const std::vector<Run> all = {
        [](int) { return QVTaskEx::runTask("/bin/true"); },
        [](int) { return QVTaskEx::terminationCodeFromTask("/bin/false") == 1; },
        [](int number) {
            const std::string text = std::to_string(number);
            return QVTaskEx::stringFromTask("/bin/echo", {text}) == text + "\n";
        },
        [](int) { return runsAsynchronously(false); },
        [](int) { return QVTaskEx::terminationCodeFromTask(kMissing) == -1; },
        [](int) { return !QVTaskEx::runTask("no-such-tool"); },
        [](int) { return !QVTaskEx::runTask("relative"); },
        [](int) { return runsAsynchronously(true); },
        // Nobody waits for these.
        [](int) {
            QVTaskEx::runTaskAndReturn("/bin/true");
            return true;
        },
        [](int) {
            return QVTaskEx::dataFromTask("/bin/true", {}, nullptr, std::nullopt, LogOutput::no,
                                          LogError::no) == "";
        },
        [](int number) {
            if (number % 4 == 0) return outputOf("exec >&- 2>&-; sleep 0.1") == "";
            if (number % 4 == 1) return outputOf("echo a; (sleep 0.05; echo b) &") == "a\nb\n";
            if (number % 4 == 2) return outputOf("echo err >&2; kill -KILL $$") == "err\n";
            return QVTaskEx::terminationCodeFromTask("/bin/sh", {"-c", "kill -KILL $$"}) ==
                   kKillSignal;
        },
        [](int number) {
            if (number % 100 != 0) return QVTaskEx::stringFromTask("/bin/true") == "";
            // The watchdog ends the sleep, or comes before it begins and ends nothing.
            const int code = QVTaskEx::terminationCodeFromTask("/bin/sleep", {"2"}, TaskTimeout(1));
            return code == 15 || code == 0;
        },
    };
    return all;
}

class Endurance : public RealTools {
protected:
    /// All forms, from all threads; answers how many runs went wrong.
    static int failuresOf(int runCount) {
        std::atomic<int> failures = 0;
        std::vector<std::thread> threads;
        threads.reserve(kThreads);
        for (int thread = 0; thread < kThreads; ++thread)
            threads.emplace_back([&, thread] {
                for (int number = thread; number < runCount; number += kThreads) {
                    const std::size_t kind =
                        static_cast<std::size_t>(number / kThreads) % runs().size();
                    if (!runs()[kind](number)) {
                        ++failures;
                        ADD_FAILURE() << "run " << number << " of kind " << kind;
                    }
                }
            });
        for (std::thread& thread : threads) thread.join();
        return failures;
    }
};

TEST_F(Endurance, LeavesNoDescriptorThreadOrChildBehind) {
    QVLog::sharedController().setNoPrinting(true);
    printedBy([&] {
        // What stays for good, such as the reaper's thread, is there from now on.
        QVTaskEx::runTaskAndReturn("/bin/sleep", {"0.1"});
        EXPECT_TRUE(eventually([] { return !hasChildren(); }));
        QVLog::finishWriting();
        const Holdings before;
        EXPECT_EQ(failuresOf(QUORVANE_ENDURANCE_RUNS), 0);
        EXPECT_TRUE(eventually([] { return !hasChildren(); }));
        EXPECT_TRUE(eventually([&] { return Holdings().isNoMoreThan(before); }))
            << Holdings().descriptors << " descriptors, before " << before.descriptors << "; "
            << Holdings().threads << " threads, before " << before.threads;
    });
}

} // namespace
} // namespace quorvane
