#include "media/capture/usb_place.h"
#include "support/fake_device.h"
#include "support/test_registry.h"

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// "key value; key value": what the system tells of it.
CaptureDevice described(const char *deviceClass, const QString &properties)
{
    QString all = u"p"_s;
    for (const QString &each : properties.split(u"; "_s, Qt::SkipEmptyParts)) {
        all += u",%1=(string)\"%2\""_s.arg(each.section(u' ', 0, 0), each.section(u' ', 1));
    }
    return describeDevice(
        fakeDevice({ .deviceClass = deviceClass, .properties = all.toStdString() }).get());
}

} // namespace

class UsbPlaceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// Four ways of naming one port; ports behind a hub are others.
    void knowsAPortByAnyOfItsNames()
    {
        const std::tuple<const char *, const char *> rows[] {
            { "usb-0000:00:14.0-2", "0000:00:14.0 2" },
            { "usb-0000:00:14.0-2.1", "0000:00:14.0 2.1" },
            { "USB Video at usb-0000:00:14.0-2.1, high speed", "0000:00:14.0 2.1" },
            { "My usb-sound at usb-xhci-hcd.0.auto-1, full speed", "xhci-hcd.0.auto 1" },
            { "pci-0000:00:14.0-usb-0:2.1:1.0", "0000:00:14.0 2.1" },
            { "pci-0000:00:14.0-usbv2-0:2:1.2", "0000:00:14.0 2" },
            { "platform-xhci-hcd.0.auto-usb-0:1:1.0", "xhci-hcd.0.auto 1" },
            { "platform-fd500000.pcie-pci-0000:01:00.0-usb-0:1.3:1.0", "0000:01:00.0 1.3" },
            { "/devices/pci0000:00/0000:00:14.0/usb1/1-2/1-2:1.2/sound/card1", "0000:00:14.0 2" },
            { "/devices/pci0000:00/0000:00:14.0/usb1/1-2/1-2.1/1-2.1:1.0/video4linux/video0",
                "0000:00:14.0 2.1" },
            { "pci-0000:00:1f.3", "" },
            { "HDA Intel PCH at 0x6001128000 irq 145", "" },
            { "", "" },
        };
        for (const auto &[name, place] : rows) {
            const RowName named(name);
            QCOMPARE(usbPlace(QString::fromLatin1(name)), QString::fromLatin1(place));
        }
    }

    /// The second of two inputs, or none.
    void findsTheSoundOfACaptureCard()
    {
        const auto port = u"api.v4l2.cap.bus_info usb-0000:00:14.0-2"_s;
        const auto card = u"api.alsa.card.longname USB Video at usb-0000:00:14.0-%1, high speed"_s;
        const auto product = u"device.vendor.id 534d; device.product.id %1; device.serial S1"_s;
        const std::tuple<const char *, QString, QString, bool> rows[] {
            { "port", port, card.arg(2), true },
            { "another port", port, card.arg(3), false },
            { "behind a hub there", port, card.arg(u"2.1"_s), false },
            { "serial", product.arg(2109), product.arg(2109), true },
            { "another product", product.arg(2109), product.arg(2130), false },
            { "serial elsewhere",
                port + u"; "_s + product.arg(2109),
                card.arg(3) + u"; "_s + product.arg(2109),
                false },
            { "nothing known", {}, {}, false },
        };
        for (const auto &[name, video, audio, isFound] : rows) {
            const RowName named(name);
            const std::vector<CaptureDevice> inputs { described("Audio/Source",
                                                          u"device.bus_path pci-0000:00:1f.3"_s),
                described("Audio/Source", audio) };
            CaptureDevice camera = described("Video/Source", video);
            QCOMPARE(soundBeside(camera, inputs), isFound ? &inputs[1] : nullptr);
            camera.marks.hasTwin = true; // its serial number is not its own
            QCOMPARE(soundBeside(camera, inputs) != nullptr, isFound && !camera.usb.isEmpty());
        }
        const auto alike = described("Audio/Source", product.arg(2109));
        QVERIFY(!soundBeside(described("Video/Source", product.arg(2109)), { alike, alike }));
    }
};

NIMBARA_TEST(UsbPlaceTest)
#include "usb_place_test.moc"
