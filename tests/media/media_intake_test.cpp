#include "base/clock.h"
#include "base/secret_texts.h"
#include "media/capture/device_trouble.h"
#include "media/sources/media_factory.h"
#include "media/sources/retirement.h"
#include "poll.h"
#include "support/fake_device.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"

#include <QProcess>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr std::int32_t width = 320;
constexpr std::int32_t height = 180;
constexpr FrameSize size { 160, 90 };

} // namespace

class MediaIntakeTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void showsTestBars()
    {
        const auto media = open({});
        QCOMPARE(media->label(), u"fuente=videotestsrc (prueba) pedido=video/x-raw"_s);
        QVERIFY(!media->isDevice());
        QVERIFY(!media->frame());

        QVERIFY(pollUntil(*media, [&] { return media->frameCount() >= 1; }));
        QCOMPARE(media->frame()->size(), (FrameSize { width, height }));
        QVERIFY(media->frame()->opaque);
        for (std::size_t alpha = 3; alpha < media->frame()->pixels.size(); alpha += 4) {
            QCOMPARE(media->frame()->pixels[alpha], std::uint8_t { 255 });
        }
        QVERIFY(media->label().contains(u" primer cuadro caps=video/x-raw, "_s));
        QVERIFY(media->label().contains(u" fuente caps=video/x-raw, "_s));

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
        const auto media = open(fakeDevice({ .name = "Cámara del coro" }),
            DeviceMode { .format = u"UYVY"_s, .size = { 640, 360 }, .rate = { 25, 1 } });
        QVERIFY(media->isDevice());
        QCOMPARE(media->label(),
            u"fuente=videotestsrc (dispositivo) nombre=Cámara del coro device-index=-1 "
            "pedido=video/x-raw, format=(string)UYVY, width=(int)640, height=(int)360, "
            "framerate=(fraction)25/1"_s);
    }

    void decodesWhatADeviceCodes()
    {
        for (const auto &[coding, encoder] : { std::pair { PictureCoding::Jpeg, "jpegenc" },
                 { PictureCoding::H264, "openh264enc" } }) {
            const RowName named(encoder);
            const auto media
                = open(fakeDevice({ .opens
                           = std::string("videotestsrc is-live=true pattern=red ! ") + encoder }),
                    DeviceMode { coding, {}, { width, height }, { 30, 1 } });
            QVERIFY(pollUntil(*media, [&] { return media->frameCount() >= 3; }));
            const auto [red, green, blue, alpha] = pixelAt(*media->frame(), 0.5, 0.5);
            QVERIFY(red > 200 && green < 40 && blue < 40 && alpha == 255);
            QVERIFY(media->frame()->opaque);
        }
    }

    /// What a bad cable makes of pictures in a row is lost; those after it are not.
    void aDamagedPictureIsLostAlone()
    {
        const QTemporaryDir folder;
        for (int number = 0; number < 20; ++number) {
            QImage picture(width, height, QImage::Format_RGB32);
            picture.fill(number == 0 ? Qt::red : Qt::blue);
            QFile file(folder.filePath(u"%1.jpg"_s.arg(number)));
            QVERIFY(file.open(QIODevice::WriteOnly) && picture.save(&file, "JPG"));
            const bool damaged = number > 0 && number < 19;
            QVERIFY(!damaged || (file.seek(2) && file.write(QByteArray(file.size() - 2, 'x')) > 0));
        }
        const std::string opens = "multifilesrc location=" + folder.path().toStdString()
            + "/%d.jpg caps=image/jpeg,width=320,height=180,framerate=30/1 ! "
              "identity sleep-time=20000";
        const auto media = open(fakeDevice({ .opens = opens }),
            DeviceMode { PictureCoding::Jpeg, {}, { width, height }, { 30, 1 } });
        std::vector<int> reds;
        QVERIFY(pollUntil(*media, [&] {
            if (media->frameCount() > reds.size()) {
                reds.push_back(pixelAt(*media->frame(), 0.5, 0.5)[0]);
            }
            return !media->active();
        }));
        QVERIFY(media->ended());
        QCOMPARE(media->takeMessage(), QString());
        QCOMPARE(reds.size(), 2U);
        QVERIFY(reds[0] > 240 && reds[1] < 15);
    }

    void marksOpaquePictures()
    {
        // Raw zeros: padding and alpha alike are 0.
        const QTemporaryDir folder;
        QFile zeros(folder.filePath(u"zeros"_s));
        QVERIFY(zeros.open(QIODevice::WriteOnly) && zeros.resize(1'000'000));
        for (const auto &[format, opaque] : { std::pair { "yuy2", true },
                 { "rgb", true },
                 { "bgrx", true }, // padding instead of alpha
                 { "bgra", false },
                 { "a420", false } }) {
            const RowName named(format);
            const std::string opens = "filesrc location=" + zeros.fileName().toStdString()
                + " ! rawvideoparse width=64 height=36 format=" + format;
            const auto media = open(fakeDevice({ .opens = opens }));
            QVERIFY(pollUntil(*media, [&] { return media->frame() != nullptr; }));
            QCOMPARE(media->frame()->opaque, opaque);
            QCOMPARE(pixelAt(*media->frame(), 0.5, 0.5)[3], opaque ? 255 : 0);
        }
    }

    void declaresSilence()
    {
        for (const auto &[device, limitUs, message] :
            { std::tuple { true, 4'000'000, "Cámara sin cuadros; se vuelve a abrir" },
                { false, 10'000'000, "Fuente sin frames durante 10 segundos" } }) {
            const RowName named(message);
            // A screen that shows nothing stands for every source that is not a device.
            const ScreenElements screens { { "appsrc", { { "is-live", true } } } };
            const auto quiet
                = device ? fakeDevice({ .opens = "appsrc is-live=true" }) : DeviceRef();
            Media media(m_clock,
                { .size = size, .device = quiet.get(), .screen = !device },
                screens);
            QTRY_COMPARE(media.startOutcome(), PipelineStart::Outcome::Accepted);
            m_clock.advanceUs(device ? 3'900'000 : 0); // its answer took so long
            media.pollSource();
            m_clock.advanceUs(limitUs);
            media.pollSource();
            QVERIFY(media.active());
            m_clock.advanceUs(1);
            media.pollSource();
            QVERIFY(!media.active());
            QVERIFY(!media.ended());
            QCOMPARE(media.takeMessage(), QString::fromUtf8(message));
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
        QVERIFY2(message.startsWith(u"Fuente sin señal: Failed after iterations as "
                                    "requested. ["_s),
            qPrintable(message));
        QVERIFY(message.endsWith(u']'));
        QVERIFY(!media->frame());
    }

    /// What the operator can do something about, in whatever words the system tells it.
    void namesTheTroubleOfADevice()
    {
        const QTemporaryDir folder;
        const QString file = folder.filePath(u"video0"_s);
        const auto trouble = [&](int code, const char *said) {
            const GErrorPtr error(g_error_new_literal(GST_RESOURCE_ERROR, code, said));
            return troubleOf(*error, u"../v4l2src.c(1): "_s, file).spanish();
        };
        QFile held(file);
        QVERIFY(held.open(QIODevice::WriteOnly)); // our own handle is no trouble
        QProcess other;
        other.start(u"tail"_s, { u"-f"_s, file });
        const std::tuple<int, const char *, QString> rows[] {
            { GST_RESOURCE_ERROR_BUSY,
                "El dispositivo está ocupado",
                u"tail usa la cámara; ciérralo."_s },
            { GST_RESOURCE_ERROR_FAILED, "stream error: Device or resource busy", u"tail usa"_s },
            { GST_RESOURCE_ERROR_FAILED, std::strerror(ENOSPC), u"el bus USB está lleno"_s },
            { GST_RESOURCE_ERROR_OPEN_READ, "Permission denied", u"no hay permiso"_s },
        };
        QTRY_COMPARE(programUsing(file), u"tail"_s);
        for (const auto &[code, said, told] : rows) {
            const RowName row(said);
            QVERIFY2(trouble(code, said).startsWith(told), qPrintable(trouble(code, said)));
        }
        other.kill();
        QVERIFY(other.waitForFinished());
        QCOMPARE(trouble(GST_RESOURCE_ERROR_BUSY, "busy"),
            u"otro programa usa la cámara; ciérralo."_s);
        QCOMPARE(trouble(GST_RESOURCE_ERROR_FAILED, "Internal data stream error."), QString());
    }

    /// A device whose opening blocks, as that of a camera that has just gone: the interface thread
    /// is not held, the watchdog runs, and the pipeline goes once the opening comes back.
    void survivesASlowDevice()
    {
        const QTemporaryDir folder;
        const QByteArray pipe = QFile::encodeName(folder.filePath(u"pipe"_s));
        QCOMPARE(mkfifo(pipe.constData(), 0600), 0);
        auto media = open(fakeDevice({ .opens = "filesrc location=" + pipe.toStdString()
                + " ! rawvideoparse width=16 height=16 format=rgba" }));
        media->pollSource();
        QVERIFY(media->active());
        m_clock.advanceUs(4'000'001);
        media->pollSource();
        QCOMPARE(media->takeMessage(), u"Cámara sin cuadros; se vuelve a abrir"_s);

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
        QTRY_VERIFY(answered());
    }

    void reportsALateRefusal()
    {
        const QTemporaryDir folder;
        const QByteArray pipe = QFile::encodeName(folder.filePath(u"pipe"_s));
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
        QVERIFY2(message == u"No se pudo iniciar fuente"_s
                || message.startsWith(u"Fuente sin señal: Resource not found. ["_s),
            qPrintable(message));
    }

    void refusesPicturesThatAreTooLarge()
    {
        Media media(m_clock, { .size = { Frame::maxSide + 8, 16 } });
        QVERIFY(pollUntil(media, [&] { return !media.active(); }));
        QCOMPARE(media.takeMessage(), u"Invalid frame dimensions"_s);
    }

private:
    std::unique_ptr<Media> open(const DeviceRef &device, std::optional<DeviceMode> mode = {})
    {
        return std::make_unique<Media>(m_clock,
            SourceRequest { { width, height }, device.get(), std::move(mode) });
    }

    ManualClock m_clock;
};

class MediaFactoryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void checksLocations()
    {
        for (const char *good : { "file:///srv/coro y órgano.mp4",
                 "https://host/a.m3u8",
                 "http://host:8080/a.webm?x=1",
                 "rtsps://camera/stream",
                 "srt://encoder:9000?mode=caller",
                 "rtmps://host/live/one" }) {
            const QString location = QString::fromUtf8(good);
            QCOMPARE(checkedMediaLocation(location), location);
            const qsizetype scheme = location.indexOf(u':');
            QCOMPARE(checkedMediaLocation(
                         u" \t"_s + location.left(scheme).toUpper() + location.mid(scheme) + u'\n'),
                location);
        }
        static_cast<void>(
            checkedMediaLocation(u"rtsp://pastor:1@camera/x?token=t0ken&action=stream"_s));
        static_cast<void>(checkedMediaLocation(u"rtmp://host/live/k3y-one"_s));
        static_cast<void>(checkedMediaLocation(u"http://host/x?abcd1234efgh5678&s3cr3t&mute"_s));
        QCOMPARE(withoutSecrets(u"rtsp://pastor:1@camera/x?token=t0ken, k3y-one, live, stream"_s),
            u"rtsp://***camera/x?***, ***, live, stream"_s);
        QCOMPARE(withoutSecrets(u"http://host/x?abcd1234efgh5678&s3cr3t: abcd1234efgh5678, mute"_s),
            u"http://host/x******: ***, mute"_s);
        for (const QByteArray &bad :
            QByteArray("ftp://host/a.mp4 rist://host:9000 /srv/a.mp4 a.mp4 file "
                       "http://host:port/a http://[::1/a ")
                .split(' ')) {
            QCOMPARE(errorOf([&] { return m_factory.media(size, QString::fromUtf8(bad)); }),
                u"URL multimedia no compatible"_s);
        }
    }

    void namesWhatIsMissing()
    {
        const auto picture = u"Falta componente de fuente multimedia"_s;
        const auto sound = u"Faltan componentes para audio multimedia"_s;
        for (const QByteArray &element :
            QByteArray("videotestsrc capsfilter capssetter videoconvert videoscale appsink "
                       "audioconvert audioresample")
                .split(' ')) {
            const RowName named(element);
            const HiddenElement hidden(element.constData());
            const QString text = element.startsWith("audio") ? sound : picture;
            QCOMPARE(errorOf([&] { return m_factory.testBars(size); }), text);
        }
    }

    void refusesWhatDoesNotFit()
    {
        const auto camera = [&](const char *opens) {
            return refusal([&, device = fakeDevice({ .opens = opens })] {
                return m_factory.camera(size, device.get(), {});
            });
        };
        QCOMPARE(camera(""), u"Falta componente de fuente multimedia"_s);
        QCOMPARE(camera("audiotestsrc"), u"Fuente no ofrece video raw compatible"_s);
        QCOMPARE(camera("filesrc location=/nonexistent ! rawvideoparse"),
            u"No se pudo iniciar fuente"_s);
        QCOMPARE(refusal([&] { return m_factory.media(size, u"file:///nonexistent"_s); }),
            u"No se pudo iniciar fuente"_s);
    }

    void picksTheScreenElement()
    {
        for (const auto &[session, x11] : { std::pair { DesktopSession { {}, ":0", "x11" }, true },
                 { DesktopSession { {}, ":0", {} }, true },
                 { DesktopSession { "wayland-0", ":0", "wayland" }, false }, // has an X server
                 { DesktopSession { {}, ":0", "wayland" }, false },
                 { DesktopSession {}, false } }) {
            const ScreenElements elements = screenElements(session);
            QCOMPARE(elements.size(), x11 ? 2U : 1U);
            QCOMPARE(elements.front().factory, std::string("avfvideosrc"));
            QCOMPARE(elements.back().factory, std::string(x11 ? "x11screensrc" : "avfvideosrc"));
        }
    }

    void capturesTheScreen()
    {
        const MediaFactory none(m_clock, m_retirement, screenElements({}));
        QCOMPARE(errorOf([&] { return none.screen(size); }),
            u"Captura de pantalla no disponible en este sistema"_s);

        const ScreenElements two { { "none", {} }, { "videotestsrc", { { "is-live", true } } } };
        const MediaFactory second(m_clock, m_retirement, two);
        const MediaPtr screen = second.screen(size);
        QCOMPARE(screen->label(), u"fuente=videotestsrc (pantalla) pedido=video/x-raw"_s);
        QVERIFY(!screen->isDevice());
        QVERIFY(pollUntil(*screen, [&] { return screen->frame() != nullptr; }));
    }

    void destroysOnABackgroundTask()
    {
        // Sources of the tests before.
        QTRY_VERIFY_WITH_TIMEOUT((m_retirement->reap(), m_retirement->pending() == 0), 20'000);
        MediaPtr layer = m_factory.testBars(size);
        MediaPtr copied = layer;
        layer.reset();
        m_retirement->reap();
        QCOMPARE(m_retirement->pending(), 0U);
        copied.reset();
        QVERIFY(m_retirement->pending() <= 1U);
        QTRY_VERIFY_WITH_TIMEOUT((m_retirement->reap(), m_retirement->pending() == 0), 20'000);
    }

private:
    SystemClock m_clock;
    std::shared_ptr<Retirement> m_retirement = std::make_shared<Retirement>();
    MediaFactory m_factory { m_clock, m_retirement };
};

NIMBARA_TEST(MediaIntakeTest)
NIMBARA_TEST(MediaFactoryTest)
#include "media_intake_test.moc"
