#pragma once

#include "base/clock.h"
#include "base/message.h"
#include "net/endpoints.h"

#include <QObject>
#include <QString>

#include <functional>

namespace nimbara {

/// The key test of the translation panel ("Probar API key ahora"): one small request with the
/// operator's key, apart from the engine and whether or not it runs. Interface thread only.
class KeyTest {
public:
    KeyTest(const Clock &clock, Endpoint endpoint);

    /// Gets the outcome of one test; `works`: the service took the key.
    using Answered = std::function<void(bool works, const Message &outcome)>;

    /// Sends the request with `key`: the field's text, trimmed, or the stored key. Throws `Error`
    /// "Ingresa tu API key" when it is empty, and sends nothing. `answered` may be empty; it is
    /// called before `status`, and never once this has gone.
    void run(const QString &key, Answered answered = {});

    /// Gets the progress and the outcome.
    std::function<void(const Message &message)> status = [](const Message &) {};

private:
    const Clock &m_clock;
    Endpoint m_endpoint;
    QObject m_clients; ///< parent of the clients of the tests under way
};

} // namespace nimbara
