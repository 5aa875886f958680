#pragma once

#include "secrets/system_key_store.h"

#include <QObject>

namespace nimbara {

/// The platform's store: Secret Service, macOS keychain or Windows credentials, with one entry per
/// account under the service "NimbaraStudio". Secrets are UTF-8. Where no store answers, operations
/// fail; they never fall back to a plain file.
///
/// Operations run one after the other, so that one which waits for the operator holds up the next.
/// Answers that come after the object is gone are dropped.
class KeychainStore final : public SystemKeyStore {
public:
    void readKeychain(const QString &account,
        std::function<void(const QString &secret)> done) override;
    void writeKeychain(const QString &account,
        const QString &value,
        std::function<void(bool written)> done) override;

private:
    QObject m_context; ///< answers reach this object's thread, and end with it
};

} // namespace nimbara
