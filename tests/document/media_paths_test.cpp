#include "document/media_paths.h"
#include "support/test_registry.h"

using namespace nimbara;
using namespace Qt::StringLiterals;

class MediaPathsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void aFileIsFoundWhereItWasOrBesideTheProject()
    {
        // The path in a project in "/a/b", its form relative to that, the only file that is there,
        // and what is found for a project in "/z/b".
        using Row = std::array<QString, 4>;
        const auto check = [](const Row &row, auto form, auto resolve) {
            const auto &[path, relative, there, found] = row;
            QCOMPARE(form(u"/a/b"_s, path), relative);
            const auto exists = [&](const QString &file) { return file == row[2]; };
            QCOMPARE(resolve(u"/z/b"_s, path, relative, exists), found);
        };
        for (const Row &row :
            { Row { u"/a/b/i/ñ.png"_s, u"i/ñ.png"_s, u"/a/b/i/ñ.png"_s, u"/a/b/i/ñ.png"_s },
                { u"/a/b/i.png"_s, u"i.png"_s, u"/z/b/i.png"_s, u"/z/b/i.png"_s },
                { u"/a/i.png"_s, u"../i.png"_s, u"/z/i.png"_s, u"/z/i.png"_s },
                { u"/a/b/i.png"_s, u"i.png"_s, u"/z/b/x"_s, u"/a/b/i.png"_s },
                {} }) {
            check(row, relativePath, resolvePath);
        }
        const QString odd = u"b/a:b%20%231.mp4"_s;
        const QString accented = u"file:///a/b/ñ 1.mp4"_s;
        for (const Row &row : { Row { u"file:///a/"_s + odd,
                                    u"a%3Ab%20%231.mp4"_s,
                                    u"/z/b/a:b #1.mp4"_s,
                                    u"file:///z/"_s + odd },
                 { accented, u"%C3%B1%201.mp4"_s, u"/a/b/ñ 1.mp4"_s, accented },
                 { u"rtsp://a/b/x"_s, {}, u"/z/b/x"_s, u"rtsp://a/b/x"_s },
                 { u"file://host/a/b/x"_s, {}, u"/z/b/x"_s, u"file://host/a/b/x"_s } }) {
            check(row, relativeUri, resolveUri);
        }
    }

    void whatMovedTogetherIsFoundTogether()
    {
        const QTemporaryDir folder;
        const QDir dir(folder.path());
        const QStringList files { u"1/logo.png"_s,
            u"2/logo.png"_s,
            u"2/a/himno.mp4"_s,
            u"2/b/himno.mp4"_s,
            u"2/cita.png"_s,
            u"1/2/3/4/5/6/7/8/9/hondo.png"_s };
        for (const QString &name : files) {
            QVERIFY(dir.mkpath(QFileInfo(name).path()));
            QVERIFY(QFile(dir.filePath(name)).open(QIODevice::WriteOnly));
        }
        QVERIFY(QFile::link(folder.path(), dir.filePath(u"0"_s))); // a loop
        const auto in = [&](const char *name) { return dir.filePath(QLatin1String(name)); };
        const QHash<QString, QString> mended {
            { u"/viejo/logo.png"_s, in("2/logo.png") }, // as the next ones are
            { u"/viejo/a/himno.mp4"_s, in("2/a/himno.mp4") },
            { u"/viejo/b/himno.mp4"_s, in("2/b/himno.mp4") },
            { u"/otro/cita.png"_s, in("2/cita.png") },
        };
        const QStringList gone { u"/viejo/nada.png"_s, u"/viejo/hondo.png"_s };
        QCOMPARE(mendFrom(folder.path(), mended.keys() + gone), mended);
        QCOMPARE(filesNamed(folder.path(), { u"logo.png"_s }, { 0, 100 }), QStringList());
        QVERIFY(filesNamed(folder.path(), { u"logo.png"_s }, { 8, 3 }).size() < 2);
    }
};

NIMBARA_TEST(MediaPathsTest)
#include "media_paths_test.moc"
