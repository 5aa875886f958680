#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <cstdint>

namespace nimbara {

/// Where a service answers. A seam: tests point it at a server of their own. A plain value.
struct Endpoint {
    QString scheme = QStringLiteral("https"); ///< "https", or "http" for a server without TLS
    QString host; ///< name or address, without port
    std::uint16_t port = 443;
    /// PEM certificates of authorities trusted besides the system's; empty in production.
    QByteArray trustedCaPem;
    QString pathPrefix = QStringLiteral("/v1/"); ///< begins and ends with "/"

    /// The URL of `path`, which follows the prefix: no leading slash, percent-encoded already, and
    /// with its query if it has one.
    [[nodiscard]] QUrl url(const QString &path) const;
};

/// The OpenAI API: https://api.openai.com/v1/
Endpoint openAiEndpoint();

/// The API.Bible service: https://rest.api.bible/v1/
Endpoint apiBibleEndpoint();

} // namespace nimbara
