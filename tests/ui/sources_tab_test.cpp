#include "base/i18n.h"
#include "support/test_registry.h"
#include "ui/outputs/sources_tab.h"

#include <QLabel>

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

    /// Two of one product without a number: the port is all that tells which is which.
    void twinsAreToldApart()
    {
        SourcesTab tab;
        std::vector<CaptureDevice> twins { camera(u"Cam"_s, { full }), camera(u"Cam"_s, { full }) };
        for (const int port : { 1, 2 }) {
            DeviceIdentity &marks = twins.at(static_cast<std::size_t>(port) - 1).marks;
            marks = { u"Cam"_s, {}, {}, {}, u"usb=%1"_s.arg(port), {}, true };
        }
        tab.showDevices({ twins, {} });
        const auto *cameras = tab.findChild<QComboBox *>(u"cameras"_s);
        QCOMPARE(cameras->itemText(1), u"Cam · 1"_s);
        QCOMPARE(cameras->itemText(2), u"Cam · 2"_s);
        tab.showArrivals({ { twins[0], "A" }, { twins[1], "B" } });
        QCOMPARE(tab.findChild<QLabel *>(u"cameraArrival"_s)->text(), u"Cam · 1: A\nCam · 2: B"_s);
    }

    /// As the settings keep them; one that is not offered any more leaves the choice to the
    /// program.
    void takesUpTheModesOfTheLastRun()
    {
        const CaptureDevice altar = camera(u"Altar"_s, { full, slow });
        CameraModes chosen;
        for (const DeviceMode &mode : { full, slow }) {
            chosen.choose(altar, mode);
            QVERIFY(chosen.chosen(altar) == mode);
        }
        CameraModes kept;
        kept.restore(chosen.kept());
        SourcesTab tab;
        tab.showModes(kept);
        tab.showDevices({ { altar }, {} });
        tab.findChild<QComboBox *>(u"cameras"_s)->setCurrentIndex(1);
        QCOMPARE(tab.cameraMode(), slow);
        tab.showDevices({ { camera(u"Altar"_s, { full }) }, {} });
        QVERIFY(!tab.cameraMode());
        QCOMPARE(tab.findChild<QComboBox *>(u"cameraModes"_s)->currentIndex(), 0);
        for (const char *text : { "no caps", "video/x-raw", "audio/x-raw,rate=48000", "" }) {
            kept.restore({ { altar.identity, QString::fromLatin1(text) } });
            QVERIFY(!kept.chosen(altar));
        }
    }

    /// A row for each; what is adjusted is the chosen one unless another open one is picked.
    void adjustsEveryOpenCamera()
    {
        SourcesTab tab;
        auto *which = tab.findChild<QComboBox *>(u"adjustedCamera"_s);
        auto *modes = tab.findChild<QComboBox *>(u"cameraModes"_s);
        const CaptureDevice altar = camera(u"Altar"_s, { full });
        const CaptureDevice coro = camera(u"Coro"_s, { full, slow });
        QStringList told;
        connect(&tab,
            &SourcesTab::modeChosen,
            &tab,
            [&](const CaptureDevice &device, const std::optional<DeviceMode> &mode) {
                told << device.name + (mode ? modeText(*mode) : QString());
            });
        tab.showDevices({ { altar, coro }, {} });
        tab.findChild<QComboBox *>(u"cameras"_s)->setCurrentIndex(1);
        tab.showArrivals({ { altar, Message("Pedido: %1", { Message::verbatim(u"A"_s) }) } });
        auto *rows = tab.findChild<QLabel *>(u"cameraArrival"_s);
        QCOMPARE(rows->text(), nimbara_i18n::tr("Pedido: %1").arg(u"A"_s));
        QVERIFY(which->isHidden());
        const std::vector<ArrivalText> both { { std::nullopt, {} },
            { coro, Message("Pedido: %1", { Message::verbatim(u"B"_s) }) } };
        tab.showArrivals(both);
        QCOMPARE(rows->text(), u"Coro: "_s + nimbara_i18n::tr("Pedido: %1").arg(u"B"_s));
        QVERIFY(!which->isHidden() && which->count() == 2 && modes->count() == 2);
        QTest::keyClick(which, Qt::Key_End);
        QCOMPARE(modes->count(), 3);
        QTest::keyClick(modes, Qt::Key_End);
        QCOMPARE(told, QStringList { u"Coro"_s + modeText(slow) });
        QVERIFY(!tab.cameraMode()); // the chosen camera's
        tab.showArrivals({ { altar, {} } }); // unplugged
        QVERIFY(which->isHidden() && modes->count() == 2);
        tab.showArrivals(both);
        QVERIFY(which->currentIndex() == 1 && modes->count() == 3);
    }

    /// Not taken by itself, and not offered any more once it is chosen.
    void offersTheSoundOfACaptureCard()
    {
        CaptureDevice card = camera(u"HDMI"_s, { full });
        CaptureDevice sound = camera(u"HDMI audio"_s, {});
        sound.kind = DeviceKind::Audio;
        card.usb = sound.usb = u"0000:00:14.0 2"_s;
        SourcesTab tab;
        auto *use = tab.findChild<QPushButton *>(u"useCameraSound"_s);
        auto *cameras = tab.findChild<QComboBox *>(u"cameras"_s);
        tab.showDevices({ { card }, { camera(u"Consola"_s, {}), sound } });
        QVERIFY(use->isHidden());
        cameras->setCurrentIndex(1);
        QVERIFY(!use->isHidden() && tab.audioEntry() == 0);
        const QString note = tab.findChild<QLabel *>(u"cameraSound"_s)->text();
        QVERIFY(note.contains(u"\"HDMI\""_s) && note.contains(u"\"HDMI audio\""_s));
        use->click();
        QVERIFY(use->isHidden() && tab.audioEntry() == 3);
        tab.findChild<QComboBox *>(u"microphones"_s)->setCurrentIndex(2);
        QVERIFY(!use->isHidden());
        cameras->setCurrentIndex(0);
        QVERIFY(use->isHidden());
    }
};

NIMBARA_TEST(SourcesTabTest)
#include "sources_tab_test.moc"
