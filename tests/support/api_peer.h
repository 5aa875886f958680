#pragma once

#include "net/endpoints.h"

#include <QJsonObject>
#include <QList>
#include <QPair>
#include <QProcess>

#include <functional>
#include <vector>

namespace nimbara::testing {

/// A text field of an event, a request or a message.
QString field(const QJsonObject &object, const char *name);

/// A Node server over TLS on this machine that stands in for the API: see api_peer.mjs for its
/// events and commands. Events arrive by the event loop.
class ApiPeer {
public:
    /// Waits until the server listens. Ends the program when it does not.
    ApiPeer();
    ~ApiPeer();
    Q_DISABLE_COPY_MOVE(ApiPeer)

    /// Where it answers, and the authority that signed its certificate.
    [[nodiscard]] const Endpoint &endpoint() const { return m_endpoint; }

    void command(const QByteArray &json) { m_process.write(json + '\n'); }
    void live(const QByteArray &mode); ///< in force when this returns
    /// A text message, or a fragment of one, on the live session.
    void send(const QByteArray &text, bool fin = true, bool mask = false);
    /// A completed transcript on the live session.
    void sendTranscript(const QByteArray &text);
    /// Answers by itself from now on, each time after the delay: the phrases are heard in this
    /// order, and each has its caption. Without phrases no more.
    void serve(const QList<QPair<QString, QString>> &phrases,
        int delayMs = 0,
        const QByteArray &voice = {});
    void answer(const QJsonObject &request, const QByteArray &body, int status = 200);
    /// Ends the connection without an answer, or in the body of one.
    void drop(const QJsonObject &request, bool inBody = false);

    std::vector<QJsonObject> events; ///< all so far
    std::function<void(const QJsonObject &)> onEvent; ///< called for each, when it is set

    /// The events of this kind; requests only of a path that ends so.
    [[nodiscard]] std::vector<QJsonObject> of(const char *kind,
        const char *pathEnd = nullptr) const;
    [[nodiscard]] int count(const char *kind, const char *pathEnd = nullptr) const;

private:
    void readLines();

    QProcess m_process;
    Endpoint m_endpoint;
};

} // namespace nimbara::testing
