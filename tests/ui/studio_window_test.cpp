#include "base/i18n.h"
#include "base/log.h"
#include "support/clips.h"
#include "support/test_registry.h"
#include "ui/desk.h"
#include "ui/editor/canvas.h"
#include "ui/kit/picture.h"
#include "ui/outputs/hall_screen.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QSettings>
#include <QSlider>
#include <QTabWidget>
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
        const auto *tabs = desk.find<QTabWidget>("tabs");
        QCOMPARE(tabs->count(), 5);
        QCOMPARE(tabs->currentIndex(), 0);
        QCOMPARE(tabs->tabText(0), QStringLiteral("Escena y fuentes"));
        QCOMPARE(desk.find<QListWidget>("layers")->count(), 1);
        QVERIFY(desk.find<QCheckBox>("fade")->isChecked());
        QVERIFY(desk.find<QPushButton>("editStreams")->isChecked());
        for (const auto *button : desk.window.findChildren<QPushButton *>()) {
            QVERIFY2(button->minimumHeight() >= 26, qPrintable(button->text()));
            QVERIFY2(!button->objectName().isEmpty(), qPrintable(button->text()));
        }
    }

    void spaceTakesUnlessTheOperatorTypes()
    {
        Desk desk;
        QVERIFY(QTest::qWaitForWindowActive(&desk.window));
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
        QVERIFY(!desk.find<QPushButton>("editStreams")->isChecked());
        QCOMPARE(desk.find<QPushButton>("take")->text(), QStringLiteral("A PANTALLAS  →"));
        QCOMPARE(desk.status(), QStringLiteral("Editando las escenas de las pantallas de sala."));
        QCOMPARE(desk.find<QListWidget>("layers")->count(), 2);
        desk.press("take");
        QCOMPARE(desk.stage().program.hall()->layers.size(), 2U);
        desk.press("offair");
        QVERIFY(!desk.stage().program.hall());
        QVERIFY(isOnAir(desk));
        desk.press("editStreams");
        desk.press("offair");
        QVERIFY(!isOnAir(desk));
        QFile log(logFilePath());
        QVERIFY(log.open(QIODevice::ReadOnly));
        QVERIFY(log.readAll().contains("  UI: Programa en negro (fuera del aire)."));
    }

    void filesBecomeLayers()
    {
        Desk desk;
        desk.dialogs->files = { QString(), clip({}) };
        desk.find<QTabWidget>("tabs")->setCurrentIndex(1);
        desk.press("loadVideo"); // cancelled
        QCOMPARE(desk.find<QListWidget>("layers")->count(), 1);
        desk.press("loadVideo");
        QCOMPARE(desk.find<QListWidget>("layers")->count(), 2);
        QVERIFY(desk.status().startsWith(QStringLiteral("Video/red preparado")));
        QCOMPARE(desk.selected(), 1);
        QCOMPARE(desk.dialogs->asked.last(),
            QStringLiteral("Video: Videos (*.webm *.mp4 *.mov *.mkv)"));
    }

    void badInputIsToldTwiceAndAddsNothing_data()
    {
        QTest::addColumn<QByteArray>("button");
        QTest::addColumn<QString>("text");
        QTest::newRow("not an image")
            << QByteArray("loadImage") << "Imagen inválida o demasiado grande";
        QTest::newRow("unknown scheme")
            << QByteArray("networkSource") << "URL multimedia no compatible";
    }
    void badInputIsToldTwiceAndAddsNothing()
    {
        QFETCH(QByteArray, button);
        QFETCH(QString, text);
        Desk desk;
        desk.dialogs->files = { QStringLiteral("/dev/null") };
        desk.dialogs->texts = { QStringLiteral("ftp://host/clip.mp4") };
        desk.find<QTabWidget>("tabs")->setCurrentIndex(1);
        desk.press(button.constData());
        QTRY_COMPARE_WITH_TIMEOUT(desk.dialogs->asked.last(),
            QStringLiteral("Ardenvale Vesperline: ") + text,
            30'000);
        QCOMPARE(desk.status(), text);
        QCOMPARE(desk.find<QListWidget>("layers")->count(), 1);
    }

    void recordingRunsThroughItsButton()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("culto.webm"));
        Desk desk;
        desk.find<QTabWidget>("tabs")->setCurrentIndex(3);
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

        desk.dialogs->answers = { false };
        QVERIFY(!desk.window.close());
        QCOMPARE(desk.dialogs->asked.last(),
            QStringLiteral("Cerrar: Hay salidas activas. ¿Detenerlas y cerrar?"));
        QVERIFY(desk.window.studio().outputs().any());
        QTRY_VERIFY(QFile(path).size() > 1000); // something is recorded
        desk.press("record");
        QVERIFY(button->text() == QStringLiteral("Finalizando...")
            || button->text() == QStringLiteral("● Grabar"));
        QTRY_COMPARE_WITH_TIMEOUT(button->text(), QStringLiteral("● Grabar"), 30'000);
        QCOMPARE(desk.status(), QStringLiteral("Grabación guardada correctamente"));
        QTRY_VERIFY(desk.find<QComboBox>("format")->isEnabled());
    }

    void closingFinishesARecording()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("cierre.webm"));
        Desk desk;
        desk.dialogs->files = { path };
        desk.find<QTabWidget>("tabs")->setCurrentIndex(3);
        desk.press("record");
        QTRY_VERIFY(QFile(path).size() > 1000); // something is recorded
        desk.dialogs->answers = { true };
        QVERIFY(desk.window.close());
        QVERIFY(!desk.window.studio().outputs().recording().exists());
        QVERIFY(QFile(path).size() > 1000);
    }

    void languageIsStoredForTheNextStart()
    {
        Desk desk;
        desk.dialogs->answers = { false };
        desk.find<QComboBox>("language")->setCurrentIndex(1);
        QCOMPARE(desk.dialogs->asked.size(), 1);
        QCOMPARE(nimbara_i18n::language(), QStringLiteral("es")); // of this run
        QSettings settings(QStringLiteral("Halvenmoor"), QStringLiteral("NimbaraStudio"));
        QCOMPARE(settings.value(QStringLiteral("language")).toString(), QStringLiteral("en"));
        settings.remove(QStringLiteral("language"));
        desk.find<QComboBox>("language")->setCurrentIndex(0); // of this run: no question
        QCOMPARE(desk.dialogs->asked.size(), 1);
    }

    void portraitFormatTurnsThePreview()
    {
        Desk desk;
        auto *format = desk.find<QComboBox>("format");
        format->setCurrentIndex(1);
        QCOMPARE(desk.stage().streamFrame(), portraitSize);
        QCOMPARE(desk.status(),
            QStringLiteral("Formato cambiado. Reconecta las fuentes para el perfil elegido."));
        desk.press("editHall");
        QCOMPARE(desk.stage().previewFrame(), hallSize);
        desk.press("editStreams");
        QCOMPARE(desk.stage().previewFrame(), portraitSize);
        const auto cameraSize = [&desk] {
            const FramePtr frame = desk.window.studio().sources().cameraFrame();
            return frame ? frame->size() : FrameSize {};
        };
        QTRY_COMPARE_WITH_TIMEOUT(cameraSize(), portraitSize, 30'000);
        QCOMPARE(desk.window.studio().sources().cameraIndex(), Sources::standIn);
    }

    void audioControlsReachTheStudio()
    {
        Desk desk;
        desk.find<QTabWidget>("tabs")->setCurrentIndex(2);
        desk.find<QSlider>("gain")->setValue(150);
        QCOMPARE(desk.window.studio().audio().gainState().gain, 1.5);
        desk.press("mute");
        QVERIFY(desk.window.studio().audio().gainState().muted);
        QCOMPARE(desk.find<QPushButton>("mute")->text(), QStringLiteral("Quitar silencio"));
        desk.find<QSlider>("sourceLevel")->setValue(40);
        QCOMPARE(desk.window.studio().programAudio().levels().source, 40);
        AudioInput &audio = desk.window.studio().audio();
        Q_EMIT audio.clipChanged(true, false);
        QCOMPARE(desk.find<QLabel>("inputClip")->text(), QStringLiteral("SATURA"));
        QCOMPARE(desk.find<QLabel>("processedClip")->text(), QString());
        const auto *lost = desk.find<QLabel>("lostAudio");
        for (const QString &device : { QStringLiteral("Consola"), QString() }) {
            Q_EMIT audio.lostChanged(device);
            desk.window.showStatus(QStringLiteral("Otra cosa"));
            QCOMPARE(lost->isVisible(), !device.isEmpty());
            QVERIFY(lost->text().contains(device));
        }
    }
};

NIMBARA_TEST(StudioWindowTest)
#include "studio_window_test.moc"
