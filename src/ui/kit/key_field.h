#pragma once

#include "secrets/secret_store.h"

#include <QLineEdit>

#include <functional>

namespace nimbara {

/// The key that the operator typed into `field`, without blanks around it, or else the one that the
/// store keeps for `account`, which the field then shows; an empty key when there is neither. The
/// key counts as a secret for the log from here on.
///
/// The answer comes at once or, when the store is asked, later on this thread; not after `field`
/// has gone.
void withKey(QLineEdit *field,
    SecretStore &secrets,
    const QString &account,
    std::function<void(const QString &key)> receiver);

} // namespace nimbara
