#include "platform/qt/style.h"

#include "platform/qt/color_scheme.h"
#include "platform/qt/colors.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPainter>
#include <QPainterPath>
#include <QStyleOption>
#include <QTimerEvent>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quorvane::platform::qt {
namespace {

constexpr double kButtonRadius = 7;
constexpr double kIndicatorRadius = 4.5;
constexpr int kFrameMilliseconds = 33;
constexpr double kBusyPeriodMilliseconds = 1800;
constexpr double kSmallestFontPoints = 10;
constexpr double kBusyShare = 0.32;

bool isProminent(const QStyleOptionButton& button) {
    return button.state.testFlag(QStyle::State_Enabled) && button.styleObject != nullptr &&
           button.styleObject->property(kProminentProperty).toBool();
}

QColor pushedColor(const QColor& color, const QPalette& palette, QStyle::State state) {
    const QColor text = palette.color(QPalette::ButtonText);
    if (state.testFlag(QStyle::State_Sunken)) return mixed(color, text, 0.16);
    if (state.testFlag(QStyle::State_MouseOver)) return mixed(color, text, 0.07);
    return color;
}

void drawButtonPanel(const QStyleOptionButton& button, QPainter& painter) {
    const QPalette& palette = button.palette;
    const bool prominent = isProminent(button);
    const QColor fill = palette.color(prominent ? QPalette::Highlight : QPalette::Button);
    const QColor outline = prominent ? Qt::transparent
                                     : mixed(palette.color(QPalette::Window),
                                             palette.color(QPalette::WindowText), 0.2);
    painter.setBrush(pushedColor(fill, palette, button.state));
    painter.setPen(outline);
    // Three pixels stay free for the focus ring.
    const QRectF panel = QRectF(button.rect).adjusted(3.5, 3.5, -3.5, -3.5);
    painter.drawRoundedRect(panel, kButtonRadius, kButtonRadius);
    if (button.state.testFlag(QStyle::State_HasFocus)) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(outlineAccent(palette, QPalette::Window), 2));
        painter.drawRoundedRect(panel.adjusted(-2.5, -2.5, 2.5, 2.5), kButtonRadius + 2.5,
                                kButtonRadius + 2.5);
    }
}

void drawCheckIndicator(const QStyleOption& option, QPainter& painter) {
    const QPalette& palette = option.palette;
    const QRectF box = QRectF(option.rect).adjusted(1, 1, -1, -1);
    const bool off = option.state.testFlag(QStyle::State_Off);
    const QColor fill = palette.color(off ? QPalette::Base : QPalette::Highlight);
    const QColor outline =
        off ? legible(mixed(palette.color(QPalette::Text), palette.color(QPalette::Base), 0.55),
                      palette.color(QPalette::Text), palette.color(QPalette::Base),
                      kOutlineContrast)
            : fill;
    painter.setBrush(pushedColor(fill, palette, option.state));
    painter.setPen(QPen(outline, 1.5));
    painter.drawRoundedRect(box, kIndicatorRadius, kIndicatorRadius);
    if (off) return;
    const auto at = [&box](double x, double y) {
        return QPointF(box.left() + x * box.width(), box.top() + y * box.height());
    };
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(palette.color(QPalette::HighlightedText), box.width() / 8.5, Qt::SolidLine,
                        Qt::RoundCap, Qt::RoundJoin));
    if (option.state.testFlag(QStyle::State_NoChange))
        painter.drawLine(at(0.27, 0.5), at(0.73, 0.5));
    else
        painter.drawPolyline(QPolygonF{at(0.25, 0.52), at(0.43, 0.7), at(0.76, 0.31)});
}

/// A bar that runs to and fro, slower at the ends.
QRectF busyPart(const QRectF& groove) {
    static const QElapsedTimer clock = [] {
        QElapsedTimer timer;
        timer.start();
        return timer;
    }();
    const double turn = static_cast<double>(clock.elapsed()) / kBusyPeriodMilliseconds;
    const double place = (1 - std::cos(turn * 2 * std::numbers::pi)) / 2;
    const double width = groove.width() * kBusyShare;
    return {groove.left() + (groove.width() - width) * place, groove.top(), width, groove.height()};
}

void drawProgressBar(const QStyleOptionProgressBar& bar, QPainter& painter) {
    const double thickness = std::max(6.0, bar.fontMetrics.height() / 2.6);
    const QRectF rect(bar.rect);
    const QRectF groove(rect.left(), rect.center().y() - thickness / 2, rect.width(), thickness);
    painter.setPen(Qt::NoPen);
    painter.setBrush(
        mixed(bar.palette.color(QPalette::Window), bar.palette.color(QPalette::WindowText), 0.14));
    painter.drawRoundedRect(groove, thickness / 2, thickness / 2);
    if (bar.minimum != bar.maximum) return;
    painter.setBrush(outlineAccent(bar.palette, QPalette::Window));
    painter.drawRoundedRect(busyPart(groove), thickness / 2, thickness / 2);
}

} // namespace

Style::Style() : QProxyStyle(QStringLiteral("fusion")) {}

void Style::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                          const QWidget* widget) const {
    const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
    const bool isPanel = element == PE_PanelButtonCommand && button != nullptr;
    if (!isPanel && element != PE_IndicatorCheckBox)
        return QProxyStyle::drawPrimitive(element, option, painter, widget);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (isPanel)
        drawButtonPanel(*button, *painter);
    else
        drawCheckIndicator(*option, *painter);
    painter->restore();
}

void Style::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                        const QWidget* widget) const {
    if (const auto* bar = qstyleoption_cast<const QStyleOptionProgressBar*>(option);
        element == CE_ProgressBar && bar != nullptr) {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        drawProgressBar(*bar, *painter);
        painter->restore();
        if (bar->minimum == bar->maximum) keepMoving(bar->styleObject);
        return;
    }
    const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
    if (element == CE_PushButtonLabel && button != nullptr && isProminent(*button)) {
        QStyleOptionButton prominent = *button;
        prominent.palette.setColor(QPalette::Active, QPalette::ButtonText,
                                   button->palette.color(QPalette::HighlightedText));
        prominent.palette.setColor(QPalette::Inactive, QPalette::ButtonText,
                                   button->palette.color(QPalette::HighlightedText));
        return QProxyStyle::drawControl(element, &prominent, painter, widget);
    }
    QProxyStyle::drawControl(element, option, painter, widget);
}

int Style::pixelMetric(PixelMetric metric, const QStyleOption* option,
                       const QWidget* widget) const {
    switch (metric) {
    case PM_IndicatorWidth:
    case PM_IndicatorHeight:
        return widget != nullptr ? widget->fontMetrics().height() + 3 : 20;
    case PM_ButtonShiftHorizontal:
    case PM_ButtonShiftVertical:
        return 0;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

QSize Style::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                              const QWidget* widget) const {
    if (type != CT_PushButton || option == nullptr)
        return QProxyStyle::sizeFromContents(type, option, size, widget);
    const int line = option->fontMetrics.height();
    return {std::max(size.width() + 2 * line, 6 * line), std::max(size.height(), line) + line};
}

void Style::keepMoving(const QObject* bar) const {
    busyBar_ = qobject_cast<QWidget*>(const_cast<QObject*>(bar));
    if (!busyTimer_.isActive()) busyTimer_.start(kFrameMilliseconds, const_cast<Style*>(this));
}

void Style::timerEvent(QTimerEvent* event) {
    if (event->timerId() != busyTimer_.timerId()) return QProxyStyle::timerEvent(event);
    if (busyBar_ != nullptr && busyBar_->isVisible())
        busyBar_->update();
    else
        busyTimer_.stop();
}

void applyAppearance() {
    const QStyle* given = QApplication::style();
    if (given->name() != QLatin1String("fusion")) return;
    const bool hasDesktopPalette = QApplication::palette() != given->standardPalette();
    // NOLINTBEGIN(clang-analyzer-cplusplus.NewDeleteLeaks): Qt owns the style
    QApplication::setStyle(new Style);
    if (hasDesktopPalette) return;
    QApplication::setPalette(desktopPrefersDark() ? darkPalette() : lightPalette());
    // Where nobody has chosen a font, Qt's own choice is smaller than what reads well.
    QFont font = QApplication::font();
    font.setPointSizeF(std::max(font.pointSizeF(), kSmallestFontPoints));
    QApplication::setFont(font);
    // NOLINTEND(clang-analyzer-cplusplus.NewDeleteLeaks)
}

} // namespace quorvane::platform::qt
