#include "bible/api.h"

#include "bible/books.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QUrl>

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

QString passagePath(const QString &bibleId, const Ref &ref)
{
    const bool numbered = ref.verseFrom < ref.verseTo;
    return QStringLiteral("bibles/") + escaped(bibleId) + QStringLiteral("/passages/")
        + passageId(ref)
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
    const auto finish = [done = std::move(done)](const QJsonObject &reply, const Message &error) {
        const QJsonObject data = reply.value(QLatin1String("data")).toObject();
        const QString text = data.value(QLatin1String("content")).toString().simplified();
        const bool missing = error.isEmpty() && text.isEmpty();
        done(text, missing ? Message("API.Bible no devolvió texto para esa cita") : error);
    };
    apiBibleGet(passagePath(bibleId, ref), key, finish);
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
