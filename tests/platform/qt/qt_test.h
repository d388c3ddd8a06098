// What all tests of the windows share: a framework without a screen, and ways to find what it
// shows.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <memory>
#include <string>
#include <vector>

#include "platform/qt/application.h"
#include "platform/qt/window.h"

namespace quorvane::testing {

/// Before the framework comes up.
struct WithoutScreen {
    WithoutScreen() {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    }
};

class QtTest : public ::testing::Test, private WithoutScreen {
protected:
    /// The window with this title that the user sees; null when there is none.
    static platform::qt::WindowWidget* shown(const QString& title) {
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (widget->isVisible() && widget->windowTitle() == title)
                return dynamic_cast<platform::qt::WindowWidget*>(widget);
        return nullptr;
    }

    /// The control with this accessible name; null when there is none.
    template <class Control>
    static Control* find(const QWidget* window, const QString& name) {
        for (Control* control : window->findChildren<Control*>())
            if (control->accessibleName() == name) return control;
        return nullptr;
    }

    /// The texts of the window's labels, from top to bottom.
    static std::vector<std::string> texts(const QWidget* window) {
        std::vector<std::string> all;
        for (const QLabel* label : window->findChildren<QLabel*>())
            if (!label->text().isEmpty()) all.push_back(label->text().toStdString());
        return all;
    }

    /// Whether everything that the window holds has the room that it asks for.
    static ::testing::AssertionResult nothingClipped(const QWidget* window) {
        for (const QLabel* label : window->findChildren<QLabel*>()) {
            const int needed = label->hasHeightForWidth() ? label->heightForWidth(label->width())
                                                          : label->sizeHint().height();
            if (label->height() < needed || label->width() < label->minimumSizeHint().width())
                return ::testing::AssertionFailure() << label->text().toStdString();
        }
        for (const QPushButton* button : window->findChildren<QPushButton*>())
            if (button->width() < button->sizeHint().width() ||
                button->height() < button->sizeHint().height())
                return ::testing::AssertionFailure() << button->text().toStdString();
        return ::testing::AssertionSuccess();
    }

    /// Presses a key where the keyboard is, with the window in front.
    static void press(QWidget* window, Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        ASSERT_TRUE(QTest::qWaitForWindowActive(window));
        QWidget* focus = window->focusWidget();
        QTest::keyClick(focus == nullptr ? window : focus, key, modifiers);
    }

    int argumentCount = 1;
    char programName[5] = "test";
    char* arguments[2] = {programName, nullptr};
    const QApplication framework{argumentCount, arguments};
    const std::shared_ptr<platform::qt::Application> application =
        std::make_shared<platform::qt::Application>();
};

} // namespace quorvane::testing
