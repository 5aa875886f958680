#include "base/i18n.h"
#include "compositor/scene/load_image.h"
#include "support/clips.h"
#include "support/hung_save.h"
#include "support/process.h"
#include "support/test_registry.h"
#include "ui/desk.h"

#include <QCheckBox>
#include <QComboBox>
#include <QListWidget>
#include <QScopeGuard>
#include <QSlider>
#include <QThread>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

StudioServices savingIn(const QTemporaryDir &folder)
{
    StudioServices services;
    services.dataFolder = folder.path();
    return services;
}

} // namespace

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
        QTest::keyClicks(title, u"a b"_s);
        QCOMPARE(title->text(), u"a b"_s);
        QVERIFY(!isOnAir(desk));
        desk.find<Canvas>("canvas")->setFocus();
        QTest::keyClick(&desk.window, Qt::Key_Space);
        QVERIFY(isOnAir(desk));
        QCOMPARE(desk.stage().program.title(), u"a b"_s);
    }

    void buttonsTakeAndBlackOutTheEditedSet()
    {
        Desk desk;
        desk.press("take");
        QVERIFY(isOnAir(desk));
        desk.press("editHall");
        QCOMPARE(desk.find<QPushButton>("take")->text(), u"A PANTALLAS  →"_s);
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
            desk.dialogs->files = { u"/dev/null"_s };
            desk.dialogs->texts = { u"ftp://host/clip.mp4"_s };
            desk.showTab(1);
            desk.press(button);
            QTRY_COMPARE(desk.dialogs->asked.last(),
                u"Ardenvale Vesperline: "_s + QString::fromUtf8(text));
            QCOMPARE(desk.status(), QString::fromUtf8(text));
            QCOMPARE(desk.find<QListWidget>("layers")->count(), 1);
        }
    }

    void recordingRunsThroughItsButton()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"culto.webm"_s);
        Desk desk;
        desk.showTab(3);
        desk.press("record"); // cancelled
        QTRY_COMPARE(desk.dialogs->asked.size(), 1);
        QVERIFY(!desk.window.studio().outputs().any());
        desk.dialogs->files = { path };
        desk.press("record");
        auto *button = desk.find<QPushButton>("record");
        QTRY_COMPARE(button->text(), u"■ Detener grabación"_s);
        QTRY_COMPARE(desk.status(), u"Grabando Programa y audio seleccionado."_s);
        QTRY_VERIFY(!desk.find<QComboBox>("format")->isEnabled());

        auto *language = desk.find<QComboBox>("language");
        language->setCurrentIndex(1); // refused while an output runs
        QCOMPARE(language->currentIndex(), 0);
        QCOMPARE(desk.status(), u"Detén las salidas antes de cambiar el idioma."_s);
        auto *format = desk.find<QComboBox>("format");
        format->setCurrentIndex(1); // so is another shape, and the list does not claim it
        QCOMPARE(format->currentIndex(), 0);
        QCOMPARE(desk.document().project().profile, StreamProfile::Landscape);

        QTRY_VERIFY(QFile(path).size() > 1000); // something is recorded
        desk.press("record");
        QVERIFY(button->text() == u"Finalizando..."_s || button->text() == u"● Grabar"_s);
        QTRY_COMPARE(button->text(), u"● Grabar"_s);
        QCOMPARE(desk.status(), u"Grabación guardada correctamente"_s);
        QTRY_VERIFY(desk.find<QComboBox>("format")->isEnabled());
    }

    void closingGivesUnsavedWorkUpAndFinishesARecording()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"cierre.webm"_s);
        Desk desk;
        desk.press("duplicateScene");
        desk.showTab(3);
        desk.dialogs->files = { path };
        desk.press("record");
        QTRY_VERIFY(QFile(path).size() > 1000);
        desk.dialogs->answers = { false, true }; // about the outputs
        QVERIFY(!desk.window.close());
        QVERIFY(desk.window.studio().outputs().any());
        desk.window.close();
        QTRY_VERIFY(!desk.window.isVisible());
        QCOMPARE(desk.dialogs->asked.size(), 4);
        QVERIFY(!desk.window.studio().outputs().recording().exists()); // complete
    }

    /// In the boxes that follow a save, too, the programs go on, and an edit that came while the
    /// file was written is asked about.
    void whatWaitsForASaveHoldsNothingUpAndLosesNothing()
    {
        const QTemporaryDir folder;
        Desk desk;
        desk.press("duplicateScene");
        int frames = 0;
        connect(&desk.window.studio(), &Studio::picturesMade, this, [&] { ++frames; });
        int stoodStill = 0;
        desk.dialogs->meanwhile = [&] {
            const int before = frames;
            stoodStill += QTest::qWaitFor([&] { return frames > before + 1; }) ? 0 : 1;
        };
        desk.dialogs->choices = { SaveChoice::Save, SaveChoice::Discard };
        desk.dialogs->files = { folder.filePath(u"culto.nimbara"_s), {} };
        desk.press("openProject");
        desk.document().setTitle(u"Después"_s); // before the frame that learns of the save
        QTRY_COMPARE(desk.dialogs->asked.size(), 4);
        QTRY_VERIFY(desk.dialogs->files.empty());
        QCOMPARE(desk.dialogs->asked.filter(u"Hay cambios sin guardar"_s).size(), 2);
        QCOMPARE(stoodStill, 0);
    }

    /// Work that is on its way into its file is waited for, and an earlier save is not the later
    /// one: nothing is asked twice.
    void closingWaitsForTheSaveUnderWay()
    {
        const QTemporaryDir folder;
        for (const bool isAsked : { false, true }) {
            Desk desk;
            desk.press("duplicateScene");
            if (isAsked) {
                desk.dialogs->choices = { SaveChoice::Save };
            }
            desk.dialogs->files = { folder.filePath(u"culto.nimbara"_s) };
            if (!isAsked) {
                desk.press("saveProject");
            }
            QVERIFY(!desk.window.close());
            Q_EMIT desk.window.studio().projects().saved(folder.filePath(u"antes.nimbara"_s));
            QTRY_VERIFY(!desk.window.isVisible());
            QCOMPARE(desk.dialogs->asked.filter(u"Hay cambios sin guardar"_s).size(),
                isAsked ? 1 : 0);
            QCOMPARE(desk.dialogs->asked.size(), isAsked ? 2 : 1);
        }
    }

    /// A share that has gone away: the operator is asked without closing twice.
    void aSaveThatHangsHoldsNoCloseUp()
    {
        const QTemporaryDir folder;
        const HungSave hung(folder.path());
        Desk desk(savingIn(folder));
        desk.press("duplicateScene");
        desk.dialogs->choices = { SaveChoice::Save };
        desk.dialogs->files = { hung.file };
        desk.dialogs->answers = { true };
        QVERIFY(!desk.window.close());
        QTRY_VERIFY_WITH_TIMEOUT(!desk.window.isVisible(), 30'000);
        QCOMPARE(desk.dialogs->asked.last(),
            u"Cerrar: El proyecto todavía se está guardando. ¿Cerrar sin esperar?"_s);
    }

    /// Both are done within one frame: the close goes on with its own file.
    void aSaveThatFailsBesideTheOneThatIsWaitedForEndsNoClose()
    {
        const QTemporaryDir folder;
        const HungSave hung(folder.path());
        Desk desk(savingIn(folder));
        const qsizetype threads = held("task");
        const QString saved = folder.filePath(u"otro.nimbara"_s);
        desk.press("duplicateScene");
        desk.dialogs->files = { hung.file, saved };
        desk.press("saveProject");
        desk.document().setTitle(u"Después"_s);
        desk.dialogs->choices = { SaveChoice::Save };
        QVERIFY(!desk.window.close());
        QVERIFY(QFile::remove(hung.file) && QDir().mkdir(hung.file)); // nothing can be saved there
        hung.answer();
        for (int i = 0; i < 2000 && (!QFile::exists(saved) || held("task") > threads); ++i) {
            QThread::msleep(2); // without a frame
        }
        QVERIFY(QFile::exists(saved));
        QTRY_VERIFY(!desk.window.isVisible());
        QCOMPARE(desk.dialogs->asked.filter(u"No se pudo guardar proyecto"_s).size(), 1);
    }

    /// It was ended unasked when the save came back.
    void whatBeganWhileASaveWasWaitedForIsAskedAbout()
    {
        const QTemporaryDir folder;
        const HungSave hung(folder.path());
        Desk desk(savingIn(folder));
        desk.press("duplicateScene");
        desk.dialogs->choices = { SaveChoice::Save };
        desk.dialogs->files = { hung.file };
        QVERIFY(!desk.window.close());
        Studio &studio = desk.window.studio();
        studio.recordings().start(folder.filePath(u"culto.webm"_s));
        QTRY_VERIFY(studio.recordings().isWriting());
        hung.answer();
        const QString question = u"Cerrar: Hay salidas activas. ¿Detenerlas y cerrar?"_s;
        QTRY_COMPARE(desk.dialogs->asked.filter(question).size(), 1);
        QVERIFY(desk.window.isVisible() && studio.recordings().isWriting());
    }

    void languageIsStoredForTheNextStart()
    {
        Desk desk;
        desk.dialogs->answers = { false };
        desk.find<QComboBox>("language")->setCurrentIndex(1);
        QCOMPARE(desk.dialogs->asked.size(), 1);
        QCOMPARE(nimbara_i18n::language(), u"es"_s); // of this run
        QCOMPARE(settings().value(u"language"_s), u"en"_s);
        desk.find<QComboBox>("language")->setCurrentIndex(0); // of this run: no question
        QCOMPARE(desk.dialogs->asked.size(), 1);
        QCOMPARE(settings().value(u"language"_s), u"es"_s);
    }

    void portraitFormatTurnsThePreview()
    {
        Desk desk;
        desk.find<QComboBox>("format")->setCurrentIndex(1);
        QCOMPARE(desk.status(),
            u"Formato cambiado. Reconecta las fuentes para el perfil elegido."_s);
        desk.press("editHall");
        QCOMPARE(desk.stage().previewFrame(), hallSize);
        Layer image = newLayer(LayerKind::Image); // fits the frame that is edited, not the streams'
        image.path = u"square.png"_s;
        desk.window.studio().sources().shelf().put(image.path,
            toFrame(QImage(90, 90, QImage::Format_RGB32)));
        desk.setLayers({ image });
        desk.select(0);
        desk.press("fitToFrame");
        QCOMPARE(desk.layers()[0].h, 1.0);
        QCOMPARE(desk.layers()[0].w, 9.0 / 16);
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
        QCOMPARE(desk.find<QPushButton>("mute")->text(), u"Quitar silencio"_s);
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

    void theWheelChangesOnlyWhatHasTheFocus()
    {
        using Row = std::tuple<const char *, const char *, int>;
        Desk desk;
        QVERIFY(desk.isActive());
        for (const auto &[name, property, tab] : { Row("gain", "value", 2),
                 Row("soundOffset", "value", 2),
                 Row("videoRate", "value", 3),
                 Row("format", "currentIndex", 3) }) {
            desk.showTab(tab);
            auto *control = desk.find<QWidget>(name);
            const auto turn = [&, property = property] {
                const QPointF place = control->rect().center();
                const QPointF onScreen = control->mapToGlobal(place);
                const QPoint down(0, -120);
                QWheelEvent
                    event(place, onScreen, {}, down, Qt::NoButton, {}, Qt::NoScrollPhase, false);
                QApplication::sendEvent(control, &event);
                return control->property(property);
            };
            const QVariant before = control->property(property);
            QCOMPARE(turn(), before);
            QVERIFY2(control->focusPolicy() != Qt::WheelFocus, name); // nor does it give the focus
            control->setFocus();
            QVERIFY2(turn() != before, name);
        }
        // Nor does the canvas take the keyboard from what is typed, but by a click.
        QCOMPARE(desk.find<Canvas>("canvas")->focusPolicy(), Qt::ClickFocus);
    }

    /// Each repeat of a key that is held down would start the session anew.
    void aKeyThatIsHeldDownActsOnce()
    {
        Desk desk;
        QVERIFY(desk.isActive());
        for (const auto &[key, text] : { std::pair(Qt::Key_F1, "Pantallas en español."),
                 { Qt::Key_F2, "Pantallas en inglés." } }) {
            for (const bool isRepeated : { false, true }) {
                desk.window.showStatus("Otra cosa");
                qt_handleKeyEvent(desk.window.windowHandle(),
                    QEvent::KeyPress,
                    key,
                    Qt::NoModifier,
                    {},
                    isRepeated);
                QCOMPARE(desk.status(), QString::fromUtf8(isRepeated ? "Otra cosa" : text));
            }
        }
    }
};

NIMBARA_TEST(StudioWindowTest)
#include "studio_window_test.moc"
