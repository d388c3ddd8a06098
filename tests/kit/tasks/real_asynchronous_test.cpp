// Asynchronous runs of the system's own tools.
#include "tests/kit/tasks/real_tools.h"

#include <filesystem>
#include <mutex>
#include <vector>

#include <gmock/gmock.h>

#include "kit/tasks/QVTaskEx.h"

namespace quorvane {
namespace {

using ::testing::ElementsAre;
using testing::eventually;
using ::testing::IsEmpty;

constexpr int kTerminateSignal = 15;

class RealAsynchronousTask : public RealTools {
protected:
    RealAsynchronousTask() {
        delegate->receiveData = [this](const Bytes& data, QVTaskEx& runner, const std::any&) {
            const std::lock_guard lock(mutex_);
            if (data.empty()) process_ = runner.theTask().process();
            chunks_.push_back(data);
        };
    }

    void start(const std::string& script) {
        task->asyncDataFromTask("/bin/sh", {"-c", script}, delegate, &TaskDelegate::receiveData,
                                {});
    }

    std::vector<Bytes> chunks() {
        const std::lock_guard lock(mutex_);
        return chunks_;
    }

    /// Whether the reading thread has let go of the instance, the last to do so.
    bool endsOnItsOwn() {
        const std::weak_ptr<QVTaskEx> watched = task;
        task.reset();
        return eventually([&] { return watched.expired(); });
    }

    std::shared_ptr<TaskDelegate> delegate = std::make_shared<TaskDelegate>();
    std::shared_ptr<QVTaskEx> task = QVTaskEx::make();
    std::mutex mutex_;
    std::vector<Bytes> chunks_;
    std::shared_ptr<platform::Process> process_; ///< while the end was delivered
};

TEST_F(RealAsynchronousTask, DeliversWhatIsThereBeforeTheToolGoesOn) {
    const Path seen = home_.path() + "/seen";
    start("printf a; until [ -e '" + seen + "' ]; do sleep 0.01; done; printf b; echo no >&2");
    EXPECT_TRUE(eventually([&] { return chunks() == std::vector<Bytes>{"a"}; }));
    std::filesystem::create_directory(seen);
    EXPECT_TRUE(endsOnItsOwn());
    EXPECT_THAT(chunks(), ElementsAre("a", "b", ""));
}

TEST_F(RealAsynchronousTask, EndsAToolThatOnlyClosedItsOutput) {
    start("exec sleep 1000 >&-");
    EXPECT_TRUE(endsOnItsOwn());
    EXPECT_THAT(chunks(), ElementsAre(""));
    ASSERT_TRUE(process_);
    process_->waitUntilExit();
    EXPECT_EQ(process_->terminationStatus(), kTerminateSignal);
}

TEST_F(RealAsynchronousTask, EarlyEndDoesNotWaitForOthersWhoHoldTheOutputOpen) {
    const Path held = home_.path() + "/held";
    const Path holds = home_.path() + "/holds";
    std::filesystem::create_directory(held);
    start("(mkdir '" + holds + "'; while [ -d '" + held + "' ]; do sleep 0.01; done; rmdir '" +
          holds + "') & exec sleep 1000");
    EXPECT_TRUE(eventually([&] { return std::filesystem::exists(holds); }));
    const auto process = task->theTask().process();
    task->terminateTask();
    EXPECT_TRUE(endsOnItsOwn());
    EXPECT_TRUE(std::filesystem::exists(holds));
    EXPECT_THAT(chunks(), IsEmpty());
    process->waitUntilExit();
    EXPECT_EQ(process->terminationStatus(), kTerminateSignal);
    std::filesystem::remove(held);
    EXPECT_TRUE(eventually([&] { return !std::filesystem::exists(holds); }));
}

TEST_F(RealAsynchronousTask, LosesNothingOfLargeOutput) {
    start("head -c 20000000 /dev/zero");
    EXPECT_TRUE(endsOnItsOwn());
    Bytes all;
    for (const Bytes& chunk : chunks()) all += chunk;
    EXPECT_EQ(all, Bytes(20000000, '\0'));
}

TEST_F(RealAsynchronousTask, TellsWhyAToolCannotBeExecuted) {
    const Path text = home_.addFile("text", "no program\n");
    std::filesystem::permissions(text, std::filesystem::perms::owner_all);
    const std::string printed = printedBy([&] {
        task->asyncDataFromTask(text, {}, delegate, &TaskDelegate::receiveData, {});
        EXPECT_TRUE(endsOnItsOwn());
    });
    EXPECT_EQ(printed, "Exception in -[QVTaskEx launchAsyncTask]. ProcessException - "
                       "Exec format error.\n");
    EXPECT_THAT(chunks(), IsEmpty());
}

} // namespace
} // namespace quorvane
