// How controls are drawn where the desktop brings no style of its own.
#pragma once

#include <QBasicTimer>
#include <QPointer>
#include <QProxyStyle>

namespace quorvane::platform::qt {

/// Name of the boolean property of a push button that is drawn as the window's main action.
inline constexpr const char* kProminentProperty = "prominent";

/// Flat rounded controls over Qt's built-in style; colours from the palette.
class Style final : public QProxyStyle {
public:
    Style();

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption* option,
                    const QWidget* widget) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                           const QWidget* widget) const override;

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    void keepMoving(const QObject* bar) const;

    /// Drawing is const, but the busy bar goes on moving because it was drawn.
    mutable QBasicTimer busyTimer_;
    mutable QPointer<QWidget> busyBar_;
};

/// Gives the application this style and our palette, each where the desktop states none. After
/// the QApplication was made, before its first window.
void applyAppearance();

} // namespace quorvane::platform::qt
