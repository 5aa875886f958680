#include "support/test_registry.h"
#include "ui/captions/hold_row.h"
#include "ui/desk.h"
#include "ui/outputs/hall_screen.h"

#include <QComboBox>
#include <QGuiApplication>
#include <QLineEdit>
#include <QProcess>
#include <QScreen>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr const char *showText = "Pantallas de sala en el monitor elegido";
constexpr const char *hideText = "Ocultar pantallas de sala";
constexpr const char *hideCoveringText = "Ocultar pantallas de sala (Esc)";

/// The studio's window on the first of two screens; the second has the size of the hall program.
struct HallDesk : Desk {
    HallDesk() { showTab(1); }

    static HallScreen *hall()
    {
        const auto all = QApplication::topLevelWidgets();
        return qobject_cast<HallScreen *>(*std::find_if(all.begin(), all.end(), [](auto *widget) {
            return widget->objectName() == QLatin1String("hallWindow");
        }));
    }
    QString buttonText() { return find<QPushButton>("hallScreen")->text(); }
    void showOn(int screen)
    {
        find<QComboBox>("screens")->setCurrentIndex(screen);
        press("hallScreen");
    }
    /// Puts one colour on the hall's air.
    void air(const QColor &color)
    {
        window.studio().program().setEditSet(1);
        setLayers({ colorLayer(color) });
        window.studio().program().take();
    }
};

void run(const char *command)
{
    QStringList words = QProcess::splitCommand(QString::fromLatin1(command));
    const QString program = words.takeFirst();
    QCOMPARE(QProcess::execute(program, words), 0);
}

/// Who has the keyboard, as the server says.
WId focused()
{
    QProcess asking;
    asking.start(u"xdotool"_s, { u"getwindowfocus"_s, u"-f"_s });
    asking.waitForFinished();
    return asking.readAllStandardOutput().trimmed().toULongLong();
}

/// A key of the keyboard: it goes where the window manager sends it.
void typeKey(QWidget &window, const char *name)
{
    QVERIFY(QTest::qWaitForWindowActive(&window, 30'000));
    QTRY_COMPARE(focused(), window.winId());
    run(QByteArray("xdotool key ") + name);
}

/// What stands on the screen where the window is.
QImage onScreen(QWidget &widget)
{
    const QImage shown = widget.screen()->grabWindow(widget.winId()).toImage();
    return shown.convertToFormat(QImage::Format_RGBA8888);
}

} // namespace

class HallScreenTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void coversTheChosenScreenExactly()
    {
        HallDesk desk;
        QCOMPARE(desk.find<QComboBox>("screens")->count(), 2);
        QCOMPARE(desk.find<QComboBox>("screens")->currentIndex(), 1); // not the operator's own
        QCOMPARE(desk.buttonText(), QString::fromUtf8(showText));
        QVERIFY(!HallDesk::hall()->isVisible());
        for (const int index : { 1, 0, 1 }) {
            QScreen *screen = QGuiApplication::screens().at(index);
            desk.showOn(index);
            HallScreen &hall = *HallDesk::hall();
            QTRY_COMPARE(hall.geometry(), screen->geometry());
            QCOMPARE(hall.frameGeometry(), screen->geometry());
            QCOMPARE(hall.screen(), screen);
            QVERIFY(hall.isFullScreen());
            QCOMPARE(hall.cursor().shape(), Qt::BlankCursor);
            QCOMPARE(desk.buttonText(),
                QString::fromUtf8(index == 0 ? hideCoveringText : hideText));
            desk.press("hallScreen");
            QVERIFY(!hall.isVisible());
            QCOMPARE(desk.buttonText(), QString::fromUtf8(showText));
        }
    }

    /// The keyboard stays with the studio. Esc hides a hall that covers it; on a screen of its own
    /// no key blanks what the congregation sees.
    void leavesTheKeyboardToTheStudio()
    {
        HallDesk desk;
        HallScreen &hall = *HallDesk::hall();
        desk.window.activateWindow();
        desk.showOn(1);
        QTRY_VERIFY(hall.isVisible());
        QTest::mouseClick(&hall, Qt::LeftButton);
        for (const char *key : { "Escape", "f", "space" }) {
            typeKey(desk.window, key);
        }
        QTRY_VERIFY(desk.window.studio().stage().program.streams()); // the last key was a TAKE
        QVERIFY(hall.isVisible());
        QVERIFY(!hall.isActiveWindow());
        desk.window.studio().program().offAir();
        for (const Qt::Key key : { Qt::Key_Escape, Qt::Key_F, Qt::Key_Space }) {
            QTest::keyClick(&hall, key); // of a desktop that gives it the keyboard all the same
        }
        QVERIFY(desk.window.studio().stage().program.streams());
        QVERIFY(hall.isVisible());
        hall.activateWindow();
        typeKey(desk.window, "Escape");
        QTest::mouseDClick(&hall, Qt::LeftButton);
        QVERIFY(!hall.isVisible());

        desk.showOn(0);
        QTRY_COMPARE(desk.buttonText(), QString::fromUtf8(hideCoveringText));
        typeKey(desk.window, "Escape");
        QTRY_VERIFY(!hall.isVisible());
        QCOMPARE(desk.buttonText(), QString::fromUtf8(showText));
    }

    /// Some desktops give any new window the keyboard. On the only monitor the studio must not take
    /// it back, which would put it in front of the hall.
    void overTheStudioItKeepsTheKeyboardThatItWasGiven()
    {
        for (const char *key : { "Escape", "f" }) {
            HallDesk desk;
            HallScreen &hall = *HallDesk::hall();
            desk.showOn(0);
            QVERIFY(QTest::qWaitForWindowExposed(&hall, 30'000));
            run("xdotool windowfocus " + QByteArray::number(hall.winId()));
            typeKey(hall, "space");
            QTRY_VERIFY(desk.window.studio().stage().program.streams()); // a TAKE
            QVERIFY(hall.isVisible());
            typeKey(hall, key);
            QTRY_VERIFY(!hall.isVisible());
            QTRY_VERIFY(desk.window.isActiveWindow());
        }
    }

    /// Esc leaves a caption as it was, wherever the hall is, before it hides anything.
    void anEditComesBeforeTheHall()
    {
        HallDesk desk;
        HallScreen &hall = *HallDesk::hall();
        auto *row = new HoldRow(u"test"_s, &desk.window);
        row->showNext({ 1, u"De tal manera"_s, {}, 0 });
        row->show();
        auto *text = row->findChild<QLineEdit *>();
        int left = 0;
        connect(row, &HoldRow::editLeft, row, [&] { ++left; });
        for (const int screen : { 1, 0 }) {
            desk.window.activateWindow();
            desk.showOn(screen);
            QTRY_VERIFY(hall.isVisible());
            text->setFocus(Qt::TabFocusReason);
            text->insert(u"!"_s);
            typeKey(desk.window, "Escape");
            QTRY_COMPARE(left, screen == 1 ? 1 : 2);
            QCOMPARE(text->text(), u"De tal manera"_s);
            QVERIFY(hall.isVisible());
            if (screen == 0) {
                typeKey(desk.window, "Escape");
                QTRY_VERIFY(!hall.isVisible());
            } else {
                desk.press("hallScreen");
            }
        }
    }

    void showsTheComposedPicturePixelForPixel()
    {
        HallDesk desk;
        desk.air(QColor(200, 30, 40));
        Layer text = newLayer(LayerKind::Text);
        text.text = u"Canten al Señor un cántico nuevo"_s;
        addLayer(desk.document(), text);
        desk.window.studio().program().take();
        QImage composed;
        Studio &studio = desk.window.studio();
        connect(&studio, &Studio::picturesMade, &studio, [&](const Pictures &pictures) {
            composed = pictures.hall;
        });
        desk.showOn(1);
        const auto matches = [&] {
            const QImage shown = onScreen(*HallDesk::hall());
            return shown.size() == QSize(1920, 1080)
                && shown == composed.convertToFormat(QImage::Format_RGBA8888);
        };
        QTRY_VERIFY(matches());
        QVERIFY(composed.pixelColor(5, 5) == QColor(200, 30, 40));
    }

    /// What changed while it was hidden is there with its first picture.
    void opensOnTheNewestPicture()
    {
        HallDesk desk;
        const auto corner = [] { return onScreen(*HallDesk::hall()).pixelColor(100, 100); };
        desk.air(Qt::red);
        desk.showOn(1);
        QTRY_COMPARE(corner(), QColor(Qt::red));
        desk.press("hallScreen");
        int frames = 0;
        Studio &studio = desk.window.studio();
        connect(&studio, &Studio::picturesMade, &studio, [&](const Pictures &pictures) {
            frames += pictures.hall.pixelColor(100, 100) == QColor(Qt::blue) ? 1 : 0;
        });
        desk.air(Qt::blue);
        QTRY_VERIFY(frames > 0);
        disconnect(&studio, &Studio::picturesMade, nullptr, nullptr); // no later picture helps
        desk.showOn(1);
        QVERIFY(QTest::qWaitForWindowExposed(HallDesk::hall(), 30'000));
        QCOMPARE(corner(), QColor(Qt::blue));
    }

    void aScreenThatGoesAwayHidesItAlone()
    {
        const QTemporaryDir folder;
        HallDesk desk;
        Recording &recording = desk.window.studio().outputs().recording();
        recording.start(folder.filePath(u"culto.webm"_s), landscapeSize);
        desk.showOn(1);
        auto *screens = desk.find<QComboBox>("screens");
        screens->addItem(u"gone"_s);
        run("xrandr --delmonitor Sala");
        QTRY_VERIFY(!HallDesk::hall()->isVisible());
        QCOMPARE(desk.buttonText(), QString::fromUtf8(showText));
        QCOMPARE(desk.status(), u"Pantalla desconectada; Programa y salidas continúan."_s);
        QCOMPARE(screens->count(), 1);
        QTRY_VERIFY(recording.ready());
        QCOMPARE(recording.state(), RecordingState::recording);

        screens->clear();
        run("xrandr --setmonitor Sala 1920/508x1080/286+1280+0 none");
        QTRY_COMPARE(screens->count(), 2);
        screens->setCurrentIndex(1);
        Q_EMIT qGuiApp->screenAdded(QGuiApplication::screens().at(1)); // a third one
        QCOMPARE(screens->currentText(), u"Sala"_s);
    }

    /// It comes back with its screen and follows it; another one's end leaves it alone.
    void itIsWhereItsScreenIs()
    {
        HallDesk desk;
        desk.showOn(1);
        HallScreen &hall = *HallDesk::hall();
        const auto *screens = desk.find<QComboBox>("screens");
        const auto covers = [&] {
            const QScreen *own = QGuiApplication::screens().value(1);
            return own != nullptr && hall.isVisible() && hall.geometry() == own->geometry();
        };
        QTRY_VERIFY(covers());
        run("xrandr --delmonitor Sala");
        QTRY_VERIFY(!hall.isVisible());
        run("xrandr --setmonitor Sala 1920/508x1080/286+1280+0 none");
        QTRY_VERIFY(covers());
        QCOMPARE(desk.status(), u"La pantalla de sala ha vuelto."_s);
        QCOMPARE(desk.buttonText(), QString::fromUtf8(hideText));

        run("xrandr --setmonitor Otra 400/106x200/53+0+840 none");
        QTRY_COMPARE(screens->count(), 3);
        run("xrandr --delmonitor Otra");
        QTRY_COMPARE(screens->count(), 2);
        QCOMPARE(desk.status(), u"Pantalla desconectada; Programa y salidas continúan."_s);
        QVERIFY(covers());

        hall.setWindowState(Qt::WindowNoState);
        hall.setGeometry(40, 40, 320, 180); // where a window manager may leave it
        QTRY_VERIFY(!covers());
        QScreen *own = QGuiApplication::screens().at(1);
        Q_EMIT own->geometryChanged(own->geometry());
        QTRY_VERIFY(covers());
        QVERIFY(hall.isFullScreen());
    }
};

NIMBARA_TEST(HallScreenTest)
#include "hall_screen_test.moc"
