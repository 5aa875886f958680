#include "translation/service/openai/key_test.h"

#include "base/error.h"
#include "net/openai.h"
#include "translation/service/openai/api_failure.h"
#include "translation/service/openai/api_messages.h"

#include <utility>

namespace nimbara {

namespace {

constexpr std::chrono::milliseconds keyTestTimeout { 15000 };

Message outcome(const HttpReply &reply, std::int64_t elapsedMs, const QString &key)
{
    if (reply.isOk()) {
        return "API OK: respondió en "
            + Message::verbatim(QString::number(elapsedMs) + QStringLiteral(" ms. "))
            + "La traducción está lista para usarse.";
    }
    const QString message = api::errorMessage(reply.body);
    const QString detail = message.isEmpty() ? reply.errorText : message;
    return "API con error HTTP "
        + Message::verbatim(
            QString::number(reply.status) + QStringLiteral(": ") + api::withoutKey(detail, key));
}

} // namespace

KeyTest::KeyTest(const Clock &clock, Endpoint endpoint)
    : m_clock(clock)
    , m_endpoint(std::move(endpoint))
{
}

void KeyTest::run(const QString &key, Answered answered)
{
    if (key.isEmpty()) {
        throw Error(QStringLiteral("Ingresa tu API key"));
    }
    status("Probando la API de OpenAI...");
    auto *client = new HttpClient(&m_clients); // a connection of its own: its time counts, too
    auto request = openai::jsonRequest(m_endpoint,
        QStringLiteral("responses"),
        key,
        api::keyTestBody(),
        keyTestTimeout);
    const std::int64_t sentMs = m_clock.wallMs();
    const auto finish
        = [this, client, sentMs, key, answered = std::move(answered)](const HttpReply &reply) {
              client->deleteLater();
              const Message told = outcome(reply, m_clock.wallMs() - sentMs, key);
              if (answered) {
                  answered(reply.isOk(), told);
              }
              status(told);
          };
    client->send(std::move(request), finish);
}

} // namespace nimbara
