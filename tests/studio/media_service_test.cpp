#include "studio/studio_fixture.h"
#include "support/test_registry.h"
#include "support/virtual_device.h"

#include <QFile>
#include <QProcess>

#include <csignal>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// A process of the new service; it goes with the test.
struct Service {
    QProcess process;

    explicit Service(const QString &program) { process.start(program, QStringList()); }
    Q_DISABLE_COPY_MOVE(Service)
    ~Service()
    {
        process.terminate();
        process.waitForFinished();
    }
};

} // namespace

class MediaServiceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// The list of devices and all that was opened hangs on a connection that ends with the
    /// service.
    void cameraAndMicrophoneOutliveTheService()
    {
        const QString socket = qEnvironmentVariable("XDG_RUNTIME_DIR") + u"/pipewire-0"_s;
        DeviceFixture desk;
        auto altar = std::optional(VirtualDevice::camera(u"Altar"_s, u"Altar"_s, u"red"_s));
        auto console = std::optional(VirtualDevice::microphone(u"Consola"_s, u"Consola"_s));
        const auto isListed = [&, tries = 0]() mutable {
            if (tries++ % 400 == 0) {
                desk.studio.devices().refreshDevices();
            }
            return desk.devices.video.size() == 1 && desk.devices.audio.size() == 1;
        };
        QVERIFY(desk.runUntil(isListed));
        desk.studio.devices().connectSources({ 1, 2 });
        const auto isSeen = [&] {
            const FramePtr frame = desk.studio.sources().cameraFrame();
            return frame && isNear(centre(imageView(*frame)), Qt::red, 55);
        };
        const auto isHeard = [&] { return desk.levels.first > 60; };
        QVERIFY(desk.runUntil([&] { return isSeen() && isHeard(); }));

        ::kill(qEnvironmentVariableIntValue("NIMBARA_PIPEWIRE_PID"), SIGTERM);
        QVERIFY(desk.runUntil([&] { return !isSeen() && !isHeard(); }));
        QVERIFY(desk.runUntil([&] { return !QFile::exists(socket); }));
        const Service service(u"pipewire"_s);
        QVERIFY(desk.runUntil([&] { return QFile::exists(socket); }));
        const Service manager(u"wireplumber"_s);
        altar.emplace(VirtualDevice::camera(u"Altar"_s, u"Altar"_s, u"red"_s));
        console.emplace(VirtualDevice::microphone(u"Consola"_s, u"Consola"_s));
        QVERIFY(desk.runUntil(isSeen));
        QVERIFY(desk.runUntil(isHeard));
        desk.studio.devices().refreshDevices();
        QVERIFY(desk.runUntil(
            [&] { return desk.told("El servicio de sonido y cámaras del equipo se reinició"); }));
    }
};

NIMBARA_TEST(MediaServiceTest)
#include "media_service_test.moc"
