#include "base/secret_texts.h"

#include <QStringList>

#include <mutex>

namespace nimbara {

namespace {

constexpr qsizetype shortestSecret = 5;

struct Secrets {
    std::mutex mutex;
    QStringList texts; ///< the longest first: one may hold another
};

Secrets &secrets()
{
    static Secrets instance;
    return instance;
}

} // namespace

void hideSecret(const QString &secret)
{
    Secrets &known = secrets();
    const std::lock_guard lock(known.mutex);
    if (secret.size() < shortestSecret || known.texts.contains(secret)) {
        return;
    }
    const auto shorter = std::find_if(known.texts.cbegin(),
        known.texts.cend(),
        [&](const QString &text) { return text.size() < secret.size(); });
    known.texts.insert(shorter, secret);
}

QString withoutSecrets(QString text)
{
    Secrets &known = secrets();
    const std::lock_guard lock(known.mutex);
    for (const QString &secret : std::as_const(known.texts)) {
        text.replace(secret, QLatin1String("***"), Qt::CaseInsensitive);
    }
    return text;
}

} // namespace nimbara
