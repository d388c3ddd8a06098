// The main loop, its thread, its end, and the alert.
#include "tests/platform/qt/qt_test.h"

#include "platform/Values.h"

#include <QAccessible>

#include <atomic>
#include <thread>

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;

namespace quorvane::testing {
namespace {

class ApplicationTest : public QtTest {
protected:
    /// Shows the alert and does this with it once it stands.
    void withAlert(const std::function<void(platform::qt::WindowWidget&)>& action) {
        QTimer::singleShot(0, [&action] {
            auto* alert = shown("Uninstall complete");
            ASSERT_NE(alert, nullptr);
            action(*alert);
        });
        application->runAlertPanel("Uninstall complete", "Items have been placed in your Trash.");
    }

    std::vector<std::string> notices;
    std::function<void()> note(const std::string& name) {
        return [this, name] { notices.push_back(name); };
    }
};

TEST_F(ApplicationTest, PerformsOnTheMainThreadAndWaits) {
    bool performedThere = false;
    bool waited = false;
    std::thread worker([&] {
        EXPECT_FALSE(application->isMainThread());
        application->performOnMainThreadAndWait(
            [&] { performedThere = application->isMainThread(); });
        waited = performedThere;
        application->performOnMainThreadAndWait([&] { application->terminate(); });
    });
    EXPECT_EQ(application->run(), 0);
    worker.join();
    EXPECT_TRUE(waited);
}

TEST_F(ApplicationTest, PerformsAtOnceOnTheMainThreadItself) {
    bool performed = false;
    application->performOnMainThreadAndWait([&] { performed = true; });
    EXPECT_TRUE(performed);
}

TEST_F(ApplicationTest, WaitsForAnOperationThatShowsAnAlertAndTerminates) {
    std::atomic<bool> returned = false;
    bool returnedEarly = false;
    std::thread worker([&] {
        application->performOnMainThreadAndWait([&] {
            withAlert([&](QWidget& alert) {
                returnedEarly = returned;
                press(&alert, Qt::Key_Return);
            });
            application->terminate();
        });
        returned = true;
    });
    EXPECT_EQ(application->run(), 0);
    worker.join();
    EXPECT_FALSE(returnedEarly);
}

TEST_F(ApplicationTest, PerformsForOthersWhileAnAlertStands) {
    std::thread worker;
    withAlert([&](QWidget& alert) {
        worker = std::thread(
            [&] { application->performOnMainThreadAndWait([&alert] { alert.close(); }); });
    });
    worker.join();
}

TEST_F(ApplicationTest, EndsTheWaitWithTheLoop) {
    std::atomic<bool> waiting = false;
    bool performed = false;
    std::thread late;
    std::thread worker([&] {
        application->performOnMainThreadAndWait([&] {
            late = std::thread([&] {
                waiting = true;
                application->performOnMainThreadAndWait([&] { performed = true; });
            });
            while (!waiting) std::this_thread::yield();
            application->terminate();
        });
    });
    application->run();
    worker.join();
    late.join();
    EXPECT_FALSE(performed);
}

TEST_F(ApplicationTest, EndsAWaitThatIsUnderWay) {
    platform::qt::MainThreadQueue queue;
    std::atomic<bool> asked = false;
    bool performed = false;
    std::thread worker([&] {
        asked = true;
        queue.performAndWait([&] { performed = true; });
    });
    while (!asked) std::this_thread::yield();
    queue.end();
    worker.join();
    EXPECT_FALSE(performed);
}

TEST_F(ApplicationTest, PerformsNothingAfterTheLoop) {
    application->terminate();
    application->run();
    bool performed = false;
    std::thread([&] { application->performOnMainThreadAndWait([&] { performed = true; }); }).join();
    EXPECT_FALSE(performed);
}

TEST_F(ApplicationTest, GoesOnAfterAnOperationThatThrew) {
    platform::qt::MainThreadQueue queue;
    std::thread worker(
        [&] { queue.performAndWait([] { throw platform::Exception("Name", "reason"); }); });
    const auto step = [] {
        for (;;) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    };
    EXPECT_THROW(step(), platform::Exception);
    worker.join();
}

TEST_F(ApplicationTest, TellsObserversOnceBeforeTheLoopEnds) {
    application->addWillTerminateObserver(note("first"));
    application->addWillTerminateObserver(note("second"));
    QTimer::singleShot(0, [this] {
        application->terminate();
        application->terminate();
        note("still in the loop")();
    });
    EXPECT_EQ(application->run(), 0);
    EXPECT_THAT(notices, ElementsAre("first", "second", "still in the loop"));
}

TEST_F(ApplicationTest, TellsObserversHoweverTheLoopEnds) {
    application->addWillTerminateObserver(note("told"));
    QTimer::singleShot(0, [] { QCoreApplication::exit(3); });
    EXPECT_EQ(application->run(), 3);
    EXPECT_THAT(notices, ElementsAre("told"));
}

TEST_F(ApplicationTest, TakesObserversBack) {
    const int removed = application->addWillTerminateObserver(note("removed"));
    int own = 0;
    int next = 0;
    own = application->addWillTerminateObserver([&] {
        note("own")();
        application->removeWillTerminateObserver(own);
        application->removeWillTerminateObserver(next);
    });
    next = application->addWillTerminateObserver(note("next"));
    application->removeWillTerminateObserver(removed);
    application->removeWillTerminateObserver(4711);
    application->terminate();
    EXPECT_THAT(notices, ElementsAre("own"));
}

TEST_F(ApplicationTest, EndsAtOnceWhenTerminatedBeforeTheLoop) {
    application->terminate();
    EXPECT_EQ(application->run(), 0);
}

TEST_F(ApplicationTest, StepsWithoutAnEvent) {
    while (application->processNextEvent(10ms)) {
    }
    EXPECT_FALSE(application->processNextEvent(10ms));
}

TEST_F(ApplicationTest, StepsThroughOneOperationAtATime) {
    int performed = 0;
    std::atomic<int> returned = 0;
    const auto ask = [&] {
        application->performOnMainThreadAndWait([&] { ++performed; });
        ++returned;
    };
    std::thread first(ask);
    std::thread second(ask);
    std::thread third(ask);
    while (returned < 3) {
        const int before = performed;
        const bool any = application->processNextEvent(10ms);
        EXPECT_LE(performed, before + 1);
        EXPECT_TRUE(any || performed == before);
    }
    first.join();
    second.join();
    third.join();
    EXPECT_EQ(performed, 3);
}

TEST_F(ApplicationTest, ShowsBothTextsOfAnAlert) {
    std::vector<std::string> seen;
    bool modal = false;
    QString description;
    withAlert([&](QWidget& alert) {
        seen = texts(&alert);
        modal = alert.isModal();
        description = QAccessible::queryAccessibleInterface(&alert)->text(QAccessible::Description);
        alert.close();
    });
    EXPECT_THAT(seen,
                IsSupersetOf({"Uninstall complete", "Items have been placed in your Trash."}));
    EXPECT_TRUE(modal);
    EXPECT_EQ(description, "Items have been placed in your Trash.");
    EXPECT_EQ(shown("Uninstall complete"), nullptr);
}

TEST_F(ApplicationTest, DismissesAnAlertWithItsOnlyButton) {
    withAlert([](QWidget& alert) {
        ASSERT_TRUE(QTest::qWaitForWindowActive(&alert));
        const auto buttons = alert.findChildren<QPushButton*>();
        ASSERT_EQ(buttons.size(), 1);
        EXPECT_EQ(buttons.front()->accessibleName(), "OK");
        EXPECT_TRUE(buttons.front()->isDefault());
        EXPECT_TRUE(buttons.front()->hasFocus());
        buttons.front()->click();
    });
}

TEST_F(ApplicationTest, DismissesAnAlertByKey) {
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape, Qt::Key_Space})
        withAlert([key](QWidget& alert) { press(&alert, key); });
    withAlert([](QWidget& alert) { press(&alert, Qt::Key_O, Qt::AltModifier); });
}

TEST_F(ApplicationTest, EndsAnAlertWithTheApplication) {
    QTimer::singleShot(
        0, [this] { withAlert([this](QWidget& /*alert*/) { application->terminate(); }); });
    EXPECT_EQ(application->run(), 0);
}

TEST_F(ApplicationTest, LeavesNoWindowBehind) {
    const auto window =
        application->makeWindow({.title = "Window",
                                 .elements = {platform::CheckBoxElement{"a", "A", "B"}},
                                 .closeAction = {}});
    const auto state = window->checkBox("a");
    window->makeKeyAndOrderFront();
    application->terminate();
    application->run();
    EXPECT_THAT(QApplication::topLevelWidgets(), IsEmpty());
    window->makeKeyAndOrderFront();
    window->orderOut();
    EXPECT_EQ(window->checkBox("a"), nullptr);
    EXPECT_EQ(window->progressIndicator("b"), nullptr);
    EXPECT_EQ(state->state(), platform::CheckBox::kOff);
}

} // namespace
} // namespace quorvane::testing
