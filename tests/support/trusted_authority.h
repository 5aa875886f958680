#pragma once

#include <QFile>
#include <QString>

#include <gio/gio.h>

namespace nimbara::testing {

/// What the process's TLS connections trust while this lives: one authority alone. Sessions that
/// were agreed on meanwhile are resumed later, so test mistrust first.
class TrustedAuthority {
public:
    explicit TrustedAuthority(const QString &file)
    {
        GTlsDatabase *database
            = g_tls_file_database_new(QFile::encodeName(file).constData(), nullptr);
        g_tls_backend_set_default_database(g_tls_backend_get_default(), database);
        g_object_unref(database);
    }
    Q_DISABLE_COPY_MOVE(TrustedAuthority)
    ~TrustedAuthority()
    {
        g_tls_backend_set_default_database(g_tls_backend_get_default(), nullptr);
    }
};

} // namespace nimbara::testing
