#include "media/capture/capture_permission.h"
#include "media/capture/devices.h"
#include "support/fake_device.h"
#include "support/test_registry.h"

#include <QTest>

namespace nimbara::testing {

class DevicesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void tellsVideoFromAudio_data();
    void tellsVideoFromAudio();
    void findsADeviceAgain_data();
    void findsADeviceAgain();
    void grantsWithoutASystemPermission();
    void dropsAnswersThatComeTooLate();
};

void DevicesTest::tellsVideoFromAudio_data()
{
    QTest::addColumn<QByteArray>("deviceClass");
    QTest::addColumn<bool>("video");
    QTest::newRow("camera") << QByteArray("Video/Source") << true;
    QTest::newRow("capture card") << QByteArray("Video/Source/Hardware") << true;
    QTest::newRow("microphone") << QByteArray("Audio/Source") << false;
    QTest::newRow("both") << QByteArray("Source/Video") << false;
}

void DevicesTest::tellsVideoFromAudio()
{
    QFETCH(QByteArray, deviceClass);
    QFETCH(bool, video);
    const DeviceRef device
        = fakeDevice({ .name = "Órgano", .deviceClass = deviceClass.toStdString() });
    const CaptureDevice described = describeDevice(device.get());
    QCOMPARE(described.name, QStringLiteral("Órgano"));
    QCOMPARE(described.kind == DeviceKind::Video, video);
    QCOMPARE(described.device.get(), device.get());
}

void DevicesTest::findsADeviceAgain_data()
{
    using Properties = std::vector<std::string>;
    QTest::addColumn<std::string>("lost");
    QTest::addColumn<Properties>("present");
    QTest::addColumn<int>("index");

    const auto node = [](const std::string &name, const std::string &serial) {
        return "p,node.name=" + name + ",object.serial=(string)" + serial;
    };
    const auto bus = [](const std::string &position, const std::string &path) {
        return "p,v4l2.device.bus_info=(string)" + position + ",device.path=(string)" + path;
    };
    QTest::newRow("nothing there") << node("a", "7") << Properties {} << -1;
    QTest::newRow("under a new number")
        << node("a", "7") << Properties { node("b", "7"), node("a", "12") } << 1;
    QTest::newRow("only another of the same name")
        << node("a", "7") << Properties { node("b", "7") } << -1;
    QTest::newRow("at the same bus position")
        << bus("usb-1", "/dev/video0")
        << Properties { bus("usb-2", "/dev/video0"), bus("usb-1", "/dev/video3") } << 1;
    QTest::newRow("twins, one at the old place")
        << bus("usb-1", "/dev/video1")
        << Properties { bus("usb-1", "/dev/video0"), bus("usb-1", "/dev/video1") } << 1;
    QTest::newRow("twins, none at the old place")
        << bus("usb-1", "/dev/video9")
        << Properties { bus("usb-1", "/dev/video0"), bus("usb-1", "/dev/video1") } << -1;
    QTest::newRow("nothing but a name") << std::string() << Properties { std::string() } << 0;
}

void DevicesTest::findsADeviceAgain()
{
    using Properties = std::vector<std::string>;
    QFETCH(std::string, lost);
    QFETCH(Properties, present);
    QFETCH(int, index);
    const auto describe = [](const std::string &properties) {
        return describeDevice(fakeDevice({ .name = "HDMI", .properties = properties }).get());
    };
    std::vector<CaptureDevice> devices;
    std::transform(present.begin(), present.end(), std::back_inserter(devices), describe);
    const CaptureDevice *found = findAgain(devices, describe(lost));
    QCOMPARE(found == nullptr ? -1 : static_cast<int>(found - devices.data()), index);
}

void DevicesTest::grantsWithoutASystemPermission()
{
    const auto permission = systemCapturePermission();
    QCOMPARE(permission->status(CaptureKind::Camera), PermissionStatus::Granted);
    QCOMPARE(permission->status(CaptureKind::Microphone), PermissionStatus::Granted);
    bool answered = false;
    permission->request(CaptureKind::Camera, [&] { answered = true; });
    QVERIFY(!answered);
    QTRY_VERIFY(answered);
}

void DevicesTest::dropsAnswersThatComeTooLate()
{
    bool answered = false;
    systemCapturePermission()->request(CaptureKind::Camera, [&] { answered = true; });
    QTest::qWait(0);
    QCoreApplication::processEvents();
    QVERIFY(!answered);
}

} // namespace nimbara::testing

using nimbara::testing::DevicesTest;
NIMBARA_TEST(DevicesTest)

#include "devices_test.moc"
