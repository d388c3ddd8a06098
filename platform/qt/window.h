// Windows built from their descriptions.
#pragma once

#include "platform/Application.h"

#include <QPointer>
#include <QWidget>

#include <map>
#include <string>
#include <vector>

class QAbstractButton;
class QScrollArea;
class QVBoxLayout;

namespace quorvane::platform::qt {

class OptionGroup;
class TextLabel;

/// The widget behind a window: its elements from top to bottom, scrolled where the screen is too
/// small for them, and the buttons below. Main thread.
class WindowWidget final : public QWidget {
public:
    explicit WindowWidget(const WindowDescription& description);

    /// Shows the window in front with the keyboard; the first time in the middle of its screen.
    void present();

    std::map<std::string, std::shared_ptr<platform::CheckBox>> checkBoxes;
    std::map<std::string, std::shared_ptr<platform::ProgressIndicator>> progressIndicators;

protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void add(const IconElement& icon);
    void add(const TextElement& text);
    void add(const CheckBoxElement& option);
    void add(const ProgressElement& progress);
    void add(const ButtonRow& row);
    void addBlock(QWidget* block);
    void restyle();
    void fitContent();
    void centre();

    std::function<void()> closeAction_;
    QScrollArea* scrollArea_;
    QWidget* content_;
    QVBoxLayout* blocks_;
    /// Where the texts beside the icon go; null when other elements have followed.
    QVBoxLayout* header_ = nullptr;
    /// Where the next check box goes; null when another element came between.
    OptionGroup* group_ = nullptr;
    QWidget* buttons_ = nullptr;
    std::vector<TextLabel*> texts_;
    QAbstractButton* enterButton_ = nullptr;
    QAbstractButton* escapeButton_ = nullptr;
    bool presented_ = false;
};

/// The application's view of a window; without effect once the widget is gone with the main loop.
class Window final : public platform::Window {
public:
    explicit Window(const WindowDescription& description);
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    Window(Window&&) = delete;
    Window& operator=(Window&&) = delete;
    ~Window() override;

    void makeKeyAndOrderFront() override;
    void orderOut() override;
    std::shared_ptr<platform::CheckBox> checkBox(const std::string& outlet) override;
    std::shared_ptr<platform::ProgressIndicator>
    progressIndicator(const std::string& outlet) override;

private:
    QPointer<WindowWidget> widget_;
};

} // namespace quorvane::platform::qt
