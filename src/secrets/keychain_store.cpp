#include "secrets/keychain_store.h"

#include "secrets/session_bus.h"

#include <qt6keychain/keychain.h>

namespace nimbara {

namespace {

const QString &serviceName()
{
    static const QString name = QStringLiteral("NimbaraStudio");
    return name;
}

} // namespace

void KeychainStore::readKeychain(const QString &account,
    std::function<void(const QString &secret)> done)
{
    withSessionBus(&m_context, [this, account, done = std::move(done)](bool reachable) {
        if (!reachable) {
            done({});
            return;
        }
        auto *job = new QKeychain::ReadPasswordJob(serviceName()); // deletes itself when finished
        job->setKey(account);
        QObject::connect(job, &QKeychain::Job::finished, &m_context, [job, done] {
            done(job->error() == QKeychain::NoError ? job->textData() : QString());
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
            done(false);
            return;
        }
        auto *job = new QKeychain::WritePasswordJob(serviceName()); // deletes itself when finished
        job->setKey(account);
        job->setTextData(value);
        QObject::connect(job, &QKeychain::Job::finished, &m_context, [job, done] {
            done(job->error() == QKeychain::NoError);
        });
        job->start();
    });
}

} // namespace nimbara
