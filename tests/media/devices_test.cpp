#include "media/capture/capture_permission.h"
#include "media/capture/devices.h"
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
                : place.startsWith(u"product")
                ? u"p,node.name=node%2,device.vendor.id=v,device.product.id=%1,device.bus-path=(string)%2"_s
                      .arg(place, number)
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
                 { "product-1 2", u"product-2 4|product-1 3"_s, 1 }, // in another port
                 { "product-1 2", u"product-1 3|product-1 4"_s, -1 }, // either may be it
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

    /// A camera of Video4Linux itself has no other road.
    void tellsTheRoadPastTheMediaService()
    {
        const std::tuple<const char *, QString, QString> rows[] {
            { "p,api.v4l2.path=(string)/dev/video1", u"/dev/video1"_s, u"/dev/video1"_s },
            { "p,object.path=(string)v4l2:/dev/video2", u"/dev/video2"_s, u"/dev/video2"_s },
            { "p,object.path=(string)libcamera:cam", {}, {} },
            { "p,device.path=(string)/dev/video3", u"/dev/video3"_s, {} },
        };
        for (const auto &[properties, file, direct] : rows) {
            const RowName named(properties);
            const DeviceRef device = fakeDevice({ .properties = properties });
            QCOMPARE(deviceFile(device.get()), file);
            QCOMPARE(directFile(device.get()), direct);
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
};

NIMBARA_TEST(DevicesTest)
#include "devices_test.moc"
