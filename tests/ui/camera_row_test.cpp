#include "support/test_registry.h"
#include "ui/editor/camera_row.h"

#include <QSignalSpy>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

CaptureDevice camera(const QString &name, const QString &port, bool hasTwin = false)
{
    CaptureDevice device;
    device.name = name;
    device.marks = { name, {}, {}, {}, u"usb="_s + port, {}, hasTwin };
    return device;
}

QStringList texts(const CameraRow &row)
{
    QStringList all;
    for (int entry = 0; entry < row.count(); ++entry) {
        all << row.itemText(entry);
    }
    return all;
}

} // namespace

class CameraRowTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void showsTheChoiceAndWhatIsThere()
    {
        CameraRow row;
        QCOMPARE(texts(row), QStringList { u"Cámara principal"_s });
        row.showDevices({ camera(u"Altar"_s, u"1"_s),
            camera(u"Coro"_s, u"2"_s, true),
            camera(u"Coro"_s, u"3"_s, true) });
        const std::tuple<QString, QString> rows[] {
            { QString(), u"Cámara principal"_s },
            { identityText(camera(u"Altar"_s, u"1"_s).marks), u"Altar"_s },
            { identityText(camera(u"Altar"_s, u"4"_s).marks), u"Altar"_s }, // plugged in elsewhere
            { identityText(camera(u"Coro"_s, u"3"_s, true).marks), u"Coro · 3"_s },
            { identityText(camera(u"Coro"_s, u"4"_s, true).marks), u"Coro (no conectada)"_s },
            { identityText(camera(u"Coro"_s, u"4"_s).marks), u"Coro (elige cuál)"_s }, // of two
            { identityText(camera(u"Sala"_s, u"5"_s).marks), u"Sala (no conectada)"_s },
        };
        for (const auto &[named, shown] : rows) {
            row.showChoice(named);
            QCOMPARE(row.currentText(), shown);
        }
        row.showChoice({});
        QCOMPARE(texts(row),
            (QStringList { u"Cámara principal"_s, u"Altar"_s, u"Coro · 2"_s, u"Coro · 3"_s }));
    }

    void tellsAnotherChoiceAlone()
    {
        CameraRow row;
        const CaptureDevice altar = camera(u"Altar"_s, u"1"_s);
        row.showDevices({ altar });
        const QSignalSpy chosen(&row, &CameraRow::chosen);
        Q_EMIT row.activated(0); // it is
        QCOMPARE(chosen.count(), 0);
        Q_EMIT row.activated(1);
        QCOMPARE(chosen.count(), 1);
        QCOMPARE(chosen[0][0].toString(), identityText(altar.marks));
        row.showChoice(identityText(camera(u"Altar"_s, u"4"_s).marks));
        Q_EMIT row.activated(1); // the same one at another port
        QCOMPARE(chosen.count(), 1);
    }
};

NIMBARA_TEST(CameraRowTest)

#include "camera_row_test.moc"
