#include "studio/studio_fixture.h"
#include "support/fake_permission.h"
#include "support/test_registry.h"

#include <QProcess>

#include <memory>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

/// A camera or microphone in another process, as the system sees them.
class Provider {
public:
    Provider(const QString &name, const QString &mediaClass, const QStringList &source)
        : m_arguments(QStringList { QStringLiteral("-q") } + source
            + QStringList { QStringLiteral("!"),
                QStringLiteral("pipewiresink"),
                QStringLiteral("mode=provide"),
                QStringLiteral(
                    "stream-properties=p,media.class=%1,node.name=%2,node.description=%2")
                    .arg(mediaClass, name) })
    {
        start();
    }
    ~Provider() { stop(); }
    Provider(const Provider &) = delete;
    Provider &operator=(const Provider &) = delete;
    Provider(Provider &&) = delete;
    Provider &operator=(Provider &&) = delete;

    void start()
    {
        m_process.start(QStringLiteral("gst-launch-1.0"), m_arguments);
        m_process.waitForStarted();
    }
    void stop()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

private:
    QStringList m_arguments;
    QProcess m_process;
};

std::unique_ptr<Provider> camera(const QString &name, const QString &pattern, int width, int height)
{
    return std::make_unique<Provider>(name,
        QStringLiteral("Video/Source"),
        QStringList { QStringLiteral("videotestsrc"),
            QStringLiteral("is-live=true"),
            QStringLiteral("pattern=") + pattern,
            QStringLiteral("!"),
            QStringLiteral("video/x-raw,format=YUY2,framerate=30/1,width=%1,height=%2")
                .arg(width)
                .arg(height) });
}

std::unique_ptr<Provider> microphone(const QString &name, int rate, int channels)
{
    return std::make_unique<Provider>(name,
        QStringLiteral("Audio/Source"),
        QStringList { QStringLiteral("audiotestsrc"),
            QStringLiteral("is-live=true"),
            QStringLiteral("volume=0.5"),
            QStringLiteral("!"),
            QStringLiteral("audio/x-raw,rate=%1,channels=%2").arg(rate).arg(channels) });
}

/// A studio that has listed the devices.
struct DeviceFixture : StudioFixture {
    QStringList cameras;
    QStringList microphones;
    int before = 0;
    int after = 0;

    DeviceFixture()
    {
        studio.devices().onDevices = [this](const QStringList &video, const QStringList &audio) {
            cameras = video;
            microphones = audio;
        };
        studio.audio().onLevels = [this](int input, int output) {
            before = input;
            after = output;
        };
    }
    bool findDevices(int video, int audio)
    {
        return runUntil([&, tries = 0]() mutable {
            if (tries++ % 400 == 0) {
                studio.devices().refreshDevices();
            }
            return cameras.size() >= video && microphones.size() >= audio;
        });
    }
    int entryOf(const QStringList &list, const QString &name, int fixed) const
    {
        return static_cast<int>(list.indexOf(name)) + fixed;
    }
};

} // namespace

class DeviceConnectionTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void camerasAndMicrophonesAreListedConnectedAndFoundAgain()
    {
        auto first = camera(QStringLiteral("Altar"), QStringLiteral("red"), 1280, 720);
        const auto second = camera(QStringLiteral("Coro"), QStringLiteral("blue"), 640, 480);
        auto consola = microphone(QStringLiteral("Consola"), 44100, 1);
        const auto desk2 = microphone(QStringLiteral("Ambiente"), 48000, 2);
        DeviceFixture desk;
        QVERIFY2(desk.findDevices(2, 2), qPrintable(desk.cameras.join(QLatin1Char('|'))));
        QVERIFY(desk.cameras.contains(QStringLiteral("Coro")));
        QVERIFY(desk.microphones.contains(QStringLiteral("Ambiente")));

        const DeviceChoice choice { desk.entryOf(desk.cameras, QStringLiteral("Altar"), 1),
            desk.entryOf(desk.microphones, QStringLiteral("Consola"), 2) };
        desk.studio.devices().connectSources(choice);
        QCOMPARE(desk.statuses.last(),
            QStringLiteral("Fuentes abiertas. Prepara una escena y pulsa AL AIRE."));
        desk.studio.program().take();
        const auto isRed
            = [](const QColor &color) { return color.red() > 200 && color.blue() < 60; };
        QVERIFY(desk.runUntil([&] { return isRed(centre(desk.pictures.streams)); }));
        QVERIFY(desk.runUntil([&] { return desk.before > 60; }));

        const MediaPtr connected = desk.studio.sources().camera();
        desk.studio.devices().connectSources(choice);
        QCOMPARE(desk.studio.sources().camera(), connected); // no flicker

        first->stop();
        const auto told = [&] {
            return desk.statuses.contains(QStringLiteral("Cámara sin cuadros; se vuelve a abrir"))
                || !desk.statuses.filter(QStringLiteral("Fuente sin señal: ")).isEmpty();
        };
        QVERIFY(desk.runUntil(told));
        QVERIFY(desk.runUntil([&] { return centre(desk.pictures.streams) == QColor(Qt::black); }));
        const int frames = desk.frames;
        desk.frame();
        QCOMPARE(desk.frames, frames + 1);

        first->start(); // the system gives it another number
        QVERIFY(desk.runUntil([&] { return isRed(centre(desk.pictures.streams)); }));
        QVERIFY(desk.studio.sources().camera() != connected);

        consola->stop();
        QVERIFY(desk.runUntil([&] {
            return !desk.statuses.filter(QStringLiteral("Audio detenido; video continúa. "))
                        .isEmpty();
        }));
        QCOMPARE(desk.studio.audio().capture(), nullptr);
        QVERIFY(desk.studio.audio().fifo().empty());
        QVERIFY(isRed(centre(desk.pictures.streams)));
    }

    void permissionIsAskedAnsweredAndDenied()
    {
        const auto provider = camera(QStringLiteral("Altar"), QStringLiteral("red"), 640, 480);
        ManualClock clock;
        auto owned = std::make_unique<FakePermission>(PermissionStatus::Undetermined);
        FakePermission &permission = *owned;
        Studio studio(clock, StudioPeers { std::move(owned) });
        QStringList statuses;
        studio.status = [&](const QString &text) { statuses << text; };
        QStringList cameras;
        studio.devices().onDevices
            = [&](const QStringList &video, const QStringList &) { cameras = video; };
        studio.devices().refreshDevices();
        QTRY_VERIFY_WITH_TIMEOUT((studio.tick(), !cameras.isEmpty()), 30'000);

        const MediaPtr bars = studio.sources().camera();
        studio.devices().connectSources({ 0, 0 }); // nothing to ask for
        QVERIFY(permission.asked().empty());
        studio.devices().connectSources({ 1, 0 });
        QCOMPARE(statuses.last(), QStringLiteral("Pidiendo permiso de cámara a macOS..."));
        QCOMPARE(studio.sources().camera(), bars);
        permission.answer(CaptureKind::Camera, PermissionStatus::Denied);
        QVERIFY(statuses.last().startsWith(QStringLiteral("macOS bloqueó la cámara.")));
        QCOMPARE(studio.sources().camera(), bars);
        permission.answer(CaptureKind::Camera, PermissionStatus::Granted); // in the settings
        studio.devices().connectSources({ 1, 0 });
        QVERIFY(studio.sources().camera() != bars);
    }

    void aNewShapeRebuildsTheStreamsAlone()
    {
        StudioFixture desk;
        desk.studio.program().setEditSet(1);
        desk.setLayers({ colorLayer(Qt::blue) });
        desk.studio.program().take();
        desk.studio.program().setEditSet(0);
        desk.setLayers({ colorLayer(Qt::red) });
        desk.studio.program().take();
        desk.studio.changeProfile(StreamProfile::Portrait);
        desk.frame();
        QCOMPARE(desk.pictures.streams.size(), QSize(1080, 1920));
        QCOMPARE(centre(desk.pictures.streams), QColor(Qt::black));
        QCOMPARE(centre(desk.pictures.hall), QColor(Qt::blue));
        QVERIFY(desk.runUntil([&] {
            const FramePtr frame = desk.studio.sources().cameraFrame();
            return frame && frame->size() == portraitSize;
        }));
        desk.studio.changeProfile(StreamProfile::Landscape);
        desk.frame();
        QCOMPARE(desk.pictures.streams.size(), QSize(1920, 1080));
    }
};

NIMBARA_TEST(DeviceConnectionTest)
#include "device_connection_test.moc"
