#include "tests/desktop/agent/dialog.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QVBoxLayout>

namespace quorvane::testing {

Dialog::Dialog(const std::string& message, const std::string& user,
               const std::function<void(const std::string&)>& answer,
               const std::function<void()>& cancel)
    : password_(new QLineEdit) {
    setWindowTitle("Authentication");
    setAttribute(Qt::WA_DeleteOnClose);
    const QString text = QString::fromStdString(message) + "\n\nPassword of %1:";
    auto* const reason = new QLabel(text.arg(QString::fromStdString(user)));
    reason->setWordWrap(true);
    password_->setEchoMode(QLineEdit::Password);
    password_->setAccessibleName("Password");
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(reason);
    layout->addWidget(password_);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(this, &QDialog::accepted, [=, this] { answer(password_->text().toStdString()); });
    connect(this, &QDialog::rejected, cancel);
    setMinimumWidth(420);
}

} // namespace quorvane::testing
