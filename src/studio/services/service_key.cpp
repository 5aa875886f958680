#include "studio/services/service_key.h"

#include "base/secret_texts.h"

#include <QPointer>

#include <utility>

namespace nimbara {

ServiceKey::ServiceKey(SecretStore &secrets, QString account)
    : m_secrets(secrets)
    , m_account(std::move(account))
    , m_text(secrets.readSecretFile(m_account))
{
}

void ServiceKey::setText(const QString &text)
{
    if (text != m_text) {
        m_text = text;
        Q_EMIT changed(text);
    }
}

void ServiceKey::withKey(std::function<void(const QString &key)> receiver)
{
    const QString typed = m_text.trimmed();
    if (!typed.isEmpty()) {
        hideSecret(typed);
        receiver(typed);
        return;
    }
    m_secrets.readSecret(m_account,
        [self = QPointer(this), receiver = std::move(receiver)](const QString &stored) {
            if (!self) {
                return;
            }
            if (self->m_text.trimmed().isEmpty()) { // what was typed meanwhile goes first
                self->setText(stored);
            }
            const QString key = self->m_text.trimmed();
            hideSecret(key);
            receiver(key);
        });
}

void ServiceKey::save(const QString &key, std::function<void(bool written)> done)
{
    m_secrets.writeSecret(m_account, key, std::move(done));
}

} // namespace nimbara
