#pragma once

#include "support/api_peer.h"

#include <QObject>
#include <QTest>

#include <memory>

/// Tests against a local server over TLS that answers when the test says so.
class PeerTest : public QObject {
    Q_OBJECT

protected:
    void forgetRequests() { peer->events.clear(); }
    [[nodiscard]] int requests() const { return peer->count("request"); }
    [[nodiscard]] QJsonObject request(std::size_t index = 0) const
    {
        return peer->of("request").at(index);
    }
    /// A part of the first request: "path", "method" or "body".
    [[nodiscard]] QString sent(const char *part) const
    {
        return nimbara::testing::field(request(), part);
    }
    [[nodiscard]] QString header(const char *name) const
    {
        return nimbara::testing::field(request()[QLatin1String("headers")].toObject(), name);
    }
    void reply(std::size_t index, const QByteArray &body, int status = 200) const
    {
        peer->answer(request(index), body, status);
    }

    std::unique_ptr<nimbara::testing::ApiPeer> peer;

private Q_SLOTS:
    void initTestCase() { peer = std::make_unique<nimbara::testing::ApiPeer>(); }
    void init() { forgetRequests(); }
    void cleanupTestCase() { peer.reset(); }
};
