#include "base/gst_environment.h"
#include "support/test_registry.h"

using namespace Qt::StringLiterals;

class GstEnvironmentTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void bundledPluginsReplaceInheritedPaths()
    {
        const QTemporaryDir folder;
        const QString executable = folder.filePath(u"MacOS"_s);
        const QByteArray root = QFile::encodeName(executable) + "/../Resources/gstreamer";
        const std::vector<std::pair<const char *, QByteArray>> variables {
            { "GST_PLUGIN_SYSTEM_PATH_1_0", root + "/lib/gstreamer-1.0" },
            { "GST_PLUGIN_PATH_1_0", "" },
            { "GIO_MODULE_DIR", root + "/lib/gio/modules" },
            { "GST_PLUGIN_SCANNER", root + "/libexec/gstreamer-1.0/gst-plugin-scanner" },
        };
        std::vector<QByteArray> before;
        for (const auto &[name, bundled] : variables) {
            before.push_back(qgetenv(name));
            qputenv(name, "inherited");
        }
        nimbara::pointGstreamerAtBundle(folder.path()); // no bundle: nothing is touched
        for (const auto &[name, bundled] : variables) {
            QCOMPARE(qgetenv(name), QByteArray("inherited"));
        }
        const QDir at(folder.path());
        QVERIFY(at.mkpath(u"MacOS"_s));
        QVERIFY(at.mkpath(u"Resources/gstreamer/lib/gstreamer-1.0"_s));
        nimbara::pointGstreamerAtBundle(executable);
        for (std::size_t i = 0; i < variables.size(); ++i) {
            const auto &[name, bundled] = variables[i];
            QCOMPARE(qgetenv(name), bundled);
            before[i].isNull() ? qunsetenv(name) : qputenv(name, before[i]);
        }
    }
};

NIMBARA_TEST(GstEnvironmentTest)
#include "gst_environment_test.moc"
