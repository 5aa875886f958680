#include "secrets/keychain_store.h"

#include "secrets/session_bus.h"

#include <QMetaObject>
#include <qt6keychain/keychain.h>

#include <type_traits>
#include <utility>

namespace nimbara {

namespace {

const QString &serviceName()
{
    static const QString name = QStringLiteral("NimbaraStudio");
    return name;
}

/// Answers from the event loop. An answer may open a box, which would hold up all further
/// operations if it did so inside the job that found the answer.
template <typename Value>
void answerLater(QObject &context,
    const std::function<void(Value)> &done,
    std::decay_t<Value> value)
{
    QMetaObject::invokeMethod(
        &context,
        [done, value = std::move(value)] { done(value); },
        Qt::QueuedConnection);
}

} // namespace

void KeychainStore::readKeychain(const QString &account,
    std::function<void(const QString &secret)> done)
{
    withSessionBus(&m_context, [this, account, done = std::move(done)](bool reachable) {
        if (!reachable) {
            answerLater(m_context, done, {});
            return;
        }
        auto *job = new QKeychain::ReadPasswordJob(serviceName()); // deletes itself when finished
        job->setKey(account);
        QObject::connect(job, &QKeychain::Job::finished, &m_context, [this, job, done] {
            answerLater(m_context,
                done,
                job->error() == QKeychain::NoError ? job->textData() : QString());
        });
        job->start();
    });
}

void KeychainStore::writeKeychain(const QString &account,
    const QString &value,
    std::function<void(bool written)> done)
{
    withSessionBus(&m_context, [this, account, value, done = std::move(done)](bool reachable) {
        if (!reachable) {
            answerLater(m_context, done, false);
            return;
        }
        auto *job = new QKeychain::WritePasswordJob(serviceName()); // deletes itself when finished
        job->setKey(account);
        job->setTextData(value);
        QObject::connect(job, &QKeychain::Job::finished, &m_context, [this, job, done] {
            answerLater(m_context, done, job->error() == QKeychain::NoError);
        });
        job->start();
    });
}

} // namespace nimbara
