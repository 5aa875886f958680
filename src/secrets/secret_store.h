#pragma once

#include "secrets/secret_file.h"
#include "secrets/system_key_store.h"

#include <QObject>
#include <QString>
#include <QThreadPool>

#include <chrono>
#include <functional>

namespace nimbara {

/// Account names of the secrets.
namespace secret_account {
/// The stream key of a destination, by the destination's name.
inline QString stream(const QString &destination)
{
    return QStringLiteral("stream-") + destination;
}
/// The login of a source on the network, by its place or host.
inline QString source(const QString &place)
{
    return QStringLiteral("source-") + place;
}
inline QString openAi()
{
    return QStringLiteral("openai");
}
inline QString apiBible()
{
    return QStringLiteral("apibible");
}
} // namespace secret_account

/// The operator's secrets in both places: the owner-only file, and behind it the system's store.
///
/// Interface thread only, which never waits: file work runs on a background task, in the order of
/// the calls, and answers arrive later, never inside the call. Every operation is answered once,
/// within the patience; what the system's store does after that goes unreported. The destructor
/// waits for file writes under way, and drops the answers still due.
class SecretStore {
public:
    /// How long an operation may take before it counts as failed: long enough for an operator to
    /// type the password that unlocks the system's store.
    static constexpr std::chrono::milliseconds defaultPatience { 30'000 };

    /// `keychain` must outlive the store.
    explicit SecretStore(SystemKeyStore &keychain,
        const QString &path = SecretFile::defaultPath(),
        std::chrono::milliseconds patience = defaultPatience);
    SecretStore(const SecretStore &) = delete;
    SecretStore &operator=(const SecretStore &) = delete;
    SecretStore(SecretStore &&) = delete;
    SecretStore &operator=(SecretStore &&) = delete;
    ~SecretStore() = default;

    /// For start-up: the file alone, at once, so that nothing asks the operator to unlock a store
    /// before a key is needed.
    [[nodiscard]] QString readSecretFile(const QString &account) const;

    /// The file's secret, or the system's when the file has none; empty when neither has.
    void readSecret(const QString &account, std::function<void(const QString &secret)> done);

    /// Whether the file has a secret, which stays there; the system's store is not asked, since it
    /// might have to be unlocked.
    void findInFile(const QString &account, std::function<void(bool found)> done);

    /// Writes the file and then the system's store, always both. True when at least one was
    /// written: answered as soon as that is certain, so that a store which waits for the operator
    /// does not hold up a secret that the file has. An empty value removes the file's entry and
    /// empties the system's; where it matters whether both did, see `removeSecret`.
    void writeSecret(const QString &account,
        const QString &value,
        std::function<void(bool written)> done);

    /// Secrets are on their way into the stores or out of them: not answered yet.
    [[nodiscard]] bool isWriting() const { return m_writing > 0; }
    /// How many of those failed since the start.
    [[nodiscard]] int failures() const { return m_failures; }

    /// What became of a secret that was to be removed.
    enum class Removal {
        Failed, ///< the file still has it
        SystemMayKeepIt, ///< the file has it no more; the system's store refused, or is silent
        Done ///< neither has it
    };

    /// Removes the file's entry and empties the system's. Unlike a write, the answer waits for
    /// both: a secret that one of them keeps would come back.
    void removeSecret(const QString &account, std::function<void(Removal removal)> done);

private:
    /// Runs `work` on the background task, after all earlier work, and `then` here with its result.
    template <typename Work, typename Then> void onFile(Work work, Then then);
    template <typename Result>
    std::function<void(Result)> counted(std::function<void(Result)> done, Result failure);

    SystemKeyStore &m_keychain;
    SecretFile m_file;
    std::chrono::milliseconds m_patience;
    int m_writing = 0;
    int m_failures = 0;
    QObject m_context; ///< answers end with it
    QThreadPool m_tasks; ///< one thread; goes first, waiting for the writes
};

} // namespace nimbara
