#include "media/capture/device_mode.h"
#include "media/gst/gst_build.h"
#include "support/test_registry.h"

#include <QTest>

namespace nimbara::testing {

class DeviceModeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void picksTheBestMode()
    {
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
            QVERIFY(caps);
            const QString size = QStringLiteral(", width=(int)%1, height=(int)%2")
                                     .arg(picked.width)
                                     .arg(picked.height);
            QCOMPARE(gst_build::text(pickDeviceMode(caps.get(), target).get()),
                QStringLiteral("video/x-raw") + (picked.width > 0 ? size : QString()));
        }
    }

    void asksBareCapsWithoutADevice()
    {
        const QString bare = QStringLiteral("video/x-raw");
        QCOMPARE(gst_build::text(pickDeviceMode(static_cast<GstDevice *>(nullptr), {}).get()),
            bare);
        QCOMPARE(gst_build::text(pickDeviceMode(static_cast<const GstCaps *>(nullptr), {}).get()),
            bare);
    }
};

} // namespace nimbara::testing

using nimbara::testing::DeviceModeTest;
NIMBARA_TEST(DeviceModeTest)

#include "device_mode_test.moc"
