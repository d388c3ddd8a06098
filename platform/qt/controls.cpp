#include "platform/qt/controls.h"

#include "platform/qt/colors.h"

#include <QApplication>
#include <QCheckBox>
#include <QEvent>
#include <QGridLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QProgressBar>
#include <QTextBoundaryFinder>

#include <algorithm>

namespace quorvane::platform::qt {
namespace {

constexpr double kHeadingScale = 1.55;
constexpr double kCardRadius = 10;
constexpr int kRowMargin = 16;
constexpr int kIconSize = 64;

#if QT_VERSION >= QT_VERSION_CHECK(6, 7, 0)
constexpr auto kStateChanged = &QCheckBox::checkStateChanged;
#else
constexpr auto kStateChanged = &QCheckBox::stateChanged; // of later versions not to be used
#endif

int stateNumber(int qtState) {
    switch (qtState) {
    case Qt::Checked:
        return CheckBox::kOn;
    case Qt::PartiallyChecked:
        return CheckBox::kMixed;
    default:
        return CheckBox::kOff;
    }
}

QFont headingFont() {
    QFont font = QApplication::font();
    // A desktop may give its font in points or in pixels.
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * kHeadingScale);
    else
        font.setPixelSize(static_cast<int>(font.pixelSize() * kHeadingScale));
    font.setWeight(QFont::Bold);
    return font;
}

} // namespace

TextLabel::TextLabel(const std::string& text, TextElement::Style style,
                     QPalette::ColorRole background)
    : QLabel(QString::fromStdString(text)), style_(style), background_(background) {
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setAlignment(Qt::AlignLeading | Qt::AlignTop);
}

void TextLabel::restyle() {
    QPalette palette = QApplication::palette(this);
    if (style_ == TextElement::Style::note)
        palette.setColor(QPalette::WindowText, secondaryTextColor(palette, background_));
    setPalette(palette);
    setFont(style_ == TextElement::Style::heading ? headingFont() : QApplication::font());
    heights_.clear();
    narrowest_ = {};
}

int TextLabel::heightForWidth(int width) const {
    const auto [height, isNew] = heights_.try_emplace(width, 0);
    if (isNew) height->second = QLabel::heightForWidth(width);
    return height->second;
}

QSize TextLabel::minimumSizeHint() const {
    if (narrowest_.isValid()) return narrowest_;
    const QString whole = text();
    QTextBoundaryFinder breaks(QTextBoundaryFinder::Line, whole);
    int widest = 0;
    qsizetype start = 0;
    while (breaks.toNextBoundary() > start) {
        const QString piece = whole.mid(start, breaks.position() - start).trimmed();
        widest = std::max(widest, fontMetrics().horizontalAdvance(piece) + 1);
        start = breaks.position();
    }
    narrowest_ = {widest, fontMetrics().height()};
    return narrowest_;
}

void CheckBoxState::follow(const std::shared_ptr<CheckBoxState>& state, QCheckBox& box) {
    QObject::connect(&box, kStateChanged, [state](int qtState) {
        state->state_.store(stateNumber(qtState), std::memory_order_relaxed);
    });
}

OptionRow::OptionRow(const CheckBoxElement& option)
    : box_(new QCheckBox),
      title_(new TextLabel(option.title, TextElement::Style::body, QPalette::Base)),
      explanation_(new TextLabel(option.explanation, TextElement::Style::note, QPalette::Base)) {
    // The text stands in labels of its own because a check box cannot wrap its text.
    title_->setBuddy(box_);
    box_->setAccessibleName(withoutMnemonic(option.title));
    box_->setAccessibleDescription(QString::fromStdString(option.explanation));
    box_->installEventFilter(this);

    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(kRowMargin, kRowMargin - 2, kRowMargin, kRowMargin - 2);
    grid->setHorizontalSpacing(kRowMargin - 4);
    grid->setVerticalSpacing(4);
    grid->addWidget(box_, 0, 0, Qt::AlignTop);
    grid->addWidget(title_, 0, 1);
    grid->addWidget(explanation_, 1, 1);
    grid->setColumnStretch(1, 1);
}

bool OptionRow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) update();
    return QWidget::eventFilter(watched, event);
}

void OptionRow::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        box_->click();
}

/// The ring of the focused option goes round the whole row, as the row is what a click ticks.
void OptionRow::paintEvent(QPaintEvent* /*event*/) {
    if (!box_->hasFocus()) return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(outlineAccent(palette(), QPalette::Base), 2));
    const QRectF ring = QRectF(rect()).adjusted(4, 4, -4, -4);
    painter.drawRoundedRect(ring, kCardRadius - 3, kCardRadius - 3);
}

OptionGroup::OptionGroup() : rows_(new QVBoxLayout(this)) {
    rows_->setContentsMargins(1, 1, 1, 1);
    rows_->setSpacing(1);
}

OptionRow& OptionGroup::add(const CheckBoxElement& option) {
    auto* row = new OptionRow(option);
    rows_->addWidget(row);
    return *row;
}

void OptionGroup::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor line =
        mixed(palette().color(QPalette::Window), palette().color(QPalette::WindowText), 0.13);
    painter.setPen(line);
    painter.setBrush(palette().color(QPalette::Base));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), kCardRadius,
                            kCardRadius);
    for (int index = 1; index < rows_->count(); ++index) {
        const double y = rows_->itemAt(index)->geometry().top() - 0.5;
        painter.drawLine(QPointF(kRowMargin, y), QPointF(width() - kRowMargin, y));
    }
}

void Progress::setUsesThreadedAnimation(bool /*threaded*/) {}

void Progress::startAnimation() {
    if (bar_ != nullptr) bar_->setRange(0, 0);
}

QProgressBar* makeProgressBar(const ProgressElement& progress) {
    auto* bar = new QProgressBar;
    bar->setRange(0, 1);
    bar->setTextVisible(false);
    bar->setAccessibleName(QString::fromStdString(progress.accessibleName));
    bar->setAccessibleDescription(QString::fromStdString(progress.description));
    return bar;
}

QLabel* makeIconLabel() {
    auto* label = new QLabel;
    const QIcon icon = QApplication::windowIcon();
    label->setPixmap(icon.pixmap(QSize(kIconSize, kIconSize), qApp->devicePixelRatio()));
    label->setAlignment(Qt::AlignTop);
    return label;
}

QString withoutMnemonic(const std::string& title) {
    QString plain = QString::fromStdString(title);
    for (qsizetype index = 0; (index = plain.indexOf(u'&', index)) >= 0; ++index)
        plain.remove(index, 1);
    return plain;
}

} // namespace quorvane::platform::qt
