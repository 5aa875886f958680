#pragma once

#include "secrets/secret_store.h"

#include <QObject>
#include <QString>

#include <functional>

namespace nimbara {

/// The operator's key for a service on the network: as typed, in memory, and as the store keeps it.
/// Interface thread only, which never waits.
class ServiceKey : public QObject {
    Q_OBJECT
public:
    /// Begins with the key of the owner-only file. `secrets` must outlive it.
    ServiceKey(SecretStore &secrets, QString account);

    [[nodiscard]] const QString &text() const { return m_text; }
    void setText(const QString &text);

    /// Hands the receiver the key without blanks around it or, when there is none, the one that the
    /// store keeps, which becomes the text; an empty key when there is neither. The key counts as a
    /// secret for the log from here on.
    ///
    /// The answer comes at once or, when the store is asked, later; not after this has gone.
    void withKey(std::function<void(const QString &key)> receiver);

    /// Stores `key`; see `SecretStore::writeSecret`.
    void save(const QString &key, std::function<void(bool written)> done);

Q_SIGNALS:
    void changed(const QString &text);

private:
    SecretStore &m_secrets;
    QString m_account;
    QString m_text;
};

} // namespace nimbara
