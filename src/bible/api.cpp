#include "bible/api.h"

#include "bible/books.h"
#include "bible/canon.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QStringList>
#include <QUrl>

#include <algorithm>
#include <utility>

namespace bible {

namespace {

using nimbara::Message;

/// In bytes. No passage or list comes near.
constexpr qint64 maxReply = qint64 { 8 } * 1024 * 1024;

bool isInTable(const Ref &ref)
{
    return ref.book >= 0 && static_cast<std::size_t>(ref.book) < books.size();
}

bool isPassage(const Ref &ref)
{
    return isInTable(ref) && ref.chapter >= 1
        && (ref.verseFrom == 0 || (ref.verseFrom > 0 && ref.verseTo >= ref.verseFrom));
}

QString escaped(const QString &part)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(part));
}

QString passagePath(const QString &bibleId, const QString &passageId, bool numbered)
{
    return QStringLiteral("bibles/") + escaped(bibleId) + QStringLiteral("/passages/") + passageId
        + QStringLiteral("?content-type=text&include-notes=false&include-titles=false"
                         "&include-chapter-numbers=false&include-verse-numbers=")
        + (numbered ? QStringLiteral("true") : QStringLiteral("false"))
        + QStringLiteral("&include-verse-spans=false");
}

Message describeError(int status)
{
    if (status == 401 || status == 403) {
        return "API.Bible: clave no válida o sin permiso para esa Biblia";
    }
    return "API.Bible: sin respuesta" + Message::verbatim(QStringLiteral(" (HTTP %1)").arg(status));
}

QList<ListedBible> readBibles(const QJsonObject &reply)
{
    QList<ListedBible> listed;
    const QJsonArray data = reply.value(QLatin1String("data")).toArray();
    for (const auto &element : data) {
        const QJsonObject entry = element.toObject();
        listed.append({ entry.value(QLatin1String("id")).toString(),
            entry.value(QLatin1String("name")).toString() + QStringLiteral(" (")
                + entry.value(QLatin1String("abbreviation")).toString() + QLatin1Char(')') });
    }
    return listed;
}

} // namespace

std::int32_t preferredBible(const QList<ListedBible> &bibles)
{
    for (qsizetype i = 0; i < bibles.size(); ++i) {
        if (bibles.at(i).text.contains(QLatin1String("1960"))) {
            return static_cast<std::int32_t>(i);
        }
    }
    return bibles.isEmpty() ? -1 : 0;
}

QString passageId(const Ref &ref)
{
    if (!isInTable(ref)) {
        return {};
    }
    const std::string_view code = books.at(static_cast<std::size_t>(ref.book)).code;
    QString chapter = QString::fromUtf8(code.data(), static_cast<qsizetype>(code.size()))
        + QLatin1Char('.') + QString::number(ref.chapter);
    if (ref.verseFrom == 0) {
        return chapter;
    }
    const auto verse = [&chapter](std::int32_t number) {
        return QString(chapter + QLatin1Char('.') + QString::number(number));
    };
    return ref.verseFrom < ref.verseTo
        ? verse(ref.verseFrom) + QLatin1Char('-') + verse(ref.verseTo)
        : verse(ref.verseFrom);
}

QString passageId(std::int32_t book, const Span &span)
{
    if (span.chapterFrom == span.chapterTo) {
        return passageId(Ref { book, span.chapterFrom, span.verseFrom, span.verseTo });
    }
    const std::int32_t first = std::max(span.verseFrom, 1);
    const std::int32_t last = span.isWhole() ? canonVerses(book, span.chapterTo) : span.verseTo;
    return passageId(Ref { book, span.chapterFrom, first, first }) + QLatin1Char('-')
        + passageId(Ref { book, span.chapterTo, last, last });
}

Api::Api(nimbara::Endpoint endpoint, std::chrono::milliseconds timeout)
    : m_endpoint(std::move(endpoint))
    , m_timeout(timeout)
{
}

void Api::bibles(const QString &key, const QString &language, BiblesCallback done)
{
    const auto finish = [done = std::move(done)](const QJsonObject &reply, const Message &error) {
        done(readBibles(reply), error);
    };
    apiBibleGet(QStringLiteral("bibles?language=") + escaped(language), key, finish);
}

void Api::passage(const QString &key, const QString &bibleId, const Ref &ref, TextCallback done)
{
    if (!isPassage(ref)) {
        done({}, "Cita no válida");
        return;
    }
    const bool numbered = ref.verseFrom < ref.verseTo;
    fetch(key, passagePath(bibleId, passageId(ref), numbered), std::move(done));
}

/// A passage that is being fetched.
struct Api::Pieces {
    QString key;
    QStringList paths; ///< still to be fetched
    QStringList texts;
    TextCallback done;
};

void Api::passage(const QString &key,
    const QString &bibleId,
    const Passage &passage,
    TextCallback done)
{
    const auto pieces = std::make_shared<Pieces>(Pieces { key, {}, {}, std::move(done) });
    for (const Span &span : passage.spans) {
        const bool one = span.chapterFrom == span.chapterTo && span.verseFrom == span.verseTo;
        const bool numbered = !one || (passage.spans.size() > 1 && !span.isWhole());
        pieces->paths << passagePath(bibleId, passageId(passage.book, span), numbered);
    }
    fetchNext(pieces);
}

void Api::fetchNext(const std::shared_ptr<Pieces> &pieces)
{
    if (pieces->paths.isEmpty()) {
        pieces->done(pieces->texts.join(QLatin1Char(' ')), {});
        return;
    }
    const auto next = [this, pieces](const QString &text, const Message &error) {
        if (error.isEmpty()) {
            pieces->texts << text;
            fetchNext(pieces);
        } else {
            pieces->done({}, error);
        }
    };
    fetch(pieces->key, pieces->paths.takeFirst(), next);
}

void Api::fetch(const QString &key, const QString &path, TextCallback done)
{
    const auto finish = [done = std::move(done)](const QJsonObject &reply, const Message &error) {
        const QJsonObject data = reply.value(QLatin1String("data")).toObject();
        const QString text = data.value(QLatin1String("content")).toString().simplified();
        const bool missing = error.isEmpty() && text.isEmpty();
        done(text, missing ? Message("API.Bible no devolvió texto para esa cita") : error);
    };
    apiBibleGet(path, key, finish);
}

void Api::apiBibleGet(const QString &path,
    const QString &key,
    std::function<void(const QJsonObject &, const Message &error)> done)
{
    nimbara::HttpRequest request;
    request.endpoint = m_endpoint;
    request.path = path;
    request.headers.emplaceBack("api-key", nimbara::headerValue(key));
    request.timeout = m_timeout;
    request.maxReply = maxReply;
    const auto finish = [done = std::move(done)](const nimbara::HttpReply &reply) {
        if (reply.isOk()) {
            done(QJsonDocument::fromJson(reply.body).object(), {});
        } else {
            done({}, describeError(reply.status));
        }
    };
    m_http.send(std::move(request), finish);
}

} // namespace bible
