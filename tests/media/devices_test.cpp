#include "media/capture/capture_permission.h"
#include "media/capture/device_mode.h"
#include "media/capture/devices.h"
#include "media/gst/gst_build.h"
#include "support/fake_device.h"
#include "support/test_registry.h"

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

class DevicesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void tellsVideoFromAudio()
    {
        for (const auto &[deviceClass, kind] : { std::pair { "Video/Source", DeviceKind::Video },
                 { "Video/Source/Hardware", DeviceKind::Video }, // a capture card
                 { "Audio/Source", DeviceKind::Audio },
                 { "Source/Video", DeviceKind::Audio } }) { // both
            const DeviceRef device = fakeDevice({ .name = "Órgano", .deviceClass = deviceClass });
            const CaptureDevice described = describeDevice(device.get());
            QCOMPARE(described.name, u"Órgano"_s);
            QCOMPARE(described.kind, kind);
            QCOMPARE(described.device.get(), device.get());
        }
    }

    void findsADeviceAgain()
    {
        // Node and serial of the media service, or bus position and path.
        const auto describe = [](const QString &text) {
            const auto [place, number]
                = std::pair { text.section(u' ', 0, 0), text.section(u' ', 1) };
            const QString properties = text.isEmpty() ? QString()
                : place.startsWith(u"usb")
                ? u"p,v4l2.device.bus_info=(string)%1,device.path=(string)/dev/video%2"_s.arg(place,
                    number)
                : u"p,node.name=%1,object.serial=(string)%2"_s.arg(place, number);
            return describeDevice(
                fakeDevice({ .name = "HDMI", .properties = properties.toStdString() }).get());
        };
        for (const auto &[lost, present, index] : { std::tuple { "a 7", u""_s, -1 },
                 { "a 7", u"b 7|a 12"_s, 1 }, // under a new number
                 { "a 7", u"b 7"_s, -1 }, // only another of the same name
                 { "usb-1 0", u"usb-2 0|usb-1 3"_s, 1 }, // at the same place of the bus
                 { "usb-1 1", u"usb-1 0|usb-1 1"_s, 1 }, // twins, one at the old place
                 { "usb-1 9", u"usb-1 0|usb-1 1"_s, -1 }, // twins, none there
                 { "", u"|"_s, 0 } }) { // nothing but a name
            const RowName named(lost + (" in " + present.toUtf8()));
            std::vector<CaptureDevice> devices;
            for (const QString &each :
                present.split(u'|', present == u"|" ? Qt::KeepEmptyParts : Qt::SkipEmptyParts)) {
                devices.push_back(describe(each));
            }
            const CaptureDevice *found = findAgain(devices, describe(QLatin1String(lost)));
            QCOMPARE(found == nullptr ? -1 : static_cast<int>(found - devices.data()), index);
        }
    }

    void grantsWithoutASystemPermission()
    {
        int answered = 0;
        auto permission = systemCapturePermission();
        for (const CaptureKind kind : { CaptureKind::Camera, CaptureKind::Microphone }) {
            QCOMPARE(permission->status(kind), PermissionStatus::Granted);
            permission->request(kind, [&] { ++answered; });
        }
        QCOMPARE(answered, 0);
        QTRY_COMPARE(answered, 2);
        permission->request(CaptureKind::Camera, [&] { ++answered; });
        permission.reset();
        QTest::qWait(0);
        QCoreApplication::processEvents();
        QCOMPARE(answered, 2); // too late
    }

    void picksTheBestMode()
    {
        for (const auto &bare : { pickDeviceMode(static_cast<GstDevice *>(nullptr), {}),
                 pickDeviceMode(static_cast<const GstCaps *>(nullptr), {}) }) {
            QCOMPARE(gst_build::text(bare.get()), u"video/x-raw"_s);
        }
        constexpr FrameSize landscape { 1920, 1080 };
        constexpr FrameSize portrait { 1080, 1920 };
        const char *camera
            = "@,width=1280,height=720;@,width=1920,height=1080;@,width=640,height=480";
        // "@" is video/x-raw.
        for (const auto &[offered, target, picked] :
            { std::tuple { camera, landscape, FrameSize { 1920, 1080 } },
                { camera, portrait, FrameSize { 1920, 1080 } }, // the nearest area
                { "@,width=2560,height=1080;@,width=640,height=360",
                    landscape,
                    { 640, 360 } }, // shape before size
                { "@,width=960,height=540,framerate=5/1;@,width=2880,height=1620",
                    landscape,
                    { 960, 540 } }, // the first of equals
                { "@,width=16000,height=1", landscape, { 16000, 1 } }, // better than none
                { "@(memory:SystemMemory),width=800,height=600", landscape, { 800, 600 } },
                { "@(memory:DMABuf),width=1920,height=1080;@,width=320,height=240",
                    landscape,
                    { 320, 240 } },
                { "image/jpeg,width=1920,height=1080;@,width=320,height=240",
                    landscape,
                    { 320, 240 } },
                { "@,width=[1,1920],height=1080;@,width={640,800},height=480", landscape, {} },
                { "@,width=640;@;@,width=0,height=1080", landscape, {} },
                { "ANY", landscape, {} },
                { "EMPTY", landscape, {} } }) {
            const RowName named(offered);
            const auto text = QByteArray(offered).replace('@', "video/x-raw");
            const auto caps = CapsRef::adopt(gst_caps_from_string(text.constData()));
            const QString size
                = u", width=(int)%1, height=(int)%2"_s.arg(picked.width).arg(picked.height);
            QCOMPARE(gst_build::text(pickDeviceMode(caps.get(), target).get()),
                u"video/x-raw"_s + (picked.width > 0 ? size : QString()));
        }
    }
};

NIMBARA_TEST(DevicesTest)
#include "devices_test.moc"
