#include "compositor/scene/load_image.h"
#include "support/error_of.h"
#include "support/shown.h"
#include "support/test_registry.h"

#include <QBuffer>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QtEndian>

#include <sys/stat.h>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

class LoadImageTest : public QObject {
    Q_OBJECT
    [[nodiscard]] QString path(const char *name) const
    {
        return m_folder.filePath(QLatin1String(name));
    }
    /// A tiny file that claims to hold a picture of this size.
    [[nodiscard]] static QByteArray claimed(qint32 width, qint32 height)
    {
        QImage dot(1, 1, QImage::Format_RGB32);
        dot.fill(Qt::red);
        QByteArray bytes = encoded(dot, "bmp");
        qToLittleEndian(width, bytes.data() + 18);
        qToLittleEndian(height, bytes.data() + 22);
        return bytes;
    }
    static QByteArray encoded(const QImage &image, const char *format, int quality = -1)
    {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        return image.save(&buffer, format, quality) ? bytes : QByteArray();
    }
    /// The file's path.
    [[nodiscard]] QString put(const QByteArray &bytes) const
    {
        QFile file(path("put"));
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size()
            ? file.fileName()
            : QString();
    }

    QTemporaryDir m_folder;

private Q_SLOTS:
    void readsWhatOtherProgramsMake()
    {
        // ImageMagick's arguments behind the red picture; the file is the last word.
        for (const char *made : { "a.png",
                 "a.jpg",
                 "a.bmp",
                 "a.webp",
                 "jpg:b.png",
                 "png:plain",
                 "-colorspace CMYK cmyk.jpg",
                 "-depth 16 deep.png",
                 "xc:blue xc:green moving.webp" }) { // its first picture
            const RowName named(made);
            const QString name
                = QString::fromLatin1(made).section(QRegularExpression(u"[ :]"_s), -1);
            QProcess maker;
            maker.setWorkingDirectory(m_folder.path());
            maker.start(u"convert"_s,
                (u"-size 64x32 xc:rgb(200,40,90) "_s + QLatin1String(made)).split(u' '));
            QVERIFY2(maker.waitForFinished(300'000) && maker.exitCode() == 0,
                maker.readAllStandardError().constData());
            const FramePtr frame = loadImage(m_folder.filePath(name));
            QCOMPARE(frame->size(), (FrameSize { 64, 32 }));
            QVERIFY(frame->opaque);
            const QColor centre = imageView(*frame).pixelColor(32, 16);
            // Inks and lossy coding round.
            QVERIFY2(isNear(centre, QColor(200, 40, 90), 11), qPrintable(centre.name()));
        }
    }

    void keepsTransparency()
    {
        QImage image(3, 2, QImage::Format_ARGB32);
        image.fill(QColor(10, 20, 30));
        QVERIFY(loadImage(put(encoded(image, "png")))->opaque);

        image.setPixelColor(2, 1, QColor(250, 100, 50, 40));
        const FramePtr frame = loadImage(put(encoded(image, "png")));
        QVERIFY(!frame->opaque);
        const std::vector<std::uint8_t> last(frame->pixels.end() - 4, frame->pixels.end());
        QCOMPARE(last,
            (std::vector<std::uint8_t> { 250, 100, 50, 40 })); // straight, not premultiplied
    }

    void rotatedPhotoComesUpright()
    {
        QImage lying(40, 20, QImage::Format_RGB32); // red left, blue right
        lying.fill(Qt::blue);
        for (int i = 0; i < 400; ++i) {
            lying.setPixelColor(i % 20, i / 20, Qt::red);
        }
        // The tag that cameras write, 6: it stood on its side; upright, what was left is on top.
        const QByteArray tag = QByteArray::fromHex("ffe1002245786966000049492a0008000000"
                                                   "010012010300010000000600000000000000");
        const FramePtr frame = loadImage(put(encoded(lying, "jpg", 100).insert(2, tag)));
        QCOMPARE(frame->size(), (FrameSize { 20, 40 }));
        QVERIFY(imageView(*frame).pixelColor(10, 5).red() > 200);
        QVERIFY(imageView(*frame).pixelColor(10, 35).blue() > 200);
    }

    void refusesWhatIsNoPicture()
    {
        QImage nothing(10'000, 10'000, QImage::Format_Grayscale8);
        nothing.fill(0);
        const QByteArray bomb = encoded(nothing, "png"); // 100 MB in a small file
        QVERIFY(!bomb.isEmpty() && bomb.size() < 1'000'000);
        for (const QByteArray &content : { QByteArray(),
                 QByteArray("no picture at all"),
                 claimed(Frame::maxSide + 1, 1),
                 claimed(1, Frame::maxSide + 1),
                 claimed(60'000, 60'000),
                 bomb,
                 claimed(64, 64).left(30) }) {
            QCOMPARE(errorOf([&] { return loadImage(put(content)); }),
                u"Imagen inválida o demasiado grande"_s);
        }
        const QString pipe = path("pipe.png"); // must not block
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        for (const QString &file : { pipe, m_folder.path(), u"/dev/zero"_s, path("missing.png") }) {
            QVERIFY(!errorOf([&] { return loadImage(file); }).isEmpty());
        }
    }

    void acceptsTheLargestPicture()
    {
        QImage large(Frame::maxSide, Frame::maxSide, QImage::Format_Grayscale8);
        large.fill(90);
        QCOMPARE(loadImage(put(encoded(large, "png")))->size(), (FrameSize { 8192, 8192 }));
    }
};

NIMBARA_TEST(LoadImageTest)
#include "load_image_test.moc"
