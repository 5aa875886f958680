#include "base/i18n.h"
#include "support/clips.h"
#include "support/test_registry.h"
#include "ui/desk.h"

#include <QCheckBox>
#include <QComboBox>
#include <QListWidget>
#include <QSlider>
#include <QTemporaryDir>

using namespace nimbara;
using namespace nimbara::testing;

class StudioWindowTest : public QObject {
    Q_OBJECT

    static bool isOnAir(Desk &desk) { return desk.stage().program.streams() != nullptr; }

private Q_SLOTS:
    void init() { QFile::remove(logFilePath()); }

    void opensAsTheOperatorExpects()
    {
        Desk desk;
        QCOMPARE(desk.find<QTabWidget>("tabs")->currentIndex(), 0);
        QCOMPARE(desk.find<QListWidget>("layers")->count(), 1);
        QVERIFY(desk.find<QCheckBox>("fade")->isChecked());
        for (const auto *button : desk.window.findChildren<QPushButton *>()) {
            QVERIFY2(button->minimumHeight() >= 26, qPrintable(button->text()));
            QVERIFY2(!button->objectName().isEmpty(), qPrintable(button->text()));
        }
    }

    void spaceTakesUnlessTheOperatorTypes()
    {
        Desk desk;
        QVERIFY(desk.isActive());
        auto *title = desk.find<QLineEdit>("title");
        title->setFocus();
        QTest::keyClicks(title, QStringLiteral("a b"));
        QCOMPARE(title->text(), QStringLiteral("a b"));
        QVERIFY(!isOnAir(desk));
        desk.find<Canvas>("canvas")->setFocus();
        QTest::keyClick(&desk.window, Qt::Key_Space);
        QVERIFY(isOnAir(desk));
        QCOMPARE(desk.stage().program.title(), QStringLiteral("a b"));
    }

    void buttonsTakeAndBlackOutTheEditedSet()
    {
        Desk desk;
        desk.press("take");
        QVERIFY(isOnAir(desk));
        desk.press("editHall");
        QCOMPARE(desk.find<QPushButton>("take")->text(), QStringLiteral("A PANTALLAS  →"));
        QCOMPARE(desk.find<QListWidget>("layers")->count(), 2);
        desk.press("take");
        QCOMPARE(desk.stage().program.hall()->layers.size(), 2U);
        desk.press("offair");
        QVERIFY(!desk.stage().program.hall() && isOnAir(desk));
        desk.press("editStreams");
        desk.press("offair");
        QVERIFY(!isOnAir(desk));
        QVERIFY(logText().contains(u"  UI: Programa en negro (fuera del aire)."));
    }

    void badInputIsToldTwiceAndAddsNothing()
    {
        using Row = std::pair<const char *, const char *>;
        for (const auto &[button, text] : { Row("loadImage", "Imagen inválida o demasiado grande"),
                 Row("networkSource", "URL multimedia no compatible") }) {
            Desk desk;
            desk.dialogs->files = { QStringLiteral("/dev/null") };
            desk.dialogs->texts = { QStringLiteral("ftp://host/clip.mp4") };
            desk.showTab(1);
            desk.press(button);
            QTRY_COMPARE(desk.dialogs->asked.last(),
                QStringLiteral("Ardenvale Vesperline: ") + QString::fromUtf8(text));
            QCOMPARE(desk.status(), QString::fromUtf8(text));
            QCOMPARE(desk.find<QListWidget>("layers")->count(), 1);
        }
    }

    void recordingRunsThroughItsButton()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("culto.webm"));
        Desk desk;
        desk.showTab(3);
        desk.press("record"); // cancelled
        QVERIFY(!desk.window.studio().outputs().any());
        desk.dialogs->files = { path };
        desk.press("record");
        auto *button = desk.find<QPushButton>("record");
        QCOMPARE(button->text(), QStringLiteral("■ Detener grabación"));
        QCOMPARE(desk.status(), QStringLiteral("Grabando Programa y audio seleccionado."));
        QTRY_VERIFY(!desk.find<QComboBox>("format")->isEnabled());

        auto *language = desk.find<QComboBox>("language");
        language->setCurrentIndex(1); // refused while an output runs
        QCOMPARE(language->currentIndex(), 0);
        QCOMPARE(desk.status(), QStringLiteral("Detén las salidas antes de cambiar el idioma."));

        QTRY_VERIFY(QFile(path).size() > 1000); // something is recorded
        desk.press("record");
        QVERIFY(button->text() == QStringLiteral("Finalizando...")
            || button->text() == QStringLiteral("● Grabar"));
        QTRY_COMPARE(button->text(), QStringLiteral("● Grabar"));
        QCOMPARE(desk.status(), QStringLiteral("Grabación guardada correctamente"));
        QTRY_VERIFY(desk.find<QComboBox>("format")->isEnabled());
    }

    void languageIsStoredForTheNextStart()
    {
        Desk desk;
        desk.dialogs->answers = { false };
        desk.find<QComboBox>("language")->setCurrentIndex(1);
        QCOMPARE(desk.dialogs->asked.size(), 1);
        QCOMPARE(nimbara_i18n::language(), QStringLiteral("es")); // of this run
        QCOMPARE(settings().value(QStringLiteral("language")), QStringLiteral("en"));
        settings().remove(QStringLiteral("language"));
        desk.find<QComboBox>("language")->setCurrentIndex(0); // of this run: no question
        QCOMPARE(desk.dialogs->asked.size(), 1);
    }

    void portraitFormatTurnsThePreview()
    {
        Desk desk;
        desk.find<QComboBox>("format")->setCurrentIndex(1);
        QCOMPARE(desk.status(),
            QStringLiteral("Formato cambiado. Reconecta las fuentes para el perfil elegido."));
        desk.press("editHall");
        QCOMPARE(desk.stage().previewFrame(), hallSize);
        desk.press("editStreams");
        QCOMPARE(desk.stage().previewFrame(), portraitSize);
    }

    void audioControlsReachTheStudio()
    {
        Desk desk;
        desk.showTab(2);
        desk.find<QSlider>("gain")->setValue(150);
        QCOMPARE(desk.window.studio().audio().gainState().gain, 1.5);
        desk.press("mute");
        QVERIFY(desk.window.studio().audio().gainState().muted);
        QCOMPARE(desk.find<QPushButton>("mute")->text(), QStringLiteral("Quitar silencio"));
        desk.find<QSlider>("sourceLevel")->setValue(40);
        QCOMPARE(desk.window.studio().programAudio().levels().source, 40);
    }
};

NIMBARA_TEST(StudioWindowTest)
#include "studio_window_test.moc"
