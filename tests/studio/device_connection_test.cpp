#include "studio/projects/profile_change.h"
#include "studio/studio_fixture.h"
#include "support/clips.h"
#include "support/fake_device.h"
#include "support/fake_permission.h"
#include "support/test_registry.h"
#include "support/virtual_device.h"

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// Devices whose node is named like them.
std::optional<VirtualDevice> camera(const QString &name, FrameSize size = { 640, 480 })
{
    return VirtualDevice::camera(name, name, name == u"Altar" ? u"red"_s : u"blue"_s, size);
}
std::optional<VirtualDevice> microphone(const QString &name, int rate = 48000, int channels = 2)
{
    return VirtualDevice::microphone(name, name, rate, channels);
}

/// A studio that has listed the devices.
struct RealDevices : DeviceFixture {
    using DeviceFixture::DeviceFixture;

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
    /// The clock goes as the world's.
    template <typename Condition> bool livesUntil(Condition condition)
    {
        QElapsedTimer passed;
        passed.start();
        return QTest::qWaitFor(
            [&] { return frame(std::max<qint64>(passed.restart(), 1) * 1000), condition(); },
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
        auto altar = camera(u"Altar"_s, { 1280, 720 });
        const auto choir = camera(u"Coro"_s);
        auto console = microphone(u"Consola"_s, 44100, 1);
        const auto room = microphone(u"Ambiente"_s);
        RealDevices desk;
        QVERIFY(desk.findDevices(2, 2));
        const DeviceChoice choice = desk.choose(u"Altar"_s, u"Consola"_s);
        QCOMPARE(desk.connected(choice), QString::fromUtf8(opened));
        desk.studio.program().take();
        QVERIFY(desk.pollUntil([&] { return desk.studio.sources().cameraFrame() != nullptr; }));
        QVERIFY(desk.runUntil([&] { return isNear(centre(desk.pictures.streams), Qt::red, 55); }));
        const auto isHeard = [&] { return desk.levels.first > meterValue(0.5); };
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
        altar = camera(u"Altar"_s, { 1280, 720 });
        QVERIFY(desk.runUntil([&] { return isNear(centre(desk.pictures.streams), Qt::red, 55); }));
        const MediaPtr reopened = desk.studio.sources().camera();
        QVERIFY(reopened != connected);
        QVERIFY(desk.studio.sources().cameraDevice()->place != place);

        console->unplug();
        QVERIFY(desk.runUntil([&] { return desk.levels == std::pair(0, 0); }));
        QVERIFY(desk.runUntil([&] { return desk.told("Audio detenido; video continúa. "); }));
        QCOMPARE(desk.studio.audio().capture(), nullptr);
        QVERIFY(desk.studio.audio().fifo().empty());
        for (int i = 0; i < 200; ++i) { // it is searched for, and the other microphone met
            QVERIFY(
                desk.studio.audio().lostDevice() == u"Consola" && !desk.studio.audio().capture());
            QVERIFY(isNear(centre(desk.pictures.streams), Qt::red, 55));
            desk.frame();
            QTest::qWait(3);
            // The clock of the test must not outrun a camera that the machine holds up.
            const FramePtr last = desk.studio.sources().cameraFrame();
            const auto isFresh = [&] { return desk.studio.sources().cameraFrame() != last; };
            QVERIFY(i % 20 != 0 || desk.pollUntil(isFresh));
        }
        console = microphone(u"Consola"_s, 44100, 1);
        QVERIFY(desk.runUntil([&] { return desk.told("Entrada de audio recuperada: Consola"); }));
        QVERIFY(desk.runUntil([&] { return desk.levels.first > 60; }));
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
        auto altar = camera(u"Altar"_s);
        const auto console = microphone(u"Consola"_s);
        RealDevices desk;
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

    /// A camera that the media service hands nothing over from is read by its file, and the next
    /// time at once; when other cameras are there, the service gets another chance.
    void aSilentServiceIsPassedBy()
    {
        const FakeVideo4Linux system(u"/dev/video77"_s);
        const auto altar = VirtualDevice::muteCamera(u"Altar"_s, u"Altar"_s, u"/dev/video77"_s);
        RealDevices desk;
        QVERIFY(desk.findDevices(1, 0));
        const char *passedBy = "El servicio de medios no entrega imágenes de Altar";
        const auto isShown = [&] {
            if (desk.connected({ 0, 0 }) != QString::fromUtf8(opened)) {
                return false;
            }
            desk.statuses.clear();
            desk.studio.devices().connectSources({ 1, 0 });
            const bool isOpen = desk.livesUntil([&] { return desk.told(opened); });
            const FramePtr frame = desk.studio.sources().cameraFrame();
            return isOpen && frame && isNear(centre(imageView(*frame)), Qt::green, 20);
        };
        for (const bool isTold : { true, false }) {
            QVERIFY(isShown());
            QCOMPARE(desk.told(passedBy), isTold);
        }
        const auto choir = camera(u"Coro"_s);
        QVERIFY(desk.findDevices(2, 0));
        QCOMPARE(desk.devices.video[0].name, u"Altar"_s);
        QVERIFY(isShown());
        QVERIFY(desk.told(passedBy));
    }

    void permissionIsAskedAndAnswered()
    {
        for (const CaptureKind kind : { CaptureKind::Camera, CaptureKind::Microphone }) {
            for (const auto answer : { PermissionStatus::Granted, PermissionStatus::Denied }) {
                const RowName named(kind == CaptureKind::Camera ? "camera" : "microphone");
                answerPermission(kind, answer);
            }
        }
    }

    void aNewShapeRebuildsTheStreamsAlone()
    {
        // A picture of this program's own stands for the screen.
        const SystemClock clock;
        const MediaFactory factory(clock,
            std::make_shared<Retirement>(),
            { { "videotestsrc", { { "is-live", true } } } });
        auto altar = camera(u"Altar"_s);
        const QString video = clip({});
        RealDevices desk;
        QVERIFY(desk.findDevices(1, 0));
        QCOMPARE(desk.connected({ 1, 0 }), QString::fromUtf8(opened));
        const auto fill = [&](int set) {
            desk.studio.program().setEditSet(set);
            desk.setLayers({});
            desk.studio.layers().addVideoFile(video);
            const Layer screen = newLayer(LayerKind::Screen);
            desk.studio.sources().pool().put(screen, factory.screen(landscapeSize));
            addLayer(desk.studio.document(), screen);
            QVERIFY(desk.takePrepared());
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
            const auto gone
                = [&] { return std::ranges::all_of(old, &std::weak_ptr<Media>::expired); };
            QVERIFY(desk.pollUntil(gone));
            std::vector<MediaPtr> fresh = sources(SceneSet::Streams);
            fresh.push_back(desk.studio.sources().camera());
            QVERIFY(desk.pollUntil([&] {
                return std::all_of(fresh.begin(), fresh.end(), [&](const MediaPtr &source) {
                    return source && source->frame();
                });
            }));
            QCOMPARE(fresh.back()->frame()->size(), size); // bars
            old.assign(fresh.begin(), fresh.end());
            QCOMPARE(sources(SceneSet::Hall), hall);
        }
        // GStreamer's sink stalls for good when one reader follows another at once, in one of seven
        // runs: the camera is plugged in anew.
        altar->unplug();
        altar = camera(u"Altar"_s);
        QVERIFY(desk.runUntil([&] {
            return desk.connected({ 1, 0 }) == QString::fromUtf8(opened);
        }));
        QVERIFY(desk.studio.sources().cameraDevice());
    }

private:
    static void answerPermission(CaptureKind kind, PermissionStatus answer)
    {
        const auto altar = camera(u"Altar"_s);
        const auto console = microphone(u"Consola"_s);
        const bool isCamera = kind == CaptureKind::Camera;
        const QString blocked = isCamera
            ? u"macOS bloqueó la cámara. Ve a Configuración del Sistema → "
              "Privacidad y seguridad → Cámara y activa Vesperline."_s
            : u"macOS bloqueó el micrófono. Ve a Configuración del Sistema → "
              "Privacidad y seguridad → Micrófono y activa Vesperline."_s;
        auto owned = std::make_unique<FakePermission>(PermissionStatus::Granted);
        FakePermission &permission = *owned;
        permission.answer(kind, PermissionStatus::Undetermined);
        RealDevices desk({ std::move(owned) });
        QVERIFY(desk.findDevices(1, 1));
        const DeviceChoice chosen = desk.choose(u"Altar"_s, u"Consola"_s);
        auto &devices = desk.studio.devices();
        const auto again = [&] { devices.connectSources(chosen); };
        connect(&devices, &DeviceConnection::permissionAnswered, &devices, again);
        const auto nothingBuilt = [&, bars = desk.studio.sources().camera()] {
            return desk.studio.sources().camera() == bars && !desk.studio.audio().capture();
        };
        QCOMPARE(desk.connected({ 0, 0 }), QString::fromUtf8(opened));
        QVERIFY(permission.asked().empty()); // nothing to ask for
        QCOMPARE(desk.connected(chosen),
            isCamera ? u"Pidiendo permiso de cámara a macOS..."_s
                     : u"Pidiendo permiso de micrófono a macOS..."_s);
        QVERIFY(nothingBuilt());

        const bool isDenied = answer == PermissionStatus::Denied;
        desk.statuses.clear();
        permission.answer(kind, answer);
        QVERIFY(desk.runUntil([&] { return !desk.statuses.isEmpty(); }));
        QCOMPARE(desk.statuses, QStringList { isDenied ? blocked : QString::fromUtf8(opened) });
        QCOMPARE(permission.asked(), std::vector { kind });
        if (isDenied) {
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
