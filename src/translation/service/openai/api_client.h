#pragma once

#include "base/message.h"
#include "net/http_client.h"

#include <QJsonObject>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace nimbara {

/// The HTTP calls of the translation. Calls belong to a run: from `open` to `close` or to a fatal
/// failure. What comes back from an earlier run has no effect at all.
///
/// Interface thread only; every callback is called from the event loop, except that `close` may be
/// called from inside one. The client must outlive the callback that it is in.
class ApiClient {
public:
    /// Gets the body of a reply without network or HTTP error.
    using Success = std::function<void(const QByteArray &body)>;
    /// Gets the HTTP status, 0 without a whole reply, after the message was issued.
    using HttpError = std::function<void(int status)>;

    explicit ApiClient(Endpoint endpoint);

    /// Begins a run with this key, trimmed already.
    void open(const QString &key);

    /// Ends the run: forgets the key and aborts every call.
    void close();

    /// A run is on. Ended by `close` and, after its message, by a fatal failure.
    [[nodiscard]] bool isOpen() const { return m_open; }

    /// Raised by every `close`.
    [[nodiscard]] std::int32_t generation() const { return m_generation; }

    /// POST of a JSON body in compact form. `tag` begins the message of a failure.
    void postJson(const QString &path,
        const QJsonObject &body,
        std::chrono::milliseconds timeout,
        const QString &tag,
        Success onSuccess,
        HttpError onHttpError = {});

    /// POST of a multipart form.
    void postForm(const QString &path,
        std::unique_ptr<QHttpMultiPart> form,
        std::chrono::milliseconds timeout,
        const QString &tag,
        Success onSuccess,
        HttpError onHttpError);

    /// GET whose answer is of no interest: it opens the connection that the first phrase will use.
    void probe(const QString &path, std::chrono::milliseconds timeout);

    /// Gets the message of every failure.
    std::function<void(const Message &message)> statusChanged = [](const Message &) {};
    /// A fatal failure has closed the client.
    std::function<void()> ended = [] {};

private:
    struct Call {
        std::int32_t generation;
        QString tag;
        Success onSuccess;
        HttpError onHttpError;
    };
    void send(HttpRequest request, Call call);
    void finish(const HttpReply &reply, const Call &call);
    void describeApiError(const HttpReply &reply, const QString &tag);
    [[nodiscard]] bool isStale(const Call &call) const
    {
        return call.generation != m_generation || !m_open;
    }

    Endpoint m_endpoint;
    QString m_key;
    bool m_open = false;
    std::int32_t m_generation = 0;
    HttpClient m_http;
};

} // namespace nimbara
