#pragma once

#include "media/sources/source_login.h"

#include <QDialog>
#include <QString>

#include <optional>

class QLineEdit;

namespace nimbara {

/// Asks for user and password, beside the window, which goes on meanwhile and keeps the keyboard.
/// Either may be empty, since cameras have users without a password, but not both; a password alone
/// may be empty, which means none. All texts are already translated.
class LoginBox : public QDialog {
    Q_OBJECT
public:
    /// `user`: the proposed one; none: a password alone.
    LoginBox(const QString &title,
        const QString &text,
        const std::optional<QString> &user,
        QWidget *parent);

    /// What was typed; a user without blanks around it.
    [[nodiscard]] Login login() const;

private:
    QLineEdit *m_user = nullptr; ///< none: a password alone
    QLineEdit *m_password;
};

} // namespace nimbara
