#include "support/test_registry.h"
#include "ui/outputs/sources_tab.h"

using namespace nimbara;
using namespace Qt::StringLiterals;

namespace {

const DeviceMode full { PictureCoding::Jpeg, {}, { 1920, 1080 }, { 30, 1 } };
const DeviceMode slow { PictureCoding::Raw, u"YUY2"_s, { 1920, 1080 }, { 5, 1 } };

CaptureDevice camera(const QString &name, std::vector<DeviceMode> modes)
{
    CaptureDevice device;
    device.name = device.identity = name;
    device.kind = DeviceKind::Video;
    device.modes = std::move(modes);
    return device;
}

} // namespace

class SourcesTabTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void keepsTheModeOfEachCamera()
    {
        SourcesTab tab;
        auto *cameras = tab.findChild<QComboBox *>(u"cameras"_s);
        auto *modes = tab.findChild<QComboBox *>(u"cameraModes"_s);
        QVERIFY(cameras && modes && !modes->isEnabled());
        const DeviceLists lists { { camera(u"Altar"_s, { full, slow }),
                                      camera(u"Coro"_s, { full }) },
            {} };
        tab.showDevices(lists);
        QVERIFY(!modes->isEnabled()); // bars
        cameras->setCurrentIndex(1);
        QVERIFY(modes->isEnabled());
        QCOMPARE(modes->count(), 3);
        QVERIFY(!tab.cameraMode());
        modes->setFocus();
        QTest::keyClick(modes, Qt::Key_End);
        QCOMPARE(tab.cameraMode(), slow);

        cameras->setCurrentIndex(2);
        QCOMPARE(modes->count(), 2);
        QVERIFY(!tab.cameraMode());
        cameras->setCurrentIndex(1);
        QCOMPARE(tab.cameraMode(), slow);
        tab.showDevices({}); // it is away
        QVERIFY(!tab.cameraMode() && !modes->isEnabled());
        tab.showDevices(lists);
        QCOMPARE(tab.cameraMode(), slow);
        QTest::keyClick(modes, Qt::Key_Home);
        cameras->setCurrentIndex(0);
        cameras->setCurrentIndex(1);
        QVERIFY(!tab.cameraMode());
    }
};

NIMBARA_TEST(SourcesTabTest)
#include "sources_tab_test.moc"
