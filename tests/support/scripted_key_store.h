#pragma once

#include "secrets/system_key_store.h"

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QTimer>

#include <utility>
#include <vector>

namespace nimbara::testing {

/// A system's key store that works, refuses everything, or keeps its answers back until `release`.
class ScriptedKeyStore final : public SystemKeyStore {
public:
    enum class Manner { Works, Refuses, Waits };

    explicit ScriptedKeyStore(Manner initial = Manner::Works)
        : manner(initial)
    {
    }
    void readKeychain(const QString &account, std::function<void(const QString &)> done) override
    {
        ++reads;
        answer([this, account, done] { done(works() ? secrets.value(account) : QString()); });
    }
    void writeKeychain(const QString &account,
        const QString &value,
        std::function<void(bool)> done) override
    {
        written << account + QLatin1Char('=') + value;
        onWrite();
        const bool takes = works() && account != refused;
        if (takes && manner == Manner::Works) {
            secrets.insert(account, value);
        }
        answer([done, takes] { done(takes); });
    }
    [[nodiscard]] std::size_t waiting() const { return m_held.size(); }
    void release()
    {
        for (const auto &give : std::exchange(m_held, {})) {
            give();
        }
    }

    Manner manner;
    QHash<QString, QString> secrets;
    QString refused; ///< an account that cannot be written
    QStringList written; ///< "account=value" in order, refused or not
    int reads = 0;
    std::function<void()> onWrite = [] {};

private:
    [[nodiscard]] bool works() const { return manner != Manner::Refuses; }
    void answer(std::function<void()> give)
    {
        if (manner == Manner::Waits) {
            m_held.push_back(std::move(give));
        } else {
            QTimer::singleShot(0, &m_context, std::move(give));
        }
    }
    std::vector<std::function<void()>> m_held;
    QObject m_context;
};

} // namespace nimbara::testing
