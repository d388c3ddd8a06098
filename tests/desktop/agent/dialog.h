// The dialog in which an administrator types a password.
#pragma once

#include <functional>
#include <string>

#include <QDialog>
#include <QLineEdit>

namespace quorvane::testing {

/// Shows the reason and who is asked. Tells the password, or that there will be none; deletes
/// itself.
class Dialog : public QDialog {
public:
    Dialog(const std::string& message, const std::string& user,
           const std::function<void(const std::string&)>& answer,
           const std::function<void()>& cancel);

private:
    QLineEdit* password_;
};

} // namespace quorvane::testing
