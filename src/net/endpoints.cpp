#include "net/endpoints.h"

namespace nimbara {

QUrl Endpoint::url(const QString &path) const
{
    QUrl root(pathPrefix + path);
    root.setScheme(scheme);
    root.setHost(host);
    const bool usual = port == (scheme == QLatin1String("http") ? 80 : 443);
    root.setPort(usual ? -1 : port); // the usual port stays out of the Host header
    return root;
}

Endpoint openAiEndpoint()
{
    Endpoint endpoint;
    endpoint.host = QStringLiteral("api.openai.com");
    return endpoint;
}

Endpoint apiBibleEndpoint()
{
    Endpoint endpoint;
    endpoint.host = QStringLiteral("rest.api.bible");
    return endpoint;
}

} // namespace nimbara
