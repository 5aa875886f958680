#pragma once

#include <QString>

#include <functional>

namespace nimbara {

/// The operating system's store of secrets. A seam: tests use one that refuses or never answers.
///
/// Interface thread only, where the answers arrive too, never inside the call. The store may wait
/// for the operator to unlock it, or never answer at all; the thread goes on meanwhile.
class SystemKeyStore {
public:
    SystemKeyStore() = default;
    SystemKeyStore(const SystemKeyStore &) = delete;
    SystemKeyStore &operator=(const SystemKeyStore &) = delete;
    SystemKeyStore(SystemKeyStore &&) = delete;
    SystemKeyStore &operator=(SystemKeyStore &&) = delete;
    virtual ~SystemKeyStore() = default;

    /// Answers with the account's secret; empty on any failure.
    virtual void readKeychain(const QString &account,
        std::function<void(const QString &secret)> done)
        = 0;

    /// Replaces or adds the account's secret, which may be empty. Answers whether the store did.
    virtual void writeKeychain(const QString &account,
        const QString &value,
        std::function<void(bool written)> done)
        = 0;
};

} // namespace nimbara
