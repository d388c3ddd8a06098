// The uninstaller's own windows, with nothing below them that could touch a file.
#include "tests/platform/qt/qt_test.h"

#include "app/interface.h"
#include "platform/qt/colors.h"
#include "tests/support/fake_platform.h"

#include <QAccessible>
#include <QCheckBox>
#include <QProgressBar>

#include <set>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

namespace quorvane::testing {
namespace {

const QString kTitle = "Brightkeel Uninstaller";

class InterfaceTest : public QtTest {
protected:
    InterfaceTest() {
        platform_.queues->setMode(Detached::recorded);
        platform_.services.application = application;
        brightkeel::loadInterface(*application);
        main = shown(kTitle);
    }

    std::vector<std::string> journal() const { return platform_.journal->entries(); }

    /// What the main loop ends with, when this is done in it.
    int runAnd(const std::function<void()>& action) {
        QTimer::singleShot(0, [this, &action] {
            ASSERT_TRUE(QTest::qWaitForWindowActive(main));
            action();
        });
        return application->run();
    }

    FakePlatform platform_;
    platform::qt::WindowWidget* main = nullptr;
};

TEST_F(InterfaceTest, ShowsTheMainWindowWithBothOptionsOff) {
    ASSERT_NE(main, nullptr);
    const auto boxes = main->findChildren<QCheckBox*>();
    ASSERT_EQ(boxes.size(), 2);
    EXPECT_EQ(boxes[0]->accessibleName(), "Also remove shared applications and resources");
    EXPECT_EQ(boxes[1]->accessibleName(), "Also remove preference files");
    for (const QCheckBox* box : boxes) EXPECT_FALSE(box->isChecked());
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(InterfaceTest, CancelsByButton) {
    EXPECT_EQ(runAnd([this] { find<QPushButton>(main, "Cancel")->click(); }), 0);
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(InterfaceTest, CancelsByEscape) {
    EXPECT_EQ(runAnd([this] { press(main, Qt::Key_Escape); }), 0);
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(InterfaceTest, CancelsByTheCloseButton) {
    EXPECT_EQ(runAnd([this] { main->close(); }), 0);
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(InterfaceTest, StartsNothingByReturn) {
    ASSERT_TRUE(QTest::qWaitForWindowActive(main));
    EXPECT_EQ(main->focusWidget(), main->findChildren<QCheckBox*>().front());
    press(main, Qt::Key_Return);
    press(main, Qt::Key_Enter);
    EXPECT_THAT(journal(), IsEmpty());
    EXPECT_TRUE(main->isVisible());
}

TEST_F(InterfaceTest, StartsTheUninstallByItsMnemonic) {
    press(main, Qt::Key_U, Qt::AltModifier);
    ASSERT_TRUE(QTest::qWaitFor([this] { return !journal().empty(); }));
    EXPECT_THAT(journal(), ElementsAre("queues.detachThread"));
    EXPECT_FALSE(main->isVisible());
    const auto* progress = shown(kTitle);
    ASSERT_NE(progress, nullptr);
    EXPECT_EQ(find<QProgressBar>(progress, "Uninstalling")->maximum(), 0);
    EXPECT_THAT(progress->findChildren<QPushButton*>(), IsEmpty());
}

TEST_F(InterfaceTest, KeepsTheProgressWindowOpen) {
    find<QPushButton>(main, "Uninstall")->click();
    auto* progress = shown(kTitle);
    EXPECT_FALSE(progress->close());
    press(progress, Qt::Key_Escape);
    press(progress, Qt::Key_Return);
    EXPECT_TRUE(progress->isVisible());
    EXPECT_FALSE(progress->windowFlags().testFlag(Qt::WindowCloseButtonHint));
}

/// The whole run on an empty disk: worker, hand-over to the main thread, alert, end.
TEST_F(InterfaceTest, EndsWithTheAlert) {
    platform_.queues->setMode(Detached::onThread);
    std::vector<std::string> alertTexts;
    bool progressHidden = false;
    QTimer watch; // the alert turns an event loop of its own
    watch.callOnTimeout([&] {
        auto* alert = shown("Uninstall complete");
        if (alert == nullptr) return;
        watch.stop();
        progressHidden = shown(kTitle) == nullptr;
        alertTexts = texts(alert);
        press(alert, Qt::Key_Return);
    });
    watch.start(10);
    const int status = runAnd([this] {
        press(main, Qt::Key_Space);
        find<QPushButton>(main, "Uninstall")->click();
    });
    EXPECT_TRUE(progressHidden);
    EXPECT_EQ(status, 0);
    EXPECT_THAT(alertTexts,
                ElementsAre("Uninstall complete", "Items have been placed in your Trash."));
    platform_.queues->join();
}

TEST_F(InterfaceTest, NamesAndDescribesEveryControl) {
    QList<QWidget*> controls;
    for (auto* box : main->findChildren<QCheckBox*>()) controls.append(box);
    for (auto* button : main->findChildren<QPushButton*>()) controls.append(button);
    find<QPushButton>(main, "Uninstall")->click();
    for (auto* bar : shown(kTitle)->findChildren<QProgressBar*>()) controls.append(bar);
    ASSERT_EQ(controls.size(), 5);
    std::set<QString> names;
    for (QWidget* control : controls) {
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(control);
        EXPECT_TRUE(names.insert(accessible->text(QAccessible::Name)).second);
        EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty());
        EXPECT_FALSE(accessible->text(QAccessible::Description).isEmpty());
    }
}

TEST_F(InterfaceTest, GivesEveryControlAMnemonicOfItsOwn) {
    std::vector<QString> titles;
    for (const auto* button : main->findChildren<QPushButton*>()) titles.push_back(button->text());
    for (const auto* label : main->findChildren<QLabel*>())
        if (label->buddy() != nullptr) titles.push_back(label->text());
    ASSERT_EQ(titles.size(), 4U);
    std::set<QString> mnemonics;
    for (const QString& title : titles) {
        EXPECT_FALSE(QKeySequence::mnemonic(title).isEmpty()) << title.toStdString();
        EXPECT_TRUE(mnemonics.insert(QKeySequence::mnemonic(title).toString()).second)
            << title.toStdString();
    }
}

TEST_F(InterfaceTest, ClipsNothingAtTwiceTheFontSize) {
    EXPECT_TRUE(nothingClipped(main));
    QFont font = QApplication::font();
    font.setPointSizeF(font.pointSizeF() * 2);
    QApplication::setFont(font);
    QCoreApplication::processEvents();
    EXPECT_TRUE(nothingClipped(main));
    find<QPushButton>(main, "Uninstall")->click();
    EXPECT_TRUE(nothingClipped(shown(kTitle)));
}

TEST_F(InterfaceTest, IsReadableInLightAndDark) {
    using namespace platform::qt;
    for (const QPalette& palette : {lightPalette(), darkPalette()}) {
        QApplication::setPalette(palette);
        QCoreApplication::processEvents();
        for (const auto* label : main->findChildren<QLabel*>()) {
            const QColor text = label->palette().color(QPalette::WindowText);
            EXPECT_GE(contrastRatio(text, palette.color(QPalette::Window)), kTextContrast);
            EXPECT_GE(contrastRatio(text, palette.color(QPalette::Base)), kTextContrast);
        }
    }
}

} // namespace
} // namespace quorvane::testing
