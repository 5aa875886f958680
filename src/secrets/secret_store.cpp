#include "secrets/secret_store.h"

#include <QMetaObject>
#include <QPointer>
#include <QTimer>

#include <memory>
#include <utility>

namespace nimbara {

namespace {

/// An answer that is given once: by whoever comes first, or as `late` when the patience ends.
/// Nothing once `context` is gone.
template <typename Value>
std::function<void(Value)> answerOnce(QObject *context,
    std::chrono::milliseconds patience,
    Value late,
    std::function<void(Value)> done)
{
    auto pending = std::make_shared<std::function<void(Value)>>(std::move(done));
    auto answer = [guard = QPointer(context), pending](Value value) {
        if (guard && *pending) {
            std::exchange(*pending, {})(std::move(value));
        }
    };
    QTimer::singleShot(patience, context, [answer, late] { answer(late); });
    return answer;
}

} // namespace

SecretStore::SecretStore(SystemKeyStore &keychain,
    const QString &path,
    std::chrono::milliseconds patience)
    : m_keychain(keychain)
    , m_file(path)
    , m_patience(patience)
{
    m_tasks.setMaxThreadCount(1);
}

QString SecretStore::readSecretFile(const QString &account) const
{
    return m_file.readSecretFile(account);
}

template <typename Work, typename Then> void SecretStore::onFile(Work work, Then then)
{
    m_tasks.start([this, work = std::move(work), then = std::move(then)] {
        auto result = work();
        QMetaObject::invokeMethod(
            &m_context,
            [then, result] { then(result); },
            Qt::QueuedConnection);
    });
}

/// From now on until it is answered it is on its way.
template <typename Result>
std::function<void(Result)> SecretStore::counted(std::function<void(Result)> done, Result failure)
{
    ++m_writing;
    return [this, done = std::move(done), failure](Result result) {
        --m_writing;
        m_failures += result == failure ? 1 : 0;
        done(result);
    };
}

void SecretStore::readSecret(const QString &account,
    std::function<void(const QString &secret)> done)
{
    const auto answer = answerOnce<QString>(&m_context, m_patience, QString(), std::move(done));
    onFile([this, account] { return m_file.readSecretFile(account); },
        [this, account, answer](const QString &found) {
            if (found.isEmpty()) {
                m_keychain.readKeychain(account, answer);
            } else {
                answer(found);
            }
        });
}

void SecretStore::findInFile(const QString &account, std::function<void(bool found)> done)
{
    onFile([this, account] { return !m_file.readSecretFile(account).isEmpty(); }, std::move(done));
}

void SecretStore::writeSecret(const QString &account,
    const QString &value,
    std::function<void(bool written)> done)
{
    const auto answer
        = answerOnce<bool>(&m_context, m_patience, false, counted(std::move(done), false));
    onFile([this, account, value] { return m_file.writeSecretFile(account, value); },
        [this, account, value, answer](bool inFile) {
            m_keychain.writeKeychain(account, value, [answer, inFile](bool inKeychain) {
                answer(inFile || inKeychain);
            });
            if (inFile) {
                answer(true); // whatever the other store does
            }
        });
}

void SecretStore::removeSecret(const QString &account, std::function<void(Removal removal)> done)
{
    onFile(
        [this, account] {
            return m_file.writeSecretFile(account, QString())
                || m_file.readSecretFile(account).isEmpty();
        },
        [this, account, done = counted(std::move(done), Removal::Failed)](bool outOfFile) {
            const Removal atLeast = outOfFile ? Removal::SystemMayKeepIt : Removal::Failed;
            const auto answer = answerOnce<Removal>(&m_context, m_patience, atLeast, done);
            m_keychain.writeKeychain(account, QString(), [answer, atLeast](bool emptied) {
                answer(emptied && atLeast != Removal::Failed ? Removal::Done : atLeast);
            });
        });
}

} // namespace nimbara
