// Colours and fonts on light, dark and unusual desktops.
#include "tests/platform/qt/qt_test.h"

#include "platform/qt/color_scheme.h"
#include "platform/qt/colors.h"
#include "platform/qt/style.h"

#include <QStyle>

namespace quorvane::testing {
namespace {

using namespace platform;
using namespace platform::qt;

class AppearanceTest : public QtTest {
protected:
    /// Both kinds of text against what they stand on, and the outlines.
    static void expectReadable(const QPalette& palette) {
        const QColor window = palette.color(QPalette::Window);
        const QColor base = palette.color(QPalette::Base);
        EXPECT_GE(contrastRatio(palette.color(QPalette::WindowText), window), kTextContrast);
        EXPECT_GE(contrastRatio(palette.color(QPalette::WindowText), base), kTextContrast);
        EXPECT_GE(
            contrastRatio(palette.color(QPalette::ButtonText), palette.color(QPalette::Button)),
            kTextContrast);
        EXPECT_GE(contrastRatio(palette.color(QPalette::HighlightedText),
                                palette.color(QPalette::Highlight)),
                  kTextContrast);
        EXPECT_GE(contrastRatio(secondaryTextColor(palette, QPalette::Window), window),
                  kTextContrast);
        EXPECT_GE(contrastRatio(secondaryTextColor(palette, QPalette::Base), base), kTextContrast);
        EXPECT_GE(contrastRatio(outlineAccent(palette, QPalette::Base), base), kOutlineContrast);
        EXPECT_GE(contrastRatio(outlineAccent(palette, QPalette::Window), window),
                  kOutlineContrast);
    }

    std::shared_ptr<platform::Window> show() {
        auto window = application->makeWindow(
            {.title = "Window",
             .elements = {TextElement{"Heading", TextElement::Style::heading}, TextElement{"Body"},
                          TextElement{"Note", TextElement::Style::note},
                          CheckBoxElement{"box", "Title", "Explanation"}},
             .closeAction = {}});
        window->makeKeyAndOrderFront();
        return window;
    }

    static QColor colorOf(const QString& text) {
        return label(text)->palette().color(QPalette::WindowText);
    }
    static const QLabel* label(const QString& text) {
        for (const QLabel* each : shown("Window")->findChildren<QLabel*>())
            if (each->text() == text) return each;
        return nullptr;
    }
};

TEST_F(AppearanceTest, KnowsTheContrastOfColors) {
    EXPECT_NEAR(contrastRatio(Qt::black, Qt::white), 21, 0.001);
    EXPECT_NEAR(contrastRatio(Qt::white, Qt::black), 21, 0.001);
    EXPECT_NEAR(contrastRatio(Qt::red, Qt::red), 1, 0.001);
    EXPECT_NEAR(contrastRatio(QColor(0x76, 0x76, 0x76), Qt::white), 4.54, 0.01);
}

TEST_F(AppearanceTest, MovesAColorNoFurtherThanNeeded) {
    EXPECT_EQ(legible(Qt::black, Qt::black, Qt::white, 4.5), QColor(Qt::black));
    EXPECT_EQ(legible(Qt::white, QColor(Qt::gray), Qt::white, 21), QColor(Qt::gray));
    const QColor found = legible(Qt::white, Qt::black, Qt::white, 4.5);
    EXPECT_GE(contrastRatio(found, Qt::white), 4.5);
    EXPECT_LE(contrastRatio(found, Qt::white), 6);
}

TEST_F(AppearanceTest, IsReadableInLight) {
    expectReadable(lightPalette());
    EXPECT_FALSE(isDark(lightPalette()));
}

TEST_F(AppearanceTest, IsReadableInDark) {
    expectReadable(darkPalette());
    EXPECT_TRUE(isDark(darkPalette()));
}

TEST_F(AppearanceTest, IsReadableInHighContrast) {
    QPalette palette(Qt::black, Qt::black);
    palette.setColor(QPalette::Base, Qt::black);
    palette.setColor(QPalette::WindowText, Qt::yellow);
    palette.setColor(QPalette::ButtonText, Qt::white);
    palette.setColor(QPalette::Highlight, Qt::blue);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    expectReadable(palette);
}

TEST_F(AppearanceTest, TakesOurPaletteWhereTheDesktopStatesNone) {
    applyAppearance();
    EXPECT_EQ(QApplication::palette().color(QPalette::Window),
              lightPalette().color(QPalette::Window));
    EXPECT_GE(QApplication::font().pointSizeF(), 10);
}

TEST_F(AppearanceTest, KeepsTheDesktopsPalette) {
    QPalette own = QApplication::palette();
    own.setColor(QPalette::Window, QColor(0x334455));
    QApplication::setPalette(own);
    applyAppearance();
    EXPECT_EQ(QApplication::palette().color(QPalette::Window), QColor(0x334455));
}

TEST_F(AppearanceTest, KeepsTheDesktopsStyle) {
    QApplication::setStyle("windows");
    applyAppearance();
    EXPECT_EQ(QApplication::style()->name(), "windows");
}

TEST_F(AppearanceTest, IsLightWhereNoPortalAnswers) {
    EXPECT_FALSE(desktopPrefersDark());
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    EXPECT_FALSE(desktopPrefersDark());
}

TEST_F(AppearanceTest, FollowsThePaletteWhileItIsShown) {
    QApplication::setPalette(lightPalette());
    const auto window = show();
    EXPECT_EQ(colorOf("Note"), secondaryTextColor(lightPalette(), QPalette::Window));
    EXPECT_EQ(colorOf("Explanation"), secondaryTextColor(lightPalette(), QPalette::Base));
    EXPECT_EQ(colorOf("Body"), lightPalette().color(QPalette::WindowText));
    QApplication::setPalette(darkPalette());
    QCoreApplication::processEvents();
    EXPECT_EQ(colorOf("Note"), secondaryTextColor(darkPalette(), QPalette::Window));
    EXPECT_EQ(colorOf("Explanation"), secondaryTextColor(darkPalette(), QPalette::Base));
    EXPECT_EQ(colorOf("Body"), darkPalette().color(QPalette::WindowText));
    EXPECT_EQ(colorOf("Title"), darkPalette().color(QPalette::WindowText));
}

TEST_F(AppearanceTest, SetsTheHeadingApart) {
    const auto window = show();
    EXPECT_GT(label("Heading")->font().pointSizeF(), 1.4 * label("Body")->font().pointSizeF());
    EXPECT_TRUE(label("Heading")->font().bold());
    EXPECT_FALSE(label("Body")->font().bold());
}

TEST_F(AppearanceTest, ScalesAHeadingInPixelsToo) {
    QFont font = QApplication::font();
    font.setPixelSize(20);
    QApplication::setFont(font);
    const auto window = show();
    EXPECT_EQ(label("Heading")->font().pixelSize(), 31);
}

/// Every control in each of its states, drawn in both palettes: nothing may go wrong in drawing.
TEST_F(AppearanceTest, DrawsEachState) {
    applyAppearance();
    const auto window =
        application->makeWindow({.title = "Window",
                                 .elements = {CheckBoxElement{"box", "&Title", "Explanation"},
                                              ProgressElement{"bar", "Working", "Much"},
                                              ButtonRow{{Button{.title = "&Main",
                                                                .description = "Does it",
                                                                .prominent = true,
                                                                .action = [] {}}}}},
                                 .closeAction = {}});
    window->makeKeyAndOrderFront();
    auto* widget = shown("Window");
    const QImage idle = widget->grab().toImage();
    auto* main = find<QPushButton>(widget, "Main");
    main->setDown(true);
    const QImage down = widget->grab().toImage();
    EXPECT_NE(down, idle);
    main->setEnabled(false);
    EXPECT_NE(widget->grab().toImage(), down);
    window->progressIndicator("bar")->startAnimation();
    EXPECT_NE(widget->grab().toImage(), idle);
    const QColor accent = lightPalette().color(QPalette::Highlight);
    EXPECT_EQ(idle.pixelColor(main->mapTo(widget, QPoint(main->width() / 2, 6))), accent);
}

} // namespace
} // namespace quorvane::testing
