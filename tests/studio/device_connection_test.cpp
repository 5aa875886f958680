#include "studio/projects/profile_change.h"
#include "studio/studio_fixture.h"
#include "support/clips.h"
#include "support/fake_permission.h"
#include "support/test_registry.h"
#include "support/virtual_device.h"

#include <optional>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

using DevicePtr = std::unique_ptr<VirtualDevice>;

/// Devices whose node is named like them.
DevicePtr camera(const QString &name, const QString &colour, FrameSize size)
{
    return std::make_unique<VirtualDevice>(VirtualDevice::camera(name, name, colour, size));
}
DevicePtr microphone(const QString &name, int rate, int channels)
{
    return std::make_unique<VirtualDevice>(VirtualDevice::microphone(name, name, rate, channels));
}

bool isRed(const QColor &color)
{
    return color.red() > 200 && color.green() < 60 && color.blue() < 60;
}
/// A studio that has listed the devices.
struct DeviceFixture : StudioFixture {
    DeviceLists devices;
    int before = 0;
    int after = 0;

    explicit DeviceFixture(StudioPeers peers = {})
        : StudioFixture(std::move(peers))
    {
        QObject::connect(&studio.devices(),
            &DeviceConnection::devicesFound,
            &studio,
            [this](const DeviceLists &found) { devices = found; });
        QObject::connect(&studio.audio(),
            &AudioInput::levelsMeasured,
            &studio,
            [this](int input, int output) {
                before = input;
                after = output;
            });
    }
    bool findDevices(std::size_t video, std::size_t audio)
    {
        return runUntil([&, tries = 0]() mutable {
            if (tries++ % 400 == 0) {
                studio.devices().refreshDevices();
                studio.devices().refreshDevices(); // the result is that of the second
            }
            return devices.video.size() == video && devices.audio.size() == audio;
        });
    }
    DeviceChoice choose(const QString &video, const QString &audio) const
    {
        return testing::choose(devices, video, audio);
    }
    /// Polls with the clock at a stand, so that no source is given up before it has started.
    template <typename Condition> bool pollUntil(Condition condition)
    {
        return QTest::qWaitFor(
            [&] {
                studio.tick();
                return condition();
            },
            60'000);
    }
    /// Connects and waits for what the studio says to it.
    QString connected(const DeviceChoice &choice)
    {
        statuses.clear();
        studio.devices().connectSources(choice);
        static_cast<void>(pollUntil([&] { return !statuses.isEmpty(); }));
        return statuses.join(QLatin1Char('|'));
    }
};

} // namespace

class DeviceConnectionTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void aConnectedCameraComesBackByItself()
    {
        auto altar = camera(u"Altar"_s, u"red"_s, { 1280, 720 });
        const auto choir = camera(u"Coro"_s, u"blue"_s, { 640, 480 });
        auto console = microphone(u"Consola"_s, 44100, 1);
        const auto room = microphone(u"Ambiente"_s, 48000, 2);
        DeviceFixture desk;
        QVERIFY(desk.findDevices(2, 2));
        const DeviceChoice choice = desk.choose(u"Altar"_s, u"Consola"_s);
        QCOMPARE(desk.connected(choice), QString::fromUtf8(opened));
        desk.studio.program().take();
        QVERIFY(desk.pollUntil([&] { return desk.studio.sources().cameraFrame() != nullptr; }));
        QVERIFY(desk.runUntil([&] { return isRed(centre(desk.pictures.streams)); }));
        const auto isHeard = [&] { return desk.before > meterValue(0.5); };
        QVERIFY(desk.runUntil(isHeard));
        const MediaPtr connected = desk.studio.sources().camera();
        QCOMPARE(desk.connected(choice), QString::fromUtf8(opened));
        QCOMPARE(desk.studio.sources().camera(), connected); // no flicker

        altar->unplug();
        QVERIFY(desk.runUntil([&] {
            return desk.told("Cámara sin cuadros; se vuelve a abrir")
                || desk.told("Fuente sin señal: ");
        }));
        QVERIFY(desk.runUntil([&] { return centre(desk.pictures.streams) == QColor(Qt::black); }));
        const QString place = desk.studio.sources().cameraDevice()->place;
        for (int i = 0; i < 300; ++i) { // it is searched for, and the other camera met
            const int frames = desk.frames;
            desk.frame();
            QTest::qWait(3);
            QCOMPARE(desk.frames, frames + 1);
            QCOMPARE(centre(desk.pictures.streams), QColor(Qt::black));
        }

        // The system gives it another number.
        altar = camera(u"Altar"_s, u"red"_s, { 1280, 720 });
        QVERIFY(desk.runUntil([&] { return isRed(centre(desk.pictures.streams)); }));
        const MediaPtr reopened = desk.studio.sources().camera();
        QVERIFY(reopened != connected);
        QVERIFY(desk.studio.sources().cameraDevice()->place != place);

        console->unplug();
        QVERIFY(desk.runUntil([&] { return desk.before == 0 && desk.after == 0; }));
        QVERIFY(desk.runUntil([&] { return desk.told("Audio detenido; video continúa. "); }));
        QCOMPARE(desk.studio.audio().capture(), nullptr);
        QVERIFY(desk.studio.audio().fifo().empty());
        QCOMPARE(desk.studio.audio().lostDevice(), QStringLiteral("Consola"));
        QVERIFY(isRed(centre(desk.pictures.streams)));
        console = microphone(u"Consola"_s, 44100, 1);
        QVERIFY(desk.runUntil([&] { return desk.before > 60; }));
        QCOMPARE(desk.studio.audio().lostDevice(), QString());

        // The lists are the old ones; what works is left alone.
        const AudioCapture *capture = desk.studio.audio().capture();
        QCOMPARE(desk.connected(choice), QString::fromUtf8(opened));
        QCOMPARE(desk.studio.sources().camera(), reopened);
        QCOMPARE(desk.studio.audio().capture(), capture);
    }

    /// A camera that is gone, and a choice that names no device at all.
    void whatIsNotThereIsReplacedByNothing()
    {
        auto altar = camera(u"Altar"_s, u"red"_s, { 640, 480 });
        const auto console = microphone(u"Consola"_s, 48000, 2);
        DeviceFixture desk;
        QVERIFY(desk.findDevices(1, 1));
        const DeviceChoice choice = desk.choose(u"Altar"_s, u"Consola"_s);
        altar->unplug();
        // The service takes a moment to notice.
        const QString away = u"Cámara: el dispositivo no está conectado"_s;
        QVERIFY(desk.runUntil([&] {
            return desk.connected(choice) == away
                || desk.connected({ 0, 0 }) != QString::fromUtf8(opened);
        }));
        QCOMPARE(desk.statuses, QStringList { away });
        QCOMPARE(desk.studio.sources().cameraIndex(), Sources::testBars);
        QVERIFY(desk.pollUntil([&] { return desk.studio.audio().capture() != nullptr; }));
        const AudioCapture *heard = desk.studio.audio().capture(); // all the same
        for (const std::int32_t entry : { -1, 7 }) {
            QCOMPARE(desk.connected({ 0, entry }),
                QStringLiteral("Audio: el dispositivo no está conectado"));
            QCOMPARE(desk.studio.audio().capture(), heard); // no test tone
        }
    }

    void permissionIsAskedAndAnswered()
    {
        constexpr auto granted = PermissionStatus::Granted;
        constexpr auto denied = PermissionStatus::Denied;
        for (const auto &[kind, answer] : { std::pair { CaptureKind::Camera, granted },
                 { CaptureKind::Camera, denied },
                 { CaptureKind::Microphone, granted },
                 { CaptureKind::Microphone, denied } }) {
            const RowName named(QByteArray(answer == granted ? "granted " : "denied ")
                + (kind == CaptureKind::Camera ? "camera" : "microphone"));
            answerPermission(kind, answer);
        }
    }

    void aNewShapeRebuildsTheStreamsAlone()
    {
        // A picture of this program's own stands for the screen.
        const SystemClock clock;
        const MediaFactory factory(clock,
            std::make_shared<Retirement>(),
            { { "videotestsrc", { { "is-live", true } } } });
        const auto altar = camera(u"Altar"_s, u"red"_s, { 640, 480 });
        const QString video = clip({});
        DeviceFixture desk;
        QVERIFY(desk.findDevices(1, 0));
        QCOMPARE(desk.connected({ 1, 0 }), QString::fromUtf8(opened));
        const auto fill = [&](int set) {
            desk.studio.program().setEditSet(set);
            desk.setLayers({});
            desk.studio.layers().addVideoFile(video);
            const Layer screen = newLayer(LayerKind::Screen);
            desk.studio.sources().pool().put(screen, factory.screen(landscapeSize));
            addLayer(desk.studio.document(), screen);
            desk.studio.program().take();
        };
        fill(1);
        fill(0);
        const auto sources = [&](SceneSet set) {
            std::vector<MediaPtr> all;
            for (const Layer &layer : desk.studio.document().scenes().of(set)[0]->layers) {
                all.push_back(desk.studio.sources().pool().find(layer));
            }
            return all;
        };
        const auto hall = sources(SceneSet::Hall);
        std::vector<std::weak_ptr<Media>> old { desk.studio.sources().camera() };
        for (const MediaPtr &source : sources(SceneSet::Streams)) {
            old.push_back(source);
        }
        QCOMPARE(old.size(), 3U);

        auto &onAir = const_cast<OnAir &>(desk.studio.onAir());
        for (const StreamProfile profile : { StreamProfile::Portrait, StreamProfile::Landscape }) {
            const FrameSize size = streamSize(profile);
            changeProfile(profile,
                factory,
                desk.studio.stage(),
                onAir,
                desk.studio.sources(),
                [](const Message &) {});
            desk.frame();
            QCOMPARE(desk.pictures.streams.size(), QSize(size.width, size.height));
            QCOMPARE(centre(desk.pictures.streams), QColor(Qt::black));
            QVERIFY(desk.pollUntil([&] {
                return std::all_of(old.begin(), old.end(), [](const auto &source) {
                    return source.expired();
                });
            }));
            std::vector<MediaPtr> fresh = sources(SceneSet::Streams);
            fresh.push_back(desk.studio.sources().camera());
            QVERIFY(desk.pollUntil([&] {
                return std::all_of(fresh.begin(), fresh.end(), [&](const MediaPtr &source) {
                    return source && source->frame() && source->frame()->size() == size;
                });
            }));
            old.assign(fresh.begin(), fresh.end());
            QCOMPARE(sources(SceneSet::Hall), hall);
        }
        QCOMPARE(desk.connected({ 1, 0 }), QString::fromUtf8(opened));
        QVERIFY(desk.studio.sources().cameraDevice());
    }

private:
    static void answerPermission(CaptureKind kind, PermissionStatus answer)
    {
        const auto altar = camera(u"Altar"_s, u"red"_s, { 640, 480 });
        const auto console = microphone(u"Consola"_s, 48000, 2);
        const bool isCamera = kind == CaptureKind::Camera;
        const QString blocked = isCamera
            ? u"macOS bloqueó la cámara. Ve a Configuración del Sistema → "
              "Privacidad y seguridad → Cámara y activa Vesperline."_s
            : u"macOS bloqueó el micrófono. Ve a Configuración del Sistema → "
              "Privacidad y seguridad → Micrófono y activa Vesperline."_s;
        auto owned = std::make_unique<FakePermission>(PermissionStatus::Granted);
        FakePermission &permission = *owned;
        permission.answer(kind, PermissionStatus::Undetermined);
        DeviceFixture desk({ std::move(owned) });
        QVERIFY(desk.findDevices(1, 1));
        DeviceChoice chosen = desk.choose(u"Altar"_s, u"Consola"_s);
        QObject::connect(&desk.studio.devices(),
            &DeviceConnection::permissionAnswered,
            &desk.studio,
            [&] { desk.studio.devices().connectSources(chosen); });
        const auto nothingBuilt = [&, bars = desk.studio.sources().camera()] {
            return desk.studio.sources().camera() == bars && !desk.studio.audio().capture();
        };
        QCOMPARE(desk.connected({ 0, 0 }), QString::fromUtf8(opened));
        QVERIFY(permission.asked().empty()); // nothing to ask for
        QCOMPARE(desk.connected(chosen),
            isCamera ? u"Pidiendo permiso de cámara a macOS..."_s
                     : u"Pidiendo permiso de micrófono a macOS..."_s);
        QVERIFY(nothingBuilt());

        desk.statuses.clear();
        permission.answer(kind, answer);
        QVERIFY(desk.runUntil([&] { return !desk.statuses.isEmpty(); }));
        QCOMPARE(desk.statuses,
            QStringList {
                answer == PermissionStatus::Denied ? blocked : QString::fromUtf8(opened) });
        QCOMPARE(permission.asked(), std::vector { kind });
        if (answer == PermissionStatus::Denied) {
            QVERIFY(nothingBuilt());
            permission.answer(kind, PermissionStatus::Granted); // in the settings
            QCOMPARE(desk.connected(chosen), QString::fromUtf8(opened));
        }
        QVERIFY(desk.studio.sources().cameraDevice());
        QVERIFY(desk.studio.audio().capture());
    }
};

NIMBARA_TEST(DeviceConnectionTest)
#include "device_connection_test.moc"
