#include "app/error.h"
#include "compositor/load_image.h"
#include "support/test_registry.h"

#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <sys/stat.h>

using namespace nimbara;

namespace {

const QString refused = QStringLiteral("Imagen inválida o demasiado grande");

QByteArray bigEndian(quint32 value)
{
    QByteArray bytes(4, 0);
    qToBigEndian(value, bytes.data());
    return bytes;
}

quint32 crc(const QByteArray &data)
{
    quint32 sum = 0xffffffffU;
    for (const char byte : data) {
        sum ^= static_cast<uchar>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            sum = (sum >> 1U) ^ ((sum & 1U) != 0 ? 0xedb88320U : 0U);
        }
    }
    return ~sum;
}

QByteArray chunk(const QByteArray &type, const QByteArray &data)
{
    return bigEndian(static_cast<quint32>(data.size())) + type + data + bigEndian(crc(type + data));
}

/// A tiny PNG file that claims to hold a picture of this size.
QByteArray claimedPng(quint32 width, quint32 height)
{
    const QByteArray header
        = bigEndian(width) + bigEndian(height) + QByteArray::fromHex("0802000000");
    return QByteArray::fromHex("89504e470d0a1a0a") + chunk("IHDR", header)
        + chunk("IDAT", qCompress(QByteArray(4096, 0)).mid(4)) + chunk("IEND", {});
}

/// An orientation tag, as cameras write it, put into a JPEG file.
QByteArray withOrientation(const QByteArray &jpeg, char orientation)
{
    QByteArray exif = QByteArray::fromHex("45786966000049492a0008000000"
                                          "0100120103000100000006000000"
                                          "00000000");
    exif[24] = orientation;
    const auto length = static_cast<quint16>(exif.size() + 2);
    const QByteArray marker
        = QByteArray::fromHex("ffe1") + char(length >> 8U) + char(length & 0xffU);
    return jpeg.left(2) + marker + exif + jpeg.mid(2);
}

} // namespace

class LoadImageTest : public QObject {
    Q_OBJECT
    QString write(const QString &name, const QByteArray &content)
    {
        QFile file(m_folder.filePath(name));
        const bool written = file.open(QIODevice::WriteOnly) && file.write(content) >= 0;
        return written ? file.fileName() : QString();
    }

    QTemporaryDir m_folder;

private Q_SLOTS:
    void readsEveryFormat_data();
    void readsEveryFormat();
    void keepsTransparency();
    void rotatedPhotoComesUpright();
    void refusesWhatIsNoPicture_data();
    void refusesWhatIsNoPicture();
    void readsWhatOtherProgramsMake_data();
    void readsWhatOtherProgramsMake();
    void neverOpensAPipe();
    void acceptsTheLargestPicture();
    void frameHoldsTheImagesBytes();
};

void LoadImageTest::readsEveryFormat_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QString>("name");
    QTest::newRow("PNG") << "png"
                         << "a.png";
    QTest::newRow("JPEG") << "jpg"
                          << "a.jpg";
    QTest::newRow("BMP") << "bmp"
                         << "a.bmp";
    QTest::newRow("WebP") << "webp"
                          << "a.webp";
    QTest::newRow("JPEG named as PNG") << "jpg"
                                       << "b.png";
    QTest::newRow("PNG without a suffix") << "png"
                                          << "plain";
}

void LoadImageTest::readsEveryFormat()
{
    QFETCH(QString, format);
    QFETCH(QString, name);
    QImage image(64, 32, QImage::Format_RGB32);
    image.fill(QColor(200, 40, 90));
    QVERIFY(image.save(m_folder.filePath(name), format.toLatin1().constData(), 100));

    const FramePtr frame = loadImage(m_folder.filePath(name));
    QCOMPARE(frame->size(), (FrameSize { 64, 32 }));
    QVERIFY(frame->opaque);
    const QColor centre = imageView(*frame).pixelColor(32, 16);
    QVERIFY(qAbs(centre.red() - 200) < 4 && qAbs(centre.green() - 40) < 4);
    QVERIFY(qAbs(centre.blue() - 90) < 4);
}

void LoadImageTest::keepsTransparency()
{
    QImage image(3, 2, QImage::Format_ARGB32);
    image.fill(QColor(10, 20, 30));
    QVERIFY(image.save(m_folder.filePath(QStringLiteral("full.png"))));
    QVERIFY(loadImage(m_folder.filePath(QStringLiteral("full.png")))->opaque);

    image.setPixelColor(2, 1, QColor(250, 100, 50, 40));
    QVERIFY(image.save(m_folder.filePath(QStringLiteral("holes.png"))));
    const FramePtr frame = loadImage(m_folder.filePath(QStringLiteral("holes.png")));
    QVERIFY(!frame->opaque);
    const std::vector<std::uint8_t> last(frame->pixels.end() - 4, frame->pixels.end());
    QCOMPARE(last, (std::vector<std::uint8_t> { 250, 100, 50, 40 })); // straight, not premultiplied
}

void LoadImageTest::rotatedPhotoComesUpright()
{
    QImage stored(40, 20, QImage::Format_RGB32); // lying: red left, blue right
    stored.fill(Qt::blue);
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 20; ++x) {
            stored.setPixelColor(x, y, Qt::red);
        }
    }
    const QString plain = m_folder.filePath(QStringLiteral("photo.jpg"));
    QVERIFY(stored.save(plain, "jpg", 100));
    QFile file(plain);
    QVERIFY(file.open(QIODevice::ReadOnly));

    // 6: the camera stood on its side; upright, what was left is on top.
    const FramePtr frame
        = loadImage(write(QStringLiteral("side.jpg"), withOrientation(file.readAll(), 6)));
    QCOMPARE(frame->size(), (FrameSize { 20, 40 }));
    const QImage upright = imageView(*frame);
    QVERIFY(upright.pixelColor(10, 5).red() > 200);
    QVERIFY(upright.pixelColor(10, 35).blue() > 200);
}

void LoadImageTest::refusesWhatIsNoPicture_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("text") << QByteArray("no picture at all");
    QTest::newRow("too wide") << claimedPng(8193, 1);
    QTest::newRow("too high") << claimedPng(1, 8193);
    QTest::newRow("bomb") << claimedPng(60'000, 60'000);
    QTest::newRow("cut off") << claimedPng(64, 64).left(30);
}

void LoadImageTest::refusesWhatIsNoPicture()
{
    QFETCH(QByteArray, content);
    const QString path = write(QStringLiteral("refused.png"), content);
    QVERIFY(!path.isEmpty());
    try {
        (void)loadImage(path);
        QFAIL("the file was taken");
    } catch (const Error &error) {
        QCOMPARE(error.text(), refused);
    }
    QVERIFY_EXCEPTION_THROWN((void)loadImage(path + QStringLiteral(".missing")), Error);
}

void LoadImageTest::readsWhatOtherProgramsMake_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("arguments"); // of ImageMagick, before the file's name
    QTest::addColumn<FrameSize>("size");
    const auto red = [](const char *size) {
        return QStringList { QStringLiteral("-size"),
            QLatin1String(size),
            QStringLiteral("xc:rgb(200,40,90)") };
    };
    QTest::newRow("CMYK JPEG") << "cmyk.jpg"
                               << red("64x32")
            + QStringList({ QStringLiteral("-colorspace"), QStringLiteral("CMYK") })
                               << FrameSize { 64, 32 };
    QTest::newRow("16-bit PNG") << "deep.png"
                                << red("64x32")
            + QStringList({ QStringLiteral("-depth"), QStringLiteral("16") })
                                << FrameSize { 64, 32 };
    QTest::newRow("animated WebP: its first picture")
        << "moving.webp"
        << red("64x32") + QStringList({ QStringLiteral("xc:blue"), QStringLiteral("xc:green") })
        << FrameSize { 64, 32 };
}

void LoadImageTest::readsWhatOtherProgramsMake()
{
    QFETCH(QString, name);
    QFETCH(QStringList, arguments);
    const QString path = m_folder.filePath(name);
    QProcess maker;
    maker.start(QStringLiteral("convert"), arguments << path);
    QVERIFY2(maker.waitForFinished(300'000) && maker.exitCode() == 0,
        maker.readAllStandardError().constData());
    const FramePtr frame = loadImage(path);
    QTEST(frame->size(), "size");
    const QColor centre = imageView(*frame).pixelColor(frame->width / 2, frame->height / 2);
    // Inks and lossy coding round.
    QVERIFY2(qAbs(centre.red() - 200) < 12 && qAbs(centre.green() - 40) < 12
            && qAbs(centre.blue() - 90) < 12,
        qPrintable(centre.name()));
}

void LoadImageTest::neverOpensAPipe()
{
    const QString pipe = m_folder.filePath(QStringLiteral("pipe.png"));
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    for (const QString &path : { pipe, m_folder.path(), QStringLiteral("/dev/zero") }) {
        QVERIFY_EXCEPTION_THROWN((void)loadImage(path), Error);
    }
}

void LoadImageTest::acceptsTheLargestPicture()
{
    const QString path = m_folder.filePath(QStringLiteral("large.png"));
    QProcess maker;
    maker.start(QStringLiteral("ffmpeg"),
        { QStringLiteral("-loglevel"),
            QStringLiteral("error"),
            QStringLiteral("-f"),
            QStringLiteral("lavfi"),
            QStringLiteral("-i"),
            QStringLiteral("color=0x00ff00:s=8192x8192"),
            QStringLiteral("-frames:v"),
            QStringLiteral("1"),
            path });
    QVERIFY2(maker.waitForFinished(300'000) && maker.exitCode() == 0,
        maker.readAllStandardError().constData());
    QCOMPARE(loadImage(path)->size(), (FrameSize { 8192, 8192 }));
}

void LoadImageTest::frameHoldsTheImagesBytes()
{
    QImage odd(3, 2, QImage::Format_RGB888); // rows are padded
    odd.fill(QColor(1, 2, 3));
    const FramePtr frame = toFrame(odd);
    QCOMPARE(frame->pixels.size(), std::size_t { 24 });
    for (std::size_t pixel = 0; pixel < 24; pixel += 4) {
        QCOMPARE(frame->pixels[pixel], std::uint8_t { 1 });
        QCOMPARE(frame->pixels[pixel + 2], std::uint8_t { 3 });
        QCOMPARE(frame->pixels[pixel + 3], std::uint8_t { 255 });
    }
    QVERIFY_EXCEPTION_THROWN((void)toFrame(QImage()), Error);
}

NIMBARA_TEST(LoadImageTest)
#include "load_image_test.moc"
