#include "app/gst_environment.h"
#include "support/test_registry.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

namespace {

constexpr std::array variables { "GST_PLUGIN_SYSTEM_PATH_1_0",
    "GST_PLUGIN_PATH_1_0",
    "GIO_MODULE_DIR",
    "GST_PLUGIN_SCANNER" };

} // namespace

class GstEnvironmentTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        for (const char *name : variables) {
            m_saved.push_back(qgetenv(name));
            qputenv(name, "inherited");
        }
    }
    void cleanup()
    {
        for (std::size_t i = 0; i < variables.size(); ++i) {
            m_saved[i].isNull() ? qunsetenv(variables.at(i)) : qputenv(variables.at(i), m_saved[i]);
        }
        m_saved.clear();
    }

    void outsideABundleNothingIsTouched()
    {
        const QTemporaryDir folder;
        nimbara::pointGstreamerAtBundle(folder.path());
        for (const char *name : variables) {
            QCOMPARE(qgetenv(name), QByteArray("inherited"));
        }
    }

    void bundledPluginsReplaceInheritedPaths()
    {
        const QTemporaryDir folder;
        const QString executable = folder.filePath(QStringLiteral("MacOS"));
        const QString root = executable + QStringLiteral("/../Resources/gstreamer");
        QVERIFY(QDir().mkpath(executable));
        QVERIFY(QDir().mkpath(
            folder.filePath(QStringLiteral("Resources/gstreamer/lib/gstreamer-1.0"))));
        nimbara::pointGstreamerAtBundle(executable);
        const auto encoded
            = [&](const char *path) { return QFile::encodeName(root + QLatin1String(path)); };
        QCOMPARE(qgetenv("GST_PLUGIN_SYSTEM_PATH_1_0"), encoded("/lib/gstreamer-1.0"));
        QCOMPARE(qgetenv("GST_PLUGIN_PATH_1_0"), QByteArray(""));
        QCOMPARE(qgetenv("GIO_MODULE_DIR"), encoded("/lib/gio/modules"));
        QCOMPARE(qgetenv("GST_PLUGIN_SCANNER"),
            encoded("/libexec/gstreamer-1.0/gst-plugin-scanner"));
    }

private:
    std::vector<QByteArray> m_saved;
};

NIMBARA_TEST(GstEnvironmentTest)
#include "gst_environment_test.moc"
