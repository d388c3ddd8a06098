// Windows: their elements, keys, accessibility and room.
#include "tests/platform/qt/qt_test.h"

#include "platform/qt/controls.h"

#include <QAccessible>
#include <QCheckBox>
#include <QProgressBar>
#include <QScreen>
#include <QScrollArea>

#include <thread>

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace quorvane::testing {
namespace {

using namespace platform;

class WindowTest : public QtTest {
protected:
    Button button(const std::string& title, Button::Key key = Button::Key::none) {
        return {.title = title,
                .description = "What " + title + " does",
                .key = key,
                .action = [this, title] { pressed.push_back(title); }};
    }

    WindowDescription description() {
        return {.title = "Window",
                .elements = {IconElement{}, TextElement{"Heading", TextElement::Style::heading},
                             TextElement{"Body"},
                             CheckBoxElement{"first", "The &first one", "Why the first"},
                             CheckBoxElement{"second", "The &next && last", "Why the second"},
                             TextElement{"Note", TextElement::Style::note},
                             ProgressElement{"bar", "Working", "Much is being done"},
                             ButtonRow{{button("&Stop", Button::Key::escape), button("&Begin")}}},
                .closeAction = [this] { pressed.emplace_back("close"); }};
    }

    qt::WindowWidget* show(const WindowDescription& described) {
        window = application->makeWindow(described);
        window->makeKeyAndOrderFront();
        EXPECT_TRUE(QTest::qWaitForWindowActive(shown("Window")));
        return shown("Window");
    }
    qt::WindowWidget* show() { return show(description()); }

    std::shared_ptr<Window> window;
    std::vector<std::string> pressed;
};

TEST_F(WindowTest, ResolvesOutlets) {
    show();
    EXPECT_NE(window->checkBox("first"), nullptr);
    EXPECT_NE(window->checkBox("second"), nullptr);
    EXPECT_NE(window->checkBox("first"), window->checkBox("second"));
    EXPECT_NE(window->progressIndicator("bar"), nullptr);
    EXPECT_EQ(window->checkBox("bar"), nullptr);
    EXPECT_EQ(window->progressIndicator("first"), nullptr);
}

TEST_F(WindowTest, ShowsAndHides) {
    window = application->makeWindow(description());
    EXPECT_EQ(shown("Window"), nullptr);
    window->makeKeyAndOrderFront();
    EXPECT_NE(shown("Window"), nullptr);
    window->orderOut();
    EXPECT_EQ(shown("Window"), nullptr);
}

TEST_F(WindowTest, ShowsItsTextsInOrder) {
    EXPECT_THAT(texts(show()), ElementsAre("Heading", "Body", "The &first one", "Why the first",
                                           "The &next && last", "Why the second", "Note"));
}

TEST_F(WindowTest, ReportsTheStateOfACheckBox) {
    const auto* widget = show();
    const auto state = window->checkBox("first");
    auto* box = find<QCheckBox>(widget, "The first one");
    EXPECT_EQ(state->state(), 0);
    box->click();
    EXPECT_EQ(state->state(), 1);
    EXPECT_EQ(window->checkBox("second")->state(), 0);
    box->setTristate();
    box->setCheckState(Qt::PartiallyChecked);
    EXPECT_EQ(state->state(), -1);
    box->setCheckState(Qt::Unchecked);
    EXPECT_EQ(state->state(), 0);
}

TEST_F(WindowTest, ReportsTheStateToOtherThreads) {
    const auto* widget = show();
    find<QCheckBox>(widget, "The first one")->click();
    int seen = 0;
    std::thread([&] { seen = window->checkBox("first")->state(); }).join();
    EXPECT_EQ(seen, CheckBox::kOn);
}

TEST_F(WindowTest, TicksWithAClickOnTheExplanation) {
    const auto* widget = show();
    for (QLabel* label : widget->findChildren<QLabel*>())
        if (label->text() == "Why the second") QTest::mouseClick(label, Qt::LeftButton);
    EXPECT_EQ(window->checkBox("second")->state(), CheckBox::kOn);
    EXPECT_EQ(window->checkBox("first")->state(), CheckBox::kOff);
}

TEST_F(WindowTest, TicksByMnemonicAndSpace) {
    auto* widget = show();
    const auto first = window->checkBox("first");
    const auto second = window->checkBox("second");
    press(widget, Qt::Key_N, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([&] { return second->state() == CheckBox::kOn; }));
    EXPECT_EQ(first->state(), CheckBox::kOff);
    press(widget, Qt::Key_F, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([&] { return first->state() == CheckBox::kOn; }));
    find<QCheckBox>(widget, "The first one")->setFocus();
    press(widget, Qt::Key_Space);
    EXPECT_EQ(first->state(), CheckBox::kOff);
}

TEST_F(WindowTest, PressesButtonsByMnemonic) {
    auto* widget = show();
    press(widget, Qt::Key_B, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !pressed.empty(); }));
    EXPECT_THAT(pressed, ElementsAre("&Begin"));
}

TEST_F(WindowTest, PressesTheEscapeButtonWithEscape) {
    press(show(), Qt::Key_Escape);
    EXPECT_THAT(pressed, ElementsAre("&Stop"));
}

TEST_F(WindowTest, PressesNothingWithReturnWhereNoButtonHasTheKeyboard) {
    auto* widget = show();
    press(widget, Qt::Key_Return);
    press(widget, Qt::Key_Enter);
    EXPECT_THAT(pressed, IsEmpty());
}

TEST_F(WindowTest, PressesTheFocusedButtonWithReturn) {
    auto* widget = show();
    find<QPushButton>(widget, "Begin")->setFocus();
    press(widget, Qt::Key_Return);
    press(widget, Qt::Key_Enter);
    press(widget, Qt::Key_Space);
    EXPECT_THAT(pressed, ElementsAre("&Begin", "&Begin", "&Begin"));
}

TEST_F(WindowTest, PressesTheReturnButtonFromAnywhere) {
    auto described = description();
    described.elements.back() = ButtonRow{{button("&Go", Button::Key::enter), button("&No")}};
    auto* widget = show(described);
    press(widget, Qt::Key_Return);
    find<QPushButton>(widget, "No")->setFocus();
    press(widget, Qt::Key_Return);
    EXPECT_THAT(pressed, ElementsAre("&Go", "&No"));
}

TEST_F(WindowTest, LeavesClosingToItsAction) {
    auto* widget = show();
    EXPECT_FALSE(widget->close());
    EXPECT_THAT(pressed, ElementsAre("close"));
    EXPECT_TRUE(widget->isVisible());
    EXPECT_TRUE(widget->windowFlags().testFlag(Qt::WindowCloseButtonHint));
}

TEST_F(WindowTest, ClosesWithEscapeWhereNoButtonHasIt) {
    auto described = description();
    described.elements.pop_back();
    press(show(described), Qt::Key_Escape);
    EXPECT_THAT(pressed, ElementsAre("close"));
}

TEST_F(WindowTest, CannotBeClosedWithoutAnAction) {
    auto described = description();
    described.elements.pop_back();
    described.closeAction = {};
    auto* widget = show(described);
    EXPECT_FALSE(widget->close());
    press(widget, Qt::Key_Escape);
    EXPECT_TRUE(widget->isVisible());
    EXPECT_FALSE(widget->windowFlags().testFlag(Qt::WindowCloseButtonHint));
}

TEST_F(WindowTest, MovesTheKeyboardFromTopToBottom) {
    auto* widget = show();
    std::vector<std::string> names;
    for (int step = 0; step < 5; ++step) {
        names.push_back(widget->focusWidget()->accessibleName().toStdString());
        press(widget, Qt::Key_Tab);
    }
    const bool stopFirst =
        find<QPushButton>(widget, "Stop")->x() < find<QPushButton>(widget, "Begin")->x();
    EXPECT_THAT(names, ElementsAre("The first one", "The next & last", stopFirst ? "Stop" : "Begin",
                                   stopFirst ? "Begin" : "Stop", "The first one"));
}

TEST_F(WindowTest, TellsAssistiveTechnologiesNamesAndDescriptions) {
    const auto* widget = show();
    const auto told = [](QObject* object) {
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(object);
        return std::tuple(accessible->role(), accessible->text(QAccessible::Name).toStdString(),
                          accessible->text(QAccessible::Description).toStdString());
    };
    EXPECT_EQ(told(find<QCheckBox>(widget, "The first one")),
              std::tuple(QAccessible::CheckBox, "The first one", "Why the first"));
    EXPECT_EQ(told(find<QCheckBox>(widget, "The next & last")),
              std::tuple(QAccessible::CheckBox, "The next & last", "Why the second"));
    EXPECT_EQ(told(find<QProgressBar>(widget, "Working")),
              std::tuple(QAccessible::ProgressBar, "Working", "Much is being done"));
    EXPECT_EQ(told(find<QPushButton>(widget, "Stop")),
              std::tuple(QAccessible::Button, "Stop", "What &Stop does"));
}

TEST_F(WindowTest, MovesItsBarOnceStarted) {
    const auto* widget = show();
    const auto* bar = find<QProgressBar>(widget, "Working");
    EXPECT_EQ(bar->maximum(), 1);
    const auto progress = window->progressIndicator("bar");
    progress->setUsesThreadedAnimation(true);
    progress->startAnimation();
    EXPECT_EQ(bar->minimum(), 0);
    EXPECT_EQ(bar->maximum(), 0);
}

TEST_F(WindowTest, ShowsTextAsItIs) {
    auto described = description();
    described.elements = {TextElement{"<b>5 & 6 &lt; 7</b>\nnext"}};
    const auto* label = show(described)->findChild<QLabel*>();
    EXPECT_EQ(label->textFormat(), Qt::PlainText);
    EXPECT_EQ(label->text(), "<b>5 & 6 &lt; 7</b>\nnext");
}

TEST_F(WindowTest, StandsInTheMiddleOfTheScreen) {
    const auto* widget = show();
    const QSize decoration = widget->frameGeometry().size() - widget->size();
    const QPoint off =
        widget->frameGeometry().center() - widget->screen()->availableGeometry().center();
    EXPECT_LE(off.manhattanLength(), decoration.width() + decoration.height() + 2);
}

TEST_F(WindowTest, CannotBeMadeTooSmallForItsContent) {
    auto* widget = show();
    widget->resize(10, 10);
    EXPECT_TRUE(nothingClipped(widget));
    EXPECT_EQ(widget->size(), widget->minimumSize());
}

TEST_F(WindowTest, MakesRoomForLargeFonts) {
    QFont font = QApplication::font();
    font.setPointSizeF(font.pointSizeF() * 2);
    QApplication::setFont(font);
    EXPECT_TRUE(nothingClipped(show()));
}

TEST_F(WindowTest, MakesRoomWhenTheFontGrows) {
    const auto* widget = show();
    const QSize before = widget->size();
    QFont font = QApplication::font();
    font.setPointSizeF(font.pointSizeF() * 2);
    QApplication::setFont(font);
    QCoreApplication::processEvents();
    EXPECT_GT(widget->height(), before.height());
    EXPECT_TRUE(nothingClipped(widget));
}

TEST_F(WindowTest, MakesRoomForLongTexts) {
    auto described = description();
    std::string longText = "Benutzeroberflächeneinstellungsdateiverzeichnisübersicht";
    for (int times = 0; times < 3; ++times) longText += " und noch viel mehr davon, " + longText;
    described.elements[1] = TextElement{longText, TextElement::Style::heading};
    described.elements[3] = CheckBoxElement{"first", longText, longText};
    described.elements.back() = ButtonRow{{button(longText.substr(0, 60)), button("&Begin")}};
    const auto* widget = show(described);
    EXPECT_TRUE(nothingClipped(widget));
    EXPECT_LE(widget->height(), widget->screen()->availableSize().height());
    EXPECT_LE(widget->width(), widget->screen()->availableSize().width());
}

TEST_F(WindowTest, ScrollsWhereTheScreenIsTooSmall) {
    auto described = description();
    for (int times = 0; times < 60; ++times)
        described.elements.insert(described.elements.begin(), TextElement{"More"});
    const auto* widget = show(described);
    EXPECT_LE(widget->height(), widget->screen()->availableSize().height());
    EXPECT_TRUE(nothingClipped(widget));
    const auto* area = widget->findChild<QScrollArea*>();
    EXPECT_GT(area->widget()->height(), area->viewport()->height());
    EXPECT_TRUE(find<QPushButton>(widget, "Stop")->isVisible());
}

} // namespace
} // namespace quorvane::testing
