// The widgets that a window's elements become.
#pragma once

#include "platform/Application.h"

#include <QFrame>
#include <QLabel>
#include <QPointer>

#include <atomic>
#include <map>

class QCheckBox;
class QProgressBar;
class QVBoxLayout;

namespace quorvane::platform::qt {

/// Wrapping text that is never read as markup; its font and colour are derived from the window's.
class TextLabel final : public QLabel {
public:
    TextLabel(const std::string& text, TextElement::Style style,
              QPalette::ColorRole background = QPalette::Window);
    /// Derives font and colour again, after the window's own have changed.
    void restyle();

    /// Measured once for each width: layouts ask some ten times, and laying texts out makes up most
    /// of a window's start.
    int heightForWidth(int width) const override;
    /// As narrow as the widest piece that cannot be wrapped, one line high: the room for the whole
    /// text is what heightForWidth says.
    QSize minimumSizeHint() const override;
    QSize sizeHint() const override { return minimumSizeHint(); }

private:
    const TextElement::Style style_;
    const QPalette::ColorRole background_;
    mutable std::map<int, int> heights_;
    mutable QSize narrowest_;
};

/// The state of a check box, as it was last shown.
class CheckBoxState final : public CheckBox {
public:
    int state() const override { return state_.load(std::memory_order_relaxed); }
    /// Keeps the state up to date as long as the box lives.
    static void follow(const std::shared_ptr<CheckBoxState>& state, QCheckBox& box);

private:
    std::atomic<int> state_{kOff};
};

/// One option: the box, its title and its explanation; a click anywhere on it ticks the box.
class OptionRow final : public QWidget {
public:
    explicit OptionRow(const CheckBoxElement& option);

    QCheckBox& box() { return *box_; }
    TextLabel& title() { return *title_; }
    TextLabel& explanation() { return *explanation_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QCheckBox* box_;
    TextLabel* title_;
    TextLabel* explanation_;
};

/// Options that belong together, on a card of their own.
class OptionGroup final : public QWidget {
public:
    OptionGroup();
    OptionRow& add(const CheckBoxElement& option);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QVBoxLayout* rows_;
};

/// An indeterminate bar once started; an empty one before.
class Progress final : public ProgressIndicator {
public:
    explicit Progress(QProgressBar* bar) : bar_(bar) {}
    /// The framework animates on the main thread alone, which the work leaves free.
    void setUsesThreadedAnimation(bool threaded) override;
    void startAnimation() override;

private:
    QPointer<QProgressBar> bar_;
};

QProgressBar* makeProgressBar(const ProgressElement& progress);
/// The application's icon in the size that suits the window's text.
QLabel* makeIconLabel();

/// A title as assistive technologies read it, without the mark of its mnemonic.
QString withoutMnemonic(const std::string& title);

} // namespace quorvane::platform::qt
