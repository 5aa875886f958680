#include "media/sources/retirement.h"
#include "poll.h"
#include "support/fake_device.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>

namespace nimbara::testing {

namespace {

constexpr std::int32_t width = 320;
constexpr std::int32_t height = 180;
constexpr const char *silentSource = "appsrc is-live=true";

} // namespace

class MediaIntakeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void showsTestBars()
    {
        const auto media = open({});
        QCOMPARE(media->label(), QStringLiteral("fuente=videotestsrc (prueba) pedido=video/x-raw"));
        QVERIFY(!media->isDevice());
        QVERIFY(!media->frame());

        QVERIFY(pollUntil(*media, [&] { return media->frameCount() >= 1; }));
        QCOMPARE(media->frame()->size(), (FrameSize { width, height }));
        QVERIFY(media->frame()->opaque);
        for (std::size_t alpha = 3; alpha < media->frame()->pixels.size(); alpha += 4) {
            QCOMPARE(media->frame()->pixels[alpha], std::uint8_t { 255 });
        }
        QVERIFY(media->label().contains(QStringLiteral(" primer cuadro caps=video/x-raw, ")));
        QVERIFY(media->label().contains(QStringLiteral(" fuente caps=video/x-raw, ")));

        const FramePtr first = media->frame();
        const QString label = media->label();
        QVERIFY(pollUntil(*media, [&] { return media->frameCount() >= 3; }));
        QVERIFY(media->frame() != first);
        QCOMPARE(media->label(), label);
        QVERIFY(media->active());
        QVERIFY(media->audioFifo().empty());
        QCOMPARE(media->takeMessage(), QString());
    }

    void describesADevice()
    {
        const auto media = open(fakeDevice({ .name = "Cámara del coro",
            .caps = "video/x-raw,width=64,height=48;video/x-raw,width=640,height=360" }));
        QVERIFY(media->isDevice());
        QCOMPARE(media->label(),
            QStringLiteral(
                "fuente=videotestsrc (dispositivo) nombre=Cámara del coro device-index=-1 "
                "pedido=video/x-raw, width=(int)640, height=(int)360"));
    }

    /// Whatever pixel shape the device declares, its pixels are taken as square.
    void letterboxesADevice()
    {
        const auto media = open(
            fakeDevice({ .opens = "videotestsrc is-live=true pattern=white ! capsfilter "
                                  "caps=video/x-raw,width=90,height=90,pixel-aspect-ratio=2/1" }));
        QVERIFY(pollUntil(*media, [&] { return media->frame() != nullptr; }));
        const Frame &frame = *media->frame();
        const double edge = 70.0 / width; // a square of 180 pixels in the middle
        QCOMPARE(pixelAt(frame, 0.5, 0.5), (std::array { 255, 255, 255, 255 }));
        QCOMPARE(pixelAt(frame, edge + 0.04, 0.5), (std::array { 255, 255, 255, 255 }));
        QCOMPARE(pixelAt(frame, edge - 0.04, 0.5), (std::array { 0, 0, 0, 255 }));
    }

    void marksOpaquePictures()
    {
        const std::vector<std::tuple<const char *, QByteArray, bool>> rows {
            { "YUY2", QByteArray("YUY2"), true },
            { "RGB", QByteArray("RGB"), true },
            { "padding instead of alpha", QByteArray("BGRx"), true },
            { "alpha", QByteArray("BGRA"), false },
            { "planar alpha", QByteArray("A420"), false },
        };
        for (const auto &[name, format, opaque] : rows) {
            const RowName named(name);
            // Raw zeros: padding and alpha alike are 0.
            const QTemporaryDir folder;
            QFile zeros(folder.filePath(QStringLiteral("zeros")));
            QVERIFY(zeros.open(QIODevice::WriteOnly) && zeros.resize(1'000'000));
            const std::string opens = "filesrc location=" + zeros.fileName().toStdString()
                + " ! rawvideoparse width=64 height=36 format=" + format.toLower().toStdString();
            const auto media = open(fakeDevice({ .opens = opens }));
            QVERIFY(pollUntil(*media, [&] { return media->frame() != nullptr; }));
            QCOMPARE(media->frame()->opaque, opaque);
            QCOMPARE(pixelAt(*media->frame(), 0.5, 0.5)[3], opaque ? 255 : 0);
        }
    }

    void declaresSilence()
    {
        const std::vector<std::tuple<const char *, bool, std::int64_t, QString>> rows {
            { "device",
                true,
                std::int64_t { 4'000'000 },
                QStringLiteral("Cámara sin cuadros; se vuelve a abrir") },
            { "other",
                false,
                std::int64_t { 10'000'000 },
                QStringLiteral("Fuente sin frames durante 10 segundos") },
        };
        for (const auto &[name, device, limitUs, message] : rows) {
            const RowName named(name);
            // A screen that shows nothing stands for every source that is not a device.
            const ScreenElements screens { { "appsrc", { { "is-live", true } } } };
            const auto quiet = device ? fakeDevice({ .opens = silentSource }) : DeviceRef();
            Media media(m_clock, width, height, quiet.get(), QString(), true, !device, screens);
            m_clock.advanceUs(limitUs);
            media.pollSource();
            QVERIFY(media.active());
            m_clock.advanceUs(1);
            media.pollSource();
            QVERIFY(!media.active());
            QVERIFY(!media.ended());
            QCOMPARE(media.takeMessage(), message);
            QCOMPARE(media.takeMessage(), QString());
        }
    }

    void endsWithItsDevice()
    {
        const auto media = open(fakeDevice({ .opens = "videotestsrc is-live=true num-buffers=3" }));
        QVERIFY(pollUntil(*media, [&] { return !media->active(); }));
        QVERIFY(media->ended());
        QCOMPARE(media->takeMessage(), QString());
        QVERIFY(media->frame());
        const auto count = media->frameCount();
        m_clock.advanceUs(60'000'000);
        media->pollSource();
        QCOMPARE(media->frameCount(), count);
        QCOMPARE(media->takeMessage(), QString());
    }

    void reportsADeviceError()
    {
        const auto media
            = open(fakeDevice({ .opens = "videotestsrc is-live=true ! identity error-after=3" }));
        QVERIFY(pollUntil(*media, [&] { return !media->active(); }));
        QVERIFY(!media->ended());
        const QString message = media->takeMessage().spanish();
        QVERIFY2(message.startsWith(QStringLiteral("Fuente sin señal: Failed after iterations as "
                                                   "requested. [")),
            qPrintable(message));
        QVERIFY(message.endsWith(QLatin1Char(']')));
        QVERIFY(!media->frame());
    }

    /// A device whose opening blocks, as that of a camera that has just gone: the interface thread
    /// is not held, the watchdog runs, and the pipeline goes once the opening comes back.
    void survivesASlowDevice()
    {
        const QTemporaryDir folder;
        const QByteArray pipe = QFile::encodeName(folder.filePath(QStringLiteral("pipe")));
        QCOMPARE(mkfifo(pipe.constData(), 0600), 0);
        auto media = open(fakeDevice({ .opens = "filesrc location=" + pipe.toStdString()
                + " ! rawvideoparse width=16 height=16 format=rgba" }));
        media->pollSource();
        QVERIFY(media->active());
        m_clock.advanceUs(4'000'001);
        media->pollSource();
        QCOMPARE(media->takeMessage(), QStringLiteral("Cámara sin cuadros; se vuelve a abrir"));

        Retirement retirement;
        retirement.retire(std::move(media));
        retirement.reap();
        QCOMPARE(retirement.pending(), 1U);
        const auto answered = [&] {
            QFile writer(QString::fromUtf8(pipe)); // lets one reader in; the element tries twice
            writer.open(QIODevice::ReadWrite | QIODevice::Unbuffered);
            retirement.reap();
            return retirement.pending() == 0;
        };
        QTRY_VERIFY_WITH_TIMEOUT(answered(), 20'000);
    }

    void reportsALateRefusal()
    {
        const QTemporaryDir folder;
        const QByteArray pipe = QFile::encodeName(folder.filePath(QStringLiteral("pipe")));
        QCOMPARE(mkfifo(pipe.constData(), 0600), 0);
        // The sink, which starts first, waits for a reader of the pipe; then its source has no
        // file.
        const auto media
            = open(fakeDevice({ .opens = "filesrc location=/nonexistent ! filesink location="
                    + pipe.toStdString() + " videotestsrc is-live=true" }));
        media->pollSource();
        QVERIFY(media->active());
        QFile reader(QString::fromUtf8(pipe));
        QVERIFY(reader.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
        QVERIFY(pollUntil(*media, [&] { return !media->active(); }));
        // GStreamer's own words are better than ours, when they are there in time.
        const QString message = media->takeMessage().spanish();
        QVERIFY2(message == QStringLiteral("No se pudo iniciar fuente")
                || message.startsWith(QStringLiteral("Fuente sin señal: Resource not found. [")),
            qPrintable(message));
    }

    void refusesPicturesThatAreTooLarge()
    {
        Media media(m_clock, Frame::maxSide + 8, 16, nullptr, QString(), true, false);
        QVERIFY(pollUntil(media, [&] { return !media.active(); }));
        QCOMPARE(media.takeMessage(), QStringLiteral("Invalid frame dimensions"));
    }

private:
    std::unique_ptr<Media> open(const DeviceRef &device)
    {
        return std::make_unique<Media>(m_clock,
            width,
            height,
            device.get(),
            QString(),
            true,
            false);
    }

    ManualClock m_clock;
};

} // namespace nimbara::testing

using nimbara::testing::MediaIntakeTest;
NIMBARA_TEST(MediaIntakeTest)

#include "media_intake_test.moc"
