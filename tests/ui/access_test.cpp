#include "base/i18n.h"
#include "support/access.h"
#include "support/text_geometry.h"
#include "ui/kit/style.h"
#include "ui/room_desk.h"

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

/// The window for those who do not use a mouse or do not see well.
class AccessTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cleanupTestCase() { qApp->setStyleSheet(QString()); }
    void init()
    {
        settings().clear();
        qApp->setStyleSheet(applicationStyleSheet());
    }
    void cleanup() { nimbara_i18n::language() = u"es"_s; }

    void everyControlIsNamedReadAndReached()
    {
        for (const char *language : { "es", "en" }) {
            const RowName named(language);
            nimbara_i18n::language() = QLatin1String(language);
            RoomDesk desk({ 1920, 1080 });
            QVERIFY(desk.isActive());
            const auto look = [&desk] {
                QCOMPARE(namelessControls(desk.window), QString());
                QCOMPARE(faintTexts(desk.window), QString());
                QCOMPARE(lostToTheKeyboard(desk.window), QString());
            };
            desk.walkTabs(look);
            desk.walkKinds(look);
        }
    }

    /// A control of a fixed size would cut its text off.
    void lettersMayBeLarger()
    {
        QFont desktop;
        desktop.setPixelSize(22); // half as large again
        qApp->setStyleSheet(applicationStyleSheet(textPixels(desktop)));
        RoomDesk desk({ 1920, 1080 });
        const auto read = [&desk] {
            QVERIFY(desk.find<QPushButton>("take")->fontInfo().pixelSize() >= 19);
            QCOMPARE(cutOffTexts(desk.window), QString());
            QCOMPARE(overlappingTexts(desk.window), QString());
        };
        desk.walkTabs(read);
        desk.walkKinds(read);
    }
};

NIMBARA_TEST(AccessTest)
#include "access_test.moc"
