#include "studio/studio_fixture.h"
#include "support/fake_permission.h"
#include "support/test_registry.h"
#include "support/virtual_device.h"

#include <memory>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

/// Devices whose node is named like them.
std::unique_ptr<VirtualDevice> camera(const QString &name, const QString &colour, FrameSize size)
{
    return std::make_unique<VirtualDevice>(VirtualDevice::camera(name, name, colour, size));
}

std::unique_ptr<VirtualDevice> microphone(const QString &name, int rate, int channels)
{
    return std::make_unique<VirtualDevice>(VirtualDevice::microphone(name, name, rate, channels));
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
        auto first = camera(QStringLiteral("Altar"), QStringLiteral("red"), { 1280, 720 });
        const auto second = camera(QStringLiteral("Coro"), QStringLiteral("blue"), { 640, 480 });
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

        first->unplug();
        const auto told = [&] {
            return desk.statuses.contains(QStringLiteral("Cámara sin cuadros; se vuelve a abrir"))
                || !desk.statuses.filter(QStringLiteral("Fuente sin señal: ")).isEmpty();
        };
        QVERIFY(desk.runUntil(told));
        QVERIFY(desk.runUntil([&] { return centre(desk.pictures.streams) == QColor(Qt::black); }));
        const int frames = desk.frames;
        desk.frame();
        QCOMPARE(desk.frames, frames + 1);

        // The system gives it another number.
        first = camera(QStringLiteral("Altar"), QStringLiteral("red"), { 1280, 720 });
        QVERIFY(desk.runUntil([&] { return isRed(centre(desk.pictures.streams)); }));
        QVERIFY(desk.studio.sources().camera() != connected);

        consola->unplug();
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
        const auto provider = camera(QStringLiteral("Altar"), QStringLiteral("red"), { 640, 480 });
        ManualClock clock;
        auto owned = std::make_unique<FakePermission>(PermissionStatus::Undetermined);
        FakePermission &permission = *owned;
        Studio studio(clock, StudioPeers { std::move(owned) });
        QStringList statuses;
        studio.status = [&](const QString &text) { statuses << text; };
        QStringList cameras;
        studio.devices().onDevices
            = [&](const QStringList &video, const QStringList &) { cameras = video; };
        QVERIFY(QTest::qWaitFor(
            [&, tries = 0]() mutable {
                if (tries++ % 50 == 0) {
                    studio.devices().refreshDevices();
                }
                studio.tick();
                return !cameras.isEmpty();
            },
            60'000));

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
