#include "media/capture/device_mode.h"
#include "media/gst/gst_build.h"
#include "support/test_registry.h"

#include <QTest>

namespace nimbara::testing {

class DeviceModeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void picksTheBestMode_data();
    void picksTheBestMode();
    void asksBareCapsWithoutADevice();
};

void DeviceModeTest::picksTheBestMode_data()
{
    QTest::addColumn<QByteArray>("offered");
    QTest::addColumn<FrameSize>("target");
    QTest::addColumn<QString>("picked");

    const QString bare = QStringLiteral("video/x-raw");
    const auto mode = [&](int width, int height) {
        return bare + QStringLiteral(", width=(int)%1, height=(int)%2").arg(width).arg(height);
    };
    const QByteArray camera
        = "video/x-raw,width=1280,height=720;video/x-raw,width=1920,height=1080;"
          "video/x-raw,width=640,height=480";
    const FrameSize landscape { 1920, 1080 };
    const FrameSize portrait { 1080, 1920 };

    QTest::newRow("exact size") << camera << landscape << mode(1920, 1080);
    QTest::newRow("portrait takes the nearest area") << camera << portrait << mode(1920, 1080);
    QTest::newRow("shape before size")
        << QByteArray("video/x-raw,width=2560,height=1080;video/x-raw,width=640,height=360")
        << landscape << mode(640, 360);
    QTest::newRow("first of equals")
        << QByteArray("video/x-raw,format=NV12,width=960,height=540,framerate=5/1;"
                      "video/x-raw,format=YUY2,width=2880,height=1620;"
                      "video/x-raw,format=UYVY,width=960,height=540")
        << landscape << mode(960, 540);
    QTest::newRow("only far modes still win over none")
        << QByteArray("video/x-raw,width=16000,height=1") << landscape << mode(16000, 1);
    QTest::newRow("system memory named is system memory")
        << QByteArray("video/x-raw(memory:SystemMemory),width=800,height=600") << landscape
        << mode(800, 600);
    QTest::newRow("other memory") << QByteArray("video/x-raw(memory:DMABuf),width=1920,height=1080;"
                                                "video/x-raw,width=320,height=240")
                                  << landscape << mode(320, 240);
    QTest::newRow("compressed") << QByteArray("image/jpeg,width=1920,height=1080;"
                                              "video/x-raw,width=320,height=240")
                                << landscape << mode(320, 240);
    QTest::newRow("no definite size") << QByteArray(
        "video/x-raw,width=[1,1920],height=1080;video/x-raw,width={640,800},height=480;"
        "video/x-raw,width=640;video/x-raw")
                                      << landscape << bare;
    QTest::newRow("no size at all")
        << QByteArray("video/x-raw,width=0,height=1080") << landscape << bare;
    QTest::newRow("anything") << QByteArray("ANY") << landscape << bare;
    QTest::newRow("nothing") << QByteArray("EMPTY") << landscape << bare;
}

void DeviceModeTest::picksTheBestMode()
{
    QFETCH(QByteArray, offered);
    QFETCH(FrameSize, target);
    QFETCH(QString, picked);
    const auto caps = CapsRef::adopt(gst_caps_from_string(offered.constData()));
    QVERIFY(caps);
    QCOMPARE(gst_build::text(pickDeviceMode(caps.get(), target).get()), picked);
}

void DeviceModeTest::asksBareCapsWithoutADevice()
{
    const QString bare = QStringLiteral("video/x-raw");
    QCOMPARE(gst_build::text(pickDeviceMode(static_cast<GstDevice *>(nullptr), {}).get()), bare);
    QCOMPARE(gst_build::text(pickDeviceMode(static_cast<const GstCaps *>(nullptr), {}).get()),
        bare);
}

} // namespace nimbara::testing

using nimbara::testing::DeviceModeTest;
NIMBARA_TEST(DeviceModeTest)

#include "device_mode_test.moc"
