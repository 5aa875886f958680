#include "document/media_paths.h"
#include "support/test_registry.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace nimbara;

class MediaPathsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void aFileIsFoundWhereItWasOrBesideTheProject()
    {
        struct Row {
            QString there, path, relative; ///< `relative`: to "/a/b"; `there`: the only file
            QString found; ///< for a project in "/z/b"
        };
        using Form = QString (*)(const QString &, const QString &);
        using Resolve
            = QString (*)(const QString &, const QString &, const QString &, const FileTest &);
        const auto check = [](const Row &row, Form form, Resolve resolve) {
            const QString relative = form(QStringLiteral("/a/b"), row.path);
            QCOMPARE(relative, row.relative);
            const auto exists = [&row](const QString &path) { return path == row.there; };
            QCOMPARE(resolve(QStringLiteral("/z/b"), row.path, relative, exists), row.found);
        };
        for (const auto &[there, path, relative, found] : std::vector<Row> {
                 { u"/a/b/i/ñ.png"_qs, u"/a/b/i/ñ.png"_qs, u"i/ñ.png"_qs, u"/a/b/i/ñ.png"_qs },
                 { u"/z/b/i.png"_qs, u"/a/b/i.png"_qs, u"i.png"_qs, u"/z/b/i.png"_qs },
                 { u"/z/i.png"_qs, u"/a/i.png"_qs, u"../i.png"_qs, u"/z/i.png"_qs },
                 { u"/z/b/x"_qs, u"/a/b/i.png"_qs, u"i.png"_qs, u"/a/b/i.png"_qs },
                 { {}, {}, {}, {} } }) {
            check({ there, path, relative, found }, relativePath, resolvePath);
        }
        for (const auto &[there, path, relative, found] :
            std::vector<Row> { { u"/z/b/a:b #1.mp4"_qs,
                                   u"file:///a/b/a:b%20%231.mp4"_qs,
                                   u"a%3Ab%20%231.mp4"_qs,
                                   u"file:///z/b/a:b%20%231.mp4"_qs },
                { u"/a/b/ñ 1.mp4"_qs,
                    u"file:///a/b/ñ 1.mp4"_qs,
                    u"%C3%B1%201.mp4"_qs,
                    u"file:///a/b/ñ 1.mp4"_qs },
                { u"/z/b/x"_qs, u"rtsp://a/b/x"_qs, {}, u"rtsp://a/b/x"_qs },
                { u"/z/b/x"_qs, u"file://host/a/b/x"_qs, {}, u"file://host/a/b/x"_qs } }) {
            check({ there, path, relative, found }, relativeUri, resolveUri);
        }
    }

    void whatMovedTogetherIsFoundTogether()
    {
        const QTemporaryDir folder;
        const QDir dir(folder.path());
        const QStringList files { u"1/logo.png"_qs,
            u"2/logo.png"_qs,
            u"2/a/himno.mp4"_qs,
            u"2/b/himno.mp4"_qs,
            u"2/cita.png"_qs,
            u"1/2/3/4/5/6/7/8/9/hondo.png"_qs };
        for (const QString &name : files) {
            QVERIFY(dir.mkpath(QFileInfo(name).path()));
            QVERIFY(QFile(dir.filePath(name)).open(QIODevice::WriteOnly));
        }
        QVERIFY(QFile::link(folder.path(), dir.filePath(u"0"_qs))); // a loop
        const auto in = [&](const char *name) { return dir.filePath(QLatin1String(name)); };
        const QHash<QString, QString> mended {
            { u"/viejo/logo.png"_qs, in("2/logo.png") }, // as the next ones are
            { u"/viejo/a/himno.mp4"_qs, in("2/a/himno.mp4") },
            { u"/viejo/b/himno.mp4"_qs, in("2/b/himno.mp4") },
            { u"/otro/cita.png"_qs, in("2/cita.png") },
        };
        const QStringList gone { u"/viejo/nada.png"_qs, u"/viejo/hondo.png"_qs };
        QCOMPARE(mendFrom(folder.path(), mended.keys() + gone), mended);
        QCOMPARE(filesNamed(folder.path(), { u"logo.png"_qs }, { 0, 100 }), QStringList());
        QVERIFY(filesNamed(folder.path(), { u"logo.png"_qs }, { 8, 3 }).size() < 2);
    }
};

NIMBARA_TEST(MediaPathsTest)
#include "media_paths_test.moc"
