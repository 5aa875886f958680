#include "bible/builtin.h"

#include "bible/books.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPromise>
#include <QStringList>
#include <QThreadPool>

#include <algorithm>
#include <memory>

// A static library's resources are registered only when something names them; the macro must stand
// outside any namespace.
static void registerBibles()
{
    Q_INIT_RESOURCE(bibles);
}

namespace bible {

namespace {

Bible loadBuiltIn(const QString &path)
{
    registerBibles();
    return load(path);
}

QFuture<void> startLoading()
{
    const auto promise = std::make_shared<QPromise<void>>();
    promise->start();
    QThreadPool::globalInstance()->start([promise] {
        spanish();
        english();
        promise->finish();
    });
    return promise->future();
}

} // namespace

const Bible &english()
{
    static const Bible bible = loadBuiltIn(QStringLiteral(":/bible-en-kjv.qz"));
    return bible;
}

const Bible &spanish()
{
    static const Bible bible = loadBuiltIn(QStringLiteral(":/bible-es-rv1909.qz"));
    return bible;
}

QFuture<void> prepare()
{
    static const QFuture<void> loading = startLoading();
    return loading;
}

Bible load(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QJsonObject record = QJsonDocument::fromJson(qUncompress(file.readAll())).object();
    Bible bible;
    bible.id = record.value(QLatin1String("id")).toString();
    bible.name = record.value(QLatin1String("name")).toString();
    bible.lang = record.value(QLatin1String("lang")).toString();
    bible.books = record.value(QLatin1String("books")).toArray();
    bible.license = record.value(QLatin1String("license")).toString();
    for (const auto &key : record.value(QLatin1String("renumbered")).toArray()) {
        bible.renumbered.insert(key.toInt());
    }
    bible.valid = static_cast<std::size_t>(bible.books.size()) == books.size();
    return bible;
}

std::int32_t chapterCount(const Bible &bible, std::int32_t book)
{
    if (book < 0 || static_cast<std::size_t>(book) >= books.size()) {
        return 0;
    }
    return static_cast<std::int32_t>(bible.books.at(book).toArray().size());
}

QString verseText(const Bible &bible, const Ref &ref)
{
    if (!bible.valid || !ref.usable() || chapterCount(bible, ref.book) < ref.chapter) {
        return {};
    }
    const QJsonArray verses = bible.books.at(ref.book).toArray().at(ref.chapter - 1).toArray();
    const auto count = static_cast<std::int32_t>(verses.size());
    const std::int32_t last = ref.verseFrom < 1 ? count : std::min(ref.verseTo, count);
    const std::int32_t first = std::max(ref.verseFrom, 1);
    QStringList pieces;
    for (std::int32_t verse = first; verse <= last; ++verse) {
        const QString text = verses.at(verse - 1).toString();
        pieces << (first < last ? QString::number(verse) + QLatin1Char(' ') + text : text);
    }
    return pieces.join(QLatin1Char(' '));
}

} // namespace bible
