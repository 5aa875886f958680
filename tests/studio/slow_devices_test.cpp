#include "studio/studio_fixture.h"
#include "support/fake_device.h"
#include "support/test_registry.h"

#include <semaphore>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

std::binary_semaphore gate(0); ///< open: the provider may answer

gboolean startLate(GstDeviceProvider *provider)
{
    gate.acquire();
    const DeviceRef broken = fakeDevice({ .name = "Rota", .opens = "" });
    const DeviceRef device = fakeDevice({ .name = "Altar" });
    gst_device_provider_device_add(provider, broken.get());
    gst_device_provider_device_add(provider, device.get());
    return TRUE;
}

void initLateClass(gpointer type, gpointer /*data*/)
{
    auto *provider = static_cast<GstDeviceProviderClass *>(type);
    provider->start = startLate;
    provider->stop = [](GstDeviceProvider *) {};
    gst_device_provider_class_set_static_metadata(provider,
        "Late cameras",
        "Video/Source",
        "Answers when it is told to",
        "Nimbara");
}

} // namespace

/// A program of its own: its first search meets a service that takes its time.
class SlowDevicesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void theStudioRunsWhileAServiceIsSilent()
    {
        const GType type = g_type_register_static_simple(GST_TYPE_DEVICE_PROVIDER,
            "NimbaraLateProvider",
            sizeof(GstDeviceProviderClass),
            initLateClass,
            sizeof(GstDeviceProvider),
            nullptr,
            GTypeFlags {});
        QVERIFY(gst_device_provider_register(nullptr, "latecameras", GST_RANK_PRIMARY, type));
        StudioFixture desk;
        QStringList cameras;
        QObject::connect(&desk.studio.devices(),
            &DeviceConnection::devicesFound,
            &desk.studio,
            [&](const DeviceLists &devices) {
                for (const CaptureDevice &device : devices.video) {
                    cameras << device.name;
                }
            });
        desk.studio.devices().refreshDevices(); // waiting here would be for ever
        for (int i = 0; i < 90; ++i) {
            desk.frame();
        }
        QCOMPARE(desk.frames, 90);
        QVERIFY(desk.runUntil([&] { return centre(desk.pictures.preview) != QColor(Qt::black); }));
        QVERIFY(cameras.isEmpty());
        gate.release();
        QVERIFY(desk.runUntil([&] { return cameras.contains(u"Altar"_s); }));

        // A camera that cannot be built ends the attempt.
        const auto broken = static_cast<std::int32_t>(cameras.indexOf(u"Rota"_s));
        QVERIFY(broken >= 0);
        desk.studio.devices().connectSources({ broken + 1, 1 });
        QVERIFY(desk.runUntil([&] { return !desk.statuses.isEmpty(); }));
        QCOMPARE(desk.statuses, QStringList { u"Cámara: Falta componente de fuente multimedia"_s });
        QCOMPARE(desk.studio.audio().capture(), nullptr);
        QVERIFY(desk.studio.sources().camera()->active());
    }
};

NIMBARA_TEST(SlowDevicesTest)
#include "slow_devices_test.moc"
