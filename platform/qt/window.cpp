#include "platform/qt/window.h"

#include "platform/qt/controls.h"
#include "platform/qt/style.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>

namespace quorvane::platform::qt {
namespace {

constexpr int kMargin = 28;
constexpr int kBlockSpacing = 20;
constexpr int kHeaderSpacing = 8;
constexpr int kIconSpacing = 20;
/// What styles leave free round a button for its focus ring; the button's edge is aligned, not the
/// ring's.
constexpr int kFocusRing = 3;
/// Of the average character: lines of about sixty characters read best.
constexpr int kWidthInCharacters = 76;

Qt::WindowFlags flagsFor(const WindowDescription& description) {
    const Qt::WindowFlags flags = Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint;
    if (!description.closeAction) return flags;
    return flags | Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint |
           Qt::WindowCloseButtonHint;
}

QPushButton* makeButton(const Button& button) {
    auto* widget = new QPushButton(QString::fromStdString(button.title));
    widget->setAccessibleName(withoutMnemonic(button.title));
    widget->setAccessibleDescription(QString::fromStdString(button.description));
    widget->setAutoDefault(true); // Return presses it where it has the keyboard
    widget->setDefault(button.key == Button::Key::enter);
    widget->setProperty(kProminentProperty, button.prominent);
    QObject::connect(widget, &QPushButton::clicked, widget, button.action);
    return widget;
}

/// The keyboard goes through the buttons as they stand, whatever the desktop's order is.
void orderByPlace(const QDialogButtonBox& row) {
    QWidget* previous = nullptr;
    for (int index = 0; index < row.layout()->count(); ++index) {
        QWidget* widget = row.layout()->itemAt(index)->widget();
        if (widget == nullptr) continue;
        if (previous != nullptr) QWidget::setTabOrder(previous, widget);
        previous = widget;
    }
}

} // namespace

WindowWidget::WindowWidget(const WindowDescription& description)
    : QWidget(nullptr, flagsFor(description)), closeAction_(description.closeAction),
      scrollArea_(new QScrollArea), content_(new QWidget), blocks_(new QVBoxLayout(content_)) {
    setWindowTitle(QString::fromStdString(description.title));
    auto* root = new QVBoxLayout(this);
    root->setContentsMargins(0, 0, 0, 0);
    root->setSpacing(0);
    root->addWidget(scrollArea_, 1);
    scrollArea_->setFrameShape(QFrame::NoFrame);
    scrollArea_->setFocusPolicy(Qt::NoFocus);
    scrollArea_->setWidgetResizable(true);
    scrollArea_->setWidget(
        content_); // before its elements, so that the keyboard reaches them first
    blocks_->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    blocks_->setSpacing(kBlockSpacing);
    for (const Element& element : description.elements)
        std::visit([this](const auto& each) { add(each); }, element);
    blocks_->addStretch(1);
    restyle();
}

void WindowWidget::add(const IconElement& /*icon*/) {
    auto* row = new QHBoxLayout;
    row->setSpacing(kIconSpacing);
    row->addWidget(makeIconLabel(), 0, Qt::AlignTop);
    header_ = new QVBoxLayout;
    header_->setSpacing(kHeaderSpacing);
    row->addLayout(header_, 1);
    blocks_->addLayout(row);
}

void WindowWidget::add(const TextElement& text) {
    auto* label = new TextLabel(text.text, text.style);
    texts_.push_back(label);
    if (header_ != nullptr)
        header_->addWidget(label);
    else
        addBlock(label);
}

void WindowWidget::add(const CheckBoxElement& option) {
    if (group_ == nullptr) {
        auto* group = new OptionGroup;
        addBlock(group);
        group_ = group;
    }
    OptionRow& row = group_->add(option);
    texts_.push_back(&row.title());
    texts_.push_back(&row.explanation());
    auto state = std::make_shared<CheckBoxState>();
    CheckBoxState::follow(state, row.box());
    checkBoxes.emplace(option.outlet, std::move(state));
}

void WindowWidget::add(const ProgressElement& progress) {
    QProgressBar* bar = makeProgressBar(progress);
    addBlock(bar);
    progressIndicators.emplace(progress.outlet, std::make_shared<Progress>(bar));
}

void WindowWidget::add(const ButtonRow& row) {
    auto* box = new QDialogButtonBox;
    box->setContentsMargins(kMargin, 0, kMargin - kFocusRing, kMargin - kFocusRing);
    for (const Button& button : row.buttons) {
        QPushButton* widget = makeButton(button);
        const bool escapes = button.key == Button::Key::escape;
        box->addButton(widget,
                       escapes ? QDialogButtonBox::RejectRole : QDialogButtonBox::AcceptRole);
        if (escapes) escapeButton_ = widget;
        if (button.key == Button::Key::enter) enterButton_ = widget;
    }
    layout()->addWidget(box);
    orderByPlace(*box);
    buttons_ = box;
}

void WindowWidget::addBlock(QWidget* block) {
    header_ = nullptr;
    group_ = nullptr;
    blocks_->addWidget(block);
}

void WindowWidget::restyle() {
    for (TextLabel* text : texts_) text->restyle();
    if (presented_) fitContent(); // measuring texts is dear: not for a window that may never show
}

/// As wide as lines read well, as high as the content needs then; neither more than the screen.
void WindowWidget::fitContent() {
    const QSize available = screen()->availableSize();
    const int buttonsWidth = buttons_ == nullptr ? 0 : buttons_->minimumSizeHint().width();
    const int buttonsHeight = buttons_ == nullptr ? 0 : buttons_->sizeHint().height();
    const int preferred = fontMetrics().averageCharWidth() * kWidthInCharacters + 2 * kMargin;
    const int width =
        std::min(std::max({preferred, content_->minimumSizeHint().width(), buttonsWidth}),
                 available.width());
    const int height =
        std::min(content_->heightForWidth(width) + buttonsHeight, available.height());
    setMinimumSize(width, height);
    resize(width, height);
}

void WindowWidget::centre() {
    QRect frame = frameGeometry();
    frame.moveCenter(screen()->availableGeometry().center());
    move(frame.topLeft());
}

void WindowWidget::present() {
    if (!presented_) {
        presented_ = true;
        fitContent();
        centre();
    }
    show();
    raise();
    activateWindow();
    if (focusWidget() == nullptr) focusNextChild();
}

void WindowWidget::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    const auto type = event->type();
    if (type == QEvent::FontChange || type == QEvent::PaletteChange || type == QEvent::StyleChange)
        restyle();
}

void WindowWidget::closeEvent(QCloseEvent* event) {
    event->ignore(); // the action decides
    if (closeAction_) closeAction_();
}

void WindowWidget::keyPressEvent(QKeyEvent* event) {
    const bool escape = event->matches(QKeySequence::Cancel);
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (enter && enterButton_ != nullptr)
        enterButton_->click();
    else if (escape && escapeButton_ != nullptr)
        escapeButton_->click();
    else if (escape)
        close();
    else
        QWidget::keyPressEvent(event);
}

Window::Window(const WindowDescription& description) : widget_(new WindowWidget(description)) {}

Window::~Window() { delete widget_.data(); }

void Window::makeKeyAndOrderFront() {
    if (widget_ != nullptr) widget_->present();
}

void Window::orderOut() {
    if (widget_ != nullptr) widget_->hide();
}

std::shared_ptr<platform::CheckBox> Window::checkBox(const std::string& outlet) {
    return widget_ == nullptr ? nullptr : widget_->checkBoxes[outlet];
}

std::shared_ptr<platform::ProgressIndicator> Window::progressIndicator(const std::string& outlet) {
    return widget_ == nullptr ? nullptr : widget_->progressIndicators[outlet];
}

} // namespace quorvane::platform::qt
