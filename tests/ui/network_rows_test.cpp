#include "desk.h"
#include "support/test_registry.h"
#include "ui/editor/scene_tab.h"
#include "ui/kit/login_box.h"

#include <QMenu>
#include <QPointer>
#include <QSpinBox>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

class NetworkRowsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// A file has no network to wait for; a number that goes nowhere is worse than none.
    void latencyIsOfNetworkCamerasAlone()
    {
        Desk desk;
        desk.setLayers({ videoLayer(u"rtsp://127.0.0.1:9/1"_s), // nobody is there
            videoLayer(u"srt://127.0.0.1:9"_s),
            videoLayer(u"http://127.0.0.1:9/a.mp4"_s),
            videoLayer(u"file:///gone.mp4"_s) });
        for (const std::size_t place : { 2U, 0U, 3U, 1U }) {
            desk.select(place);
            QCOMPARE(desk.find<QWidget>("networkLatency")->isHidden(), place >= 2);
        }
        auto *latency = desk.find<QSpinBox>("latency");
        QCOMPARE(latency->value(), 200);
        QCOMPARE(latency->minimum(), 100);
        QCOMPARE(latency->maximum(), 2000);
        latency->setValue(650);
        QCOMPARE(desk.layers()[1].latency, 650);
        desk.document().undo();
        QCOMPARE(latency->value(), 200);
    }

    /// A question that nobody sees leaves the camera dark for the whole service.
    void asksForTheLogin()
    {
        Desk desk(withKeychain(new ScriptedKeyStore)); // no login of a run before
        LoginDesk &logins = desk.window.studio().sources().logins();
        const auto location = u"rtsp://127.0.0.1:9/1"_s;
        desk.dialogs->logins = { Login { u"coro"_s, u"primera"_s }, std::nullopt };
        logins.refused(location, {});
        QTRY_COMPARE(desk.dialogs->asked.size(), 1);
        QCOMPARE(desk.dialogs->asked[0],
            u"Fuente de red: 127.0.0.1:9/1 pide usuario y contraseña.|"_s);
        QTRY_VERIFY(logins.mayOpen(location));
        logins.refused(location, { u"coro"_s, u"primera"_s });
        QTRY_COMPARE(desk.dialogs->asked.size(), 2);
        QCOMPARE(desk.dialogs->asked[1],
            u"Fuente de red: No se aceptó la contraseña para 127.0.0.1:9/1.|coro"_s);
        QTRY_VERIFY(desk.status().contains(u"Sin usuario y contraseña no se abre"));
        QVERIFY(!logins.mayOpen(location));
    }

    void theBoxBarsNobody_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<bool>("answers");
        QTest::newRow("accepted") << u"loginAccept"_s << true;
        QTest::newRow("cancelled") << u"loginCancel"_s << false;
        QTest::newRow("closed") << QString() << false;
    }
    /// In mid-service the window has to take keys while the box is open, and every way out of it is
    /// an answer.
    void theBoxBarsNobody()
    {
        QFETCH(QString, button);
        QFETCH(bool, answers);
        QWidget window;
        QtDialogs dialogs(&window);
        int told = 0;
        std::optional<Login> given;
        dialogs.login(u"Fuente de red"_s, u"cámara"_s, u"coro"_s, [&](const auto &login) {
            ++told;
            given = login;
        });
        const QPointer<LoginBox> box = window.findChild<LoginBox *>();
        QVERIFY(box && box->isVisible() && !box->isModal());
        QVERIFY(box->testAttribute(Qt::WA_ShowWithoutActivating));
        auto *password = box->findChild<QLineEdit *>(u"loginPassword"_s);
        QCOMPARE(password->echoMode(), QLineEdit::Password);
        password->setText(u" olivos "_s);
        box->findChild<QLineEdit *>(u"loginUser"_s)->setText(u" ana "_s);
        if (button.isEmpty()) {
            box->close();
        } else {
            QTest::mouseClick(box->findChild<QPushButton *>(button), Qt::LeftButton);
        }
        QCOMPARE(told, 1);
        QCOMPARE(given, answers ? std::optional(Login { u"ana"_s, u" olivos "_s }) : std::nullopt);
        QTRY_VERIFY(!box);
    }

    /// Cameras have users without a password, and some a password alone.
    void takesWhatTheCameraHas()
    {
        const std::tuple<const char *, QString, QString, bool> rows[] {
            { "both", u"ana"_s, u"olivos"_s, true },
            { "no password", u"ana"_s, {}, true },
            { "no user", {}, u"olivos"_s, true },
            { "nothing", u" "_s, {}, false },
        };
        for (const auto &[name, user, password, isTaken] : rows) {
            const RowName named(name);
            LoginBox box({}, {}, QString(), nullptr);
            const auto *accept = box.findChild<QPushButton *>(u"loginAccept"_s);
            QVERIFY(!accept->isEnabled());
            box.findChild<QLineEdit *>(u"loginUser"_s)->setText(user);
            box.findChild<QLineEdit *>(u"loginPassword"_s)->setText(password);
            QCOMPARE(accept->isEnabled(), isTaken);
            QCOMPARE(box.login(), (Login { user.trimmed(), password }));
        }
    }

    void theMenuSaysWhyTheScreenCannotBeCaptured()
    {
        SceneTab tab;
        const auto entry = [&tab] {
            QAction *found = nullptr;
            for (const QMenu *menu : tab.findChildren<QMenu *>()) {
                for (QAction *each : menu->actions()) {
                    found = each->text().startsWith(u"Captura de pantalla"_s) ? each : found;
                }
            }
            return found;
        };
        tab.showScreenTrouble(u"falta el portal"_s);
        QCOMPARE(entry()->text(), u"Captura de pantalla: falta el portal"_s);
        QVERIFY(entry()->isEnabled()); // choosing it looks again
        tab.showScreenTrouble({});
        QCOMPARE(entry()->text(), u"Captura de pantalla"_s);
    }
};

NIMBARA_TEST(NetworkRowsTest)
#include "network_rows_test.moc"
