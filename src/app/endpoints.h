#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>

namespace nimbara {

/// Where a service answers. A seam: tests point it at a server of their own. A plain value.
struct Endpoint {
    QString scheme = QStringLiteral("https"); ///< "https", or "http" for a server without TLS
    QString host; ///< name or address, without port
    std::uint16_t port = 443;
    /// PEM certificates of authorities trusted besides the system's; empty in production.
    QByteArray trustedCaPem;
};

} // namespace nimbara
