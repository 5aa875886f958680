#pragma once

#include "base/message.h"
#include "bible/passage.h"
#include "net/endpoints.h"
#include "net/http_client.h"

#include <QJsonObject>
#include <QList>
#include <QString>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace bible {

/// A Bible that the service offers.
struct ListedBible {
    QString id; ///< the service's identifier
    QString text; ///< for the operator: "Reina Valera 1960 (RVR60)"

    bool operator==(const ListedBible &) const = default;
};

/// The entry that a new list starts at: the first that mentions "1960", else the first; -1 in an
/// empty list.
std::int32_t preferredBible(const QList<ListedBible> &bibles);

/// The service's passage syntax: "JHN.3", "JHN.3.16", "JHN.3.16-JHN.3.18". Empty when the book is
/// not in the table.
QString passageId(const Ref &ref);

/// The same for a span, which may go over chapters: "JHN.3.16-JHN.4.2".
QString passageId(std::int32_t book, const Span &span);

/// Client of the API.Bible web service, for Bibles whose text may not be shipped.
///
/// Interface thread only. Every callback comes from the event loop, except that of a refused
/// reference, which comes at once; none comes after the client is gone. An empty error means
/// success; errors are for the operator and never hold the key. Nothing is retried, and
/// a newer request does not cancel an older one.
class Api {
public:
    using BiblesCallback
        = std::function<void(const QList<ListedBible> &, const nimbara::Message &error)>;
    using TextCallback = std::function<void(const QString &text, const nimbara::Message &error)>;

    explicit Api(nimbara::Endpoint endpoint = nimbara::apiBibleEndpoint(),
        std::chrono::milliseconds timeout = std::chrono::seconds(15));

    /// Lists the Bibles of a language, "spa", that the key may read, in the service's order.
    void bibles(const QString &key, const QString &language, BiblesCallback done);

    /// Fetches a passage as one line of plain text; a range has its verse numbers.
    void passage(const QString &key, const QString &bibleId, const Ref &ref, TextCallback done);

    /// Fetches the spans of a passage within the canon one after the other, and joins them by
    /// blanks; the verses of several spans are numbered. The first failure ends it.
    void
    passage(const QString &key, const QString &bibleId, const Passage &passage, TextCallback done);

private:
    struct Pieces;

    void fetchNext(const std::shared_ptr<Pieces> &pieces);
    void fetch(const QString &key, const QString &path, TextCallback done);
    void apiBibleGet(const QString &path,
        const QString &key,
        std::function<void(const QJsonObject &, const nimbara::Message &error)> done);

    nimbara::Endpoint m_endpoint;
    std::chrono::milliseconds m_timeout;
    nimbara::HttpClient m_http;
};

} // namespace bible
