#include "base/gst_environment.h"

#include <QDir>

namespace nimbara {

void pointGstreamerAtBundle(const QString &executableFolder)
{
    const QString root = executableFolder + QStringLiteral("/../Resources/gstreamer");
    const QString plugins = root + QStringLiteral("/lib/gstreamer-1.0");
    if (!QDir(plugins).exists()) {
        return;
    }
    qputenv("GST_PLUGIN_SYSTEM_PATH_1_0", QFile::encodeName(plugins));
    qputenv("GST_PLUGIN_PATH_1_0", "");
    qputenv("GIO_MODULE_DIR", QFile::encodeName(root + QStringLiteral("/lib/gio/modules")));
    qputenv("GST_PLUGIN_SCANNER",
        QFile::encodeName(root + QStringLiteral("/libexec/gstreamer-1.0/gst-plugin-scanner")));
}

} // namespace nimbara
