#include "ui/kit/login_box.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QPushButton>

namespace nimbara {

LoginBox::LoginBox(const QString &title,
    const QString &text,
    const std::optional<QString> &user,
    QWidget *parent)
    : QDialog(parent)
    , m_password(makeKeyField("loginPassword", "Contraseña"))
{
    using nimbara_i18n::tr;
    setWindowTitle(title);
    setMinimumWidth(420);
    setAttribute(Qt::WA_ShowWithoutActivating);
    auto *form = new QFormLayout(this);
    form->addRow(makeNote(text));
    if (user) {
        m_user = named(new QLineEdit(*user), "loginUser", tr("Usuario"));
        form->addRow(tr("Usuario"), m_user);
    }
    form->addRow(tr("Contraseña"), m_password);
    auto *buttons = new QDialogButtonBox;
    QPushButton *accept = makeButton("Conectar", "loginAccept");
    if (user) {
        const auto follow = [this, accept] { accept->setEnabled(!login().isEmpty()); };
        for (const QLineEdit *field : { m_user, m_password }) {
            connect(field, &QLineEdit::textChanged, accept, follow);
        }
        follow();
    }
    buttons->addButton(accept, QDialogButtonBox::AcceptRole);
    buttons->addButton(makeButton("Cancelar", "loginCancel"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
    (m_user != nullptr && user->isEmpty() ? m_user : m_password)->setFocus();
}

Login LoginBox::login() const
{
    return { m_user == nullptr ? QString() : m_user->text().trimmed(), m_password->text() };
}

} // namespace nimbara
