#include "studio/studio_fixture.h"
#include "support/fake_device.h"
#include "support/test_registry.h"

#include <atomic>
#include <semaphore>
#include <sys/stat.h>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

std::binary_semaphore gate(0); ///< open: the provider may answer
std::atomic<bool> hung { false }; ///< a search hangs in the other provider
GstDeviceProvider *service = nullptr;

DeviceRef plugIn(const FakeDeviceRecipe &recipe)
{
    const DeviceRef device = fakeDevice(recipe);
    gst_device_provider_device_add(service, device.get());
    return device;
}

DeviceRef plugInAudio(const char *name, const std::string &opens)
{
    return plugIn(
        { .name = name, .deviceClass = "Audio/Source", .caps = "audio/x-raw", .opens = opens });
}

gboolean startLate(GstDeviceProvider *provider)
{
    gate.acquire();
    service = provider;
    plugIn({ .name = "Rota", .opens = "" });
    plugIn({ .name = "Altar" });
    return TRUE;
}

gboolean startNever(GstDeviceProvider * /*provider*/)
{
    hung.wait(true);
    return FALSE;
}

template <auto start> void initProviderClass(gpointer type, gpointer /*data*/)
{
    auto *provider = static_cast<GstDeviceProviderClass *>(type);
    provider->start = start;
    provider->stop = [](GstDeviceProvider *) {};
    gst_device_provider_class_set_static_metadata(provider,
        "Late cameras",
        "Video/Source",
        "Answers when it is told to",
        "Nimbara");
}

template <auto start> bool addProvider(const char *name)
{
    GTypeInfo info {};
    info.class_size = sizeof(GstDeviceProviderClass);
    info.class_init = initProviderClass<start>;
    info.instance_size = sizeof(GstDeviceProvider);
    const GType type = g_type_register_static(GST_TYPE_DEVICE_PROVIDER, name, &info, GTypeFlags {});
    return gst_device_provider_register(nullptr, name, GST_RANK_PRIMARY, type) != FALSE;
}

struct SlowDesk : DeviceFixture {
    std::pair<bool, bool> clip;

    SlowDesk()
    {
        const auto keep = [this](bool before, bool after) { clip = { before, after }; };
        QObject::connect(&studio.audio(), &AudioInput::clipChanged, &studio, keep);
    }
    bool list()
    {
        devices = {};
        studio.devices().refreshDevices();
        return runUntil([&] { return !devices.video.empty(); });
    }
    void connectTo(const char *video, const char *audio)
    {
        statuses.clear();
        studio.devices().connectSources(
            choose(devices, QString::fromUtf8(video), QString::fromUtf8(audio)));
    }
    bool isTold(const char *text)
    {
        return runUntil([&] { return statuses.join(u'|').contains(QString::fromUtf8(text)); });
    }
};

} // namespace

/// A program of its own: its first search meets a service that takes its time.
class SlowDevicesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void theStudioRunsWhileAServiceIsSilent()
    {
        QVERIFY(addProvider<startLate>("latecameras") && addProvider<startNever>("silentservice"));
        SlowDesk desk;
        desk.studio.devices().refreshDevices(); // waiting here would be for ever
        for (int i = 0; i < 90; ++i) {
            desk.frame();
        }
        QCOMPARE(desk.frames, 90);
        QVERIFY(desk.runUntil([&] { return centre(desk.pictures.preview) != QColor(Qt::black); }));
        QVERIFY(desk.devices.video.empty());
        gate.release();
        QVERIFY(desk.runUntil([&] { return !desk.devices.video.empty(); }));

        // A camera that cannot be built ends the attempt.
        desk.statuses.clear();
        desk.studio.devices().connectSources({ choose(desk.devices, u"Rota"_s, {}).camera, 1 });
        QVERIFY(desk.isTold("Cámara: "));
        QCOMPARE(desk.statuses, QStringList { u"Cámara: Falta componente de fuente multimedia"_s });
        QCOMPARE(desk.studio.audio().capture(), nullptr);
        QVERIFY(desk.studio.sources().camera()->active());
    }

    void aNewDeviceThatRefusesLateLeavesTheOld()
    {
        const QTemporaryDir folder;
        const QString pipe = folder.filePath(QStringLiteral("pipe")); // opens when it is written
        QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        const std::string late = "filesrc location=" + pipe.toStdString();
        plugIn(
            { .name = "Muda", .opens = late + " ! rawvideoparse width=16 height=16 format=rgb" });
        plugInAudio("Sorda", late + " ! rawaudioparse");
        plugInAudio("Consola", "audiotestsrc is-live=true");
        SlowDesk desk;
        QVERIFY(desk.list());
        desk.connectTo("Altar", "Consola");
        QVERIFY(desk.isTold(opened));
        const MediaPtr altar = desk.studio.sources().camera();
        const AudioCapture *console = desk.studio.audio().capture();
        QVERIFY(altar->isDevice() && altar->frame() && console->running());

        desk.connectTo("Muda", "Sorda");
        QVERIFY(desk.isTold("Abriendo las fuentes; un dispositivo tarda en responder."));
        QCOMPARE(desk.studio.sources().camera(), altar);
        QVERIFY(desk.runUntil([&] {
            QFile writer(pipe);
            const QString told = desk.statuses.join(u'|');
            return writer.open(QIODevice::ReadWrite)
                && told.contains(u"No llega imagen de Muda. Continúa la cámara que había. ")
                && told.contains(u"No llega audio de Sorda. Continúa la entrada que había. ");
        }));
        QCOMPARE(desk.studio.sources().camera(), altar);
        QCOMPARE(desk.studio.audio().capture(), console);
        QVERIFY(altar->active() && console->running());
        QVERIFY(!desk.statuses.contains(QString::fromUtf8(opened)));

        // The chosen one has left the list; bars stand in after a change of shape.
        desk.studio.changeProfile(StreamProfile::Portrait);
        desk.statuses.clear();
        desk.studio.devices().connectSources({ -1, 0 });
        QVERIFY(desk.isTold("Cámara: el dispositivo no está conectado"));
        QVERIFY(!desk.statuses.contains(QString::fromUtf8(opened)));
    }

    /// Another mode of the camera that is shown, or, off the air, a better one that failed before:
    /// it is opened anew, and only then.
    void theOperatorChoosesTheMode()
    {
        const DeviceMode small { .format = u"YUY2"_s, .size = { 320, 240 }, .rate = { 15, 1 } };
        const std::string well = "videotestsrc is-live=true";
        const std::string ill = " ! capsfilter caps=video/x-raw,width=320";
        const DeviceRef device = plugIn({ .name = "Galería",
            .caps = "video/x-raw,format=YUY2,width=640,height=360,framerate=30/1;"
                    "video/x-raw,format=YUY2,width=320,height=240,framerate={15/1,5/1}" });
        SlowDesk desk;
        QVERIFY(desk.list());
        Layer quarter = newLayer(LayerKind::Camera);
        std::tie(quarter.w, quarter.h) = std::pair(0.25, 0.25);
        desk.setLayers({ quarter });
        DeviceChoice choice = choose(desk.devices, u"Galería"_s, {});
        choice.audio = 0;
        const auto slowly
            = [&] { desk.clock.advanceUs(10'000); }; // a loaded machine is slow as well
        const auto connected = [&](std::optional<DeviceMode> mode) {
            choice.mode = std::move(mode);
            desk.statuses.clear();
            desk.studio.devices().connectSources(choice);
            return desk.pollUntil([&] { return slowly(), desk.told(opened); })
                ? desk.studio.sources().camera()
                : nullptr;
        };
        const auto isWide = [](const MediaPtr &camera) {
            return camera && camera->label().contains(u"width=(int)640"_s);
        };
        const MediaPtr best = connected({});
        QVERIFY(isWide(best));
        const MediaPtr chosen = connected(small);
        QVERIFY(chosen && chosen->label().contains(u"width=(int)320, height=(int)240"));
        QCOMPARE(connected(small), chosen); // no flicker
        setOpened(device, well + ill);
        const MediaPtr lesser = connected({});
        QVERIFY(lesser && lesser != chosen && !isWide(lesser));
        desk.studio.program().take();
        QCOMPARE(connected({}), lesser); // on air nothing better is worth a black picture
        desk.studio.program().offAir();
        QVERIFY(desk.pollUntil(
            [&] { return slowly(), !desk.studio.stage().program.isChanging(SceneSet::Streams); }));
        setOpened(device, well + " num-buffers=9" + ill);
        QVERIFY(!isWide(connected({})));
        setOpened(device, well); // it is lost, and comes back as it was
        QVERIFY(desk.pollUntil([&] { return slowly(), isWide(desk.studio.sources().camera()); }));
        const MediaPtr again = desk.studio.sources().camera();
        const FrameSize shown { 480, 270 }; // with the clock at a stand nothing settles
        QVERIFY(desk.pollUntil([&] { return again->frame()->size() == shown; }));
        QCOMPARE(connected({}), again);
    }

    void metersAndClipLightsFollowTheInput()
    {
        SlowDesk desk;
        AudioInput &input = desk.studio.audio();
        const DeviceRef loud
            = plugInAudio("Fuerte", "audiotestsrc is-live=true wave=square volume=1");
        input.setMuted(true);
        input.offer(std::make_unique<AudioCapture>(desk.clock, loud.get()), {});
        QVERIFY(desk.runUntil([&] { return desk.clip == std::pair(true, false); }));
        input.setMuted(false);
        QVERIFY(desk.runUntil([&] { return desk.clip == std::pair(true, true); }));
        QCOMPARE(desk.levels, std::pair(100, 100));
        input.setCapture(nullptr);
        QCOMPARE(desk.levels, std::pair(0, 0));
        for (int i = 0; i < 55; ++i) { // it is held for 2 s
            desk.frame();
        }
        QCOMPARE(desk.clip, std::pair(true, true));
        QVERIFY(desk.runUntil([&] { return desk.clip == std::pair(false, false); }));
    }

    void aSearchThatHangsIsGivenUp()
    {
        const DeviceRef brief
            = plugIn({ .name = "Breve", .opens = "videotestsrc is-live=true num-buffers=9" });
        SlowDesk desk;
        QVERIFY(desk.list());
        Layer layer = newLayer(LayerKind::Camera);
        layer.uri = identityText(describeDevice(brief.get()).marks);
        desk.setLayers({ layer });
        const auto isThere = [&] { return desk.studio.sources().cameraOf(layer) != nullptr; };
        QVERIFY(desk.runUntil(isThere));
        hung = true;
        QVERIFY(desk.runUntil([&] { return !isThere(); }));
        setOpened(brief, "videotestsrc is-live=true");
        QVERIFY(desk.runUntil(isThere)); // tried where it was
        desk.connectTo("Altar", "Consola");
        QVERIFY(desk.isTold("La búsqueda de dispositivos no responde; se prueba"));
        QVERIFY(desk.isTold(opened));
        QVERIFY(desk.studio.sources().cameraDevice() && desk.studio.audio().device());
        desk.studio.devices().refreshDevices();
        QVERIFY(desk.isTold("La búsqueda de dispositivos no responde; la lista queda"));
        hung = false;
        hung.notify_all();
    }
};

NIMBARA_TEST(SlowDevicesTest)
#include "slow_devices_test.moc"
