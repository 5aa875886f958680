#pragma once

#include "app/endpoints.h"

#include <QJsonObject>
#include <QProcess>
#include <QString>

#include <functional>
#include <vector>

namespace nimbara::testing {

/// A Node server over TLS on this machine that stands in for the API: see api_peer.mjs for its
/// events and commands. Events arrive by the event loop.
class ApiPeer {
public:
    /// Starts the server and waits until it listens; installs its packages when they are missing.
    /// Fails the program when that cannot be done.
    ApiPeer();
    ApiPeer(const ApiPeer &) = delete;
    ApiPeer &operator=(const ApiPeer &) = delete;
    ApiPeer(ApiPeer &&) = delete;
    ApiPeer &operator=(ApiPeer &&) = delete;
    ~ApiPeer();

    /// Where it answers, and the authority that signed its certificate.
    [[nodiscard]] const Endpoint &endpoint() const { return m_endpoint; }

    void command(const QJsonObject &command);
    void live(const QString &mode); ///< in force when this returns
    void sendEvent(const QJsonObject &event); ///< a text message on the live session
    void answer(const QJsonObject &request, const QJsonObject &reply, int status = 200);

    /// All events so far, in their order.
    std::vector<QJsonObject> events;
    /// Called for each, after it was kept.
    std::function<void(const QJsonObject &)> onEvent = [](const QJsonObject &) {};

    /// The events of this kind; requests only of a path that ends so.
    [[nodiscard]] std::vector<QJsonObject> of(const QString &kind,
        const QString &pathEnd = QString()) const;
    [[nodiscard]] int count(const QString &kind, const QString &pathEnd = QString()) const;

private:
    void readLines();

    QProcess m_process;
    Endpoint m_endpoint;
};

} // namespace nimbara::testing
