#include "translation/service/openai/api_client.h"

#include "net/openai.h"
#include "translation/service/openai/api_failure.h"

#include <utility>

namespace nimbara {

ApiClient::ApiClient(Endpoint endpoint)
    : m_endpoint(std::move(endpoint))
{
}

void ApiClient::open(const QString &key)
{
    m_key = key;
    m_open = true;
}

void ApiClient::close()
{
    ++m_generation;
    m_open = false;
    m_key.clear();
    m_http.cancelAll();
}

void ApiClient::postJson(const QString &path,
    const QJsonObject &body,
    std::chrono::milliseconds timeout,
    const QString &tag,
    Success onSuccess,
    HttpError onHttpError)
{
    send(openai::jsonRequest(m_endpoint, path, m_key, body, timeout),
        { m_generation, tag, std::move(onSuccess), std::move(onHttpError) });
}

void ApiClient::postForm(const QString &path,
    std::unique_ptr<QHttpMultiPart> form,
    std::chrono::milliseconds timeout,
    const QString &tag,
    Success onSuccess,
    HttpError onHttpError)
{
    HttpRequest request = openai::request(m_endpoint, path, m_key, timeout);
    request.body = std::move(form);
    send(std::move(request), { m_generation, tag, std::move(onSuccess), std::move(onHttpError) });
}

void ApiClient::probe(const QString &path, std::chrono::milliseconds timeout)
{
    m_http.send(openai::request(m_endpoint, path, m_key, timeout), {});
}

void ApiClient::send(HttpRequest request, Call call)
{
    m_http.send(std::move(request),
        [this, held = std::move(call)](const HttpReply &reply) { finish(reply, held); });
}

void ApiClient::finish(const HttpReply &reply, const Call &call)
{
    if (isStale(call)) {
        return;
    }
    if (reply.isOk() && reply.status != 0) {
        call.onSuccess(reply.body);
        return;
    }
    describeApiError(reply, call.tag);
    // The receiver of the message may have ended the run, and with it what this call counted.
    if (call.onHttpError && call.generation == m_generation) {
        // A reply that breaks off in its body is none, whatever its status was.
        call.onHttpError(reply.status / 100 == 2 ? 0 : reply.status);
    }
}

void ApiClient::describeApiError(const HttpReply &reply, const QString &tag)
{
    // The service may echo the key in what it answers.
    const QString requestId
        = api::withoutKey(QString::fromLatin1(reply.header("x-request-id")), m_key);
    const auto failure = api::describeError(reply.status, reply.body, requestId, tag);
    const std::int32_t generation = m_generation;
    statusChanged(failure.message);
    if (failure.fatal && generation == m_generation) {
        close();
        ended();
    }
}

} // namespace nimbara
