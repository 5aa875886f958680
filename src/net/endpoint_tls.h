#pragma once

#include "net/endpoints.h"

#include <QSslCertificate>
#include <QSslConfiguration>

namespace nimbara {

/// The TLS settings of an endpoint: the system's authorities and the endpoint's own. The peer is
/// always verified. Header only, for the rooms that link Qt Network; the base library does not.
inline QSslConfiguration tlsConfiguration(const Endpoint &endpoint)
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    if (!endpoint.trustedCaPem.isEmpty()) {
        configuration.addCaCertificates(
            QSslCertificate::fromData(endpoint.trustedCaPem, QSsl::Pem));
    }
    return configuration;
}

} // namespace nimbara
