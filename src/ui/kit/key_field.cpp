#include "ui/kit/key_field.h"

#include "base/secret_texts.h"

#include <QPointer>

namespace nimbara {

void withKey(QLineEdit *field,
    SecretStore &secrets,
    const QString &account,
    std::function<void(const QString &key)> receiver)
{
    const QString typed = field->text().trimmed();
    if (!typed.isEmpty()) {
        hideSecret(typed);
        receiver(typed);
        return;
    }
    secrets.readSecret(account,
        [shown = QPointer(field), receiver = std::move(receiver)](const QString &stored) {
            if (!shown) {
                return;
            }
            if (shown->text().trimmed().isEmpty()) {
                shown->setText(stored);
            }
            const QString key = shown->text().trimmed();
            hideSecret(key);
            receiver(key);
        });
}

} // namespace nimbara
