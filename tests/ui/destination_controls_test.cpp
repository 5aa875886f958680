#include "secrets/secret_file.h"
#include "support/test_registry.h"
#include "ui/desk.h"

#include <QCheckBox>
#include <QComboBox>
#include <QScopeGuard>
#include <QTcpServer>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

const auto badServer = u"Servidor RTMP/RTMPS inválido. Separa la clave del servidor."_s;
const auto sending = u"Detener: Enviando · confirma recepción en la plataforma"_s;
const auto idle = u"Iniciar: Detenido"_s;
const auto youTube = u"stream-YouTube"_s;

QString urlOf(const QTcpServer &server)
{
    return u"rtmp://127.0.0.1:%1/app"_s.arg(server.serverPort());
}

/// The window at its destinations, which count from 1 as for the operator.
struct StreamWindow : Desk {
    ScriptedKeyStore *keychain;

    explicit StreamWindow(ScriptedKeyStore *store = new ScriptedKeyStore)
        : Desk(withKeychain(store))
        , keychain(store)
    {
        showTab(3);
    }
    QLineEdit *field(const char *name, int slot)
    {
        return find<QLineEdit>(QLatin1String(name) + QString::number(slot));
    }
    void fill(int slot, const QString &server, const QString &key)
    {
        field("server", slot)->setText(server);
        field("key", slot)->setText(key);
    }
    void select(int slot) { find<QCheckBox>(u"destination%1"_s.arg(slot))->click(); }
    QPushButton *button(int slot) { return find<QPushButton>(u"toggle%1"_s.arg(slot)); }
    void toggle(int slot) { QTest::mouseClick(button(slot), Qt::LeftButton); }
    /// "button: state".
    QString shown(int slot)
    {
        return button(slot)->text() + u": "_s + find<QLabel>(u"state%1"_s.arg(slot))->text();
    }
    Destination &destination(int slot)
    {
        return window.studio().outputs().destination(static_cast<std::size_t>(slot) - 1);
    }
};

} // namespace

/// What the servers do with a stream is tested below the window; here they take connections and
/// say nothing, or are not there.
class DestinationControlsTest : public QObject {
    Q_OBJECT

    QTcpServer m_mute;
    QString m_muteUrl;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_mute.listen(QHostAddress::LocalHost));
        m_muteUrl = urlOf(m_mute);
    }

    void init() { QFile::remove(SecretFile::defaultPath()); }

    void tellsWhatStoppedAndGoesOn()
    {
        StreamWindow desk;
        desk.fill(1, m_muteUrl, u"k3y-good"_s);
        desk.fill(2, u"rtmp://127.0.0.1:1/app"_s, u"k3y-refused"_s);
        QCOMPARE(desk.field("key", 1)->displayText().count(u'k'), 0); // hidden
        desk.toggle(1);
        QVERIFY(!desk.find<QComboBox>("format")->isEnabled());
        desk.toggle(2);
        QTRY_VERIFY(!desk.destination(2).running());
        const QString shown = desk.shown(2);
        QVERIFY2(shown.startsWith(u"Iniciar: Fallo de salida (codigo "), qPrintable(shown));
        // Also where its tab is not in view, until it is read.
        const auto *tabs = desk.find<QTabWidget>("tabs");
        QVERIFY(desk.status().startsWith(u"Facebook: Fallo de salida (codigo "));
        QVERIFY(!tabs->tabIcon(3).isNull());
        QTest::mouseClick(desk.find<QPushButton>("noticeRead"), Qt::LeftButton);
        QVERIFY(tabs->tabIcon(3).isNull());
        QTRY_VERIFY(desk.window.findChild<QPushButton *>(u"noticeRead"_s) == nullptr);
        QCOMPARE(desk.shown(1), sending);
        QCOMPARE(desk.dialogs->asked, QStringList());
        desk.press("stopStreams");
        QCOMPARE(desk.shown(1), idle);
        QCOMPARE(desk.shown(2), idle);
        QVERIFY(desk.find<QComboBox>("format")->isEnabled());
    }

    void saysWhyItDoesNotStart()
    {
        for (const auto &[server, error] :
            { std::pair { u"rtmp://"_s, badServer },
                { u"rtmp://127.0.0.1:1"_s,
                    u"Al servidor RTMP le falta la aplicación, por ejemplo rtmp://servidor/live"_s } }) {
            StreamWindow desk;
            desk.fill(4, server, u"k3y"_s);
            desk.toggle(4);
            const QString told = u"Otro RTMP: "_s + error; // which of the rows
            QTRY_COMPARE(desk.dialogs->asked, QStringList { u"Ardenvale Vesperline: "_s + told });
            QCOMPARE(desk.status(), told);
            QCOMPARE(desk.shown(4), idle);
            QVERIFY(desk.button(4)->isEnabled());
        }
    }

    void aKeyThatComesLate()
    {
        const auto late = u"k3y-late"_s;
        enum { Nothing, Type, Stop, Close };
        for (const auto &[meanwhile, found, key, shown] :
            { std::tuple { Nothing, late, late, sending },
                { Type, late, u"k3y-typed"_s, sending },
                { Stop, late, QString(), idle },
                { Close, late, QString(), idle },
                { Nothing, QString(), QString(), idle } }) {
            const RowName named(QByteArray::number(meanwhile) + ' ' + found.toUtf8());
            StreamWindow desk(new ScriptedKeyStore(ScriptedKeyStore::Manner::Waits));
            desk.keychain->secrets.insert(youTube, found);
            desk.fill(1, m_muteUrl, QString());
            int frames = 0;
            Studio &studio = desk.window.studio();
            const auto counting
                = connect(&studio, &Studio::picturesMade, &studio, [&frames] { ++frames; });
            desk.toggle(1);
            QTRY_COMPARE(desk.keychain->waiting(), 1U);
            frames = 0;
            QTRY_VERIFY(frames >= 5); // the program goes on
            disconnect(counting);
            QCOMPARE(desk.shown(1),
                u"Iniciar: Buscando la clave guardada…"_s); // nothing is claimed
            desk.toggle(1); // in vain
            if (meanwhile == Type) {
                desk.field("key", 1)->setText(u"k3y-typed"_s);
            } else if (meanwhile == Stop) {
                desk.press("stopStreams");
            } else if (meanwhile == Close) {
                QVERIFY(desk.window.close());
            }
            desk.keychain->release();
            QTest::qWait(0);
            QCOMPARE(desk.shown(1), shown);
            QCOMPARE(desk.field("key", 1)->text(), key);
            QCOMPARE(desk.dialogs->asked.size(), found.isEmpty() ? 1 : 0);
            QVERIFY(desk.button(1)->isEnabled());
        }
    }

    void selectedOnesStartInOrderUpToAnError()
    {
        StreamWindow desk(new ScriptedKeyStore(ScriptedKeyStore::Manner::Waits));
        desk.keychain->secrets.insert(youTube, u"k3y-stored"_s);
        desk.fill(1, m_muteUrl, QString()); // waits for its key, and the others for it
        desk.fill(2, m_muteUrl, u"k3y-two"_s);
        desk.fill(3, u"rtmp://"_s, u"k3y-three"_s);
        desk.fill(4, m_muteUrl, u"k3y-four"_s);
        for (const int slot : { 1, 3, 4 }) {
            desk.select(slot);
        }
        const auto shown = [&] {
            return QStringList { desk.shown(1), desk.shown(2), desk.shown(3), desk.shown(4) };
        };
        desk.press("startSelected");
        desk.press("startSelected"); // no second run
        QTRY_COMPARE(desk.keychain->waiting(), 1U);
        QCOMPARE(desk.shown(4), idle);
        desk.keychain->release();
        QCOMPARE(desk.dialogs->asked,
            QStringList { u"Ardenvale Vesperline: Twitch: "_s + badServer });
        QCOMPARE(shown(), (QStringList { sending, idle, idle, idle }));

        desk.fill(3, m_muteUrl, u"k3y-three"_s);
        desk.press("startSelected"); // the first runs on
        QCOMPARE(shown(), (QStringList { sending, idle, sending, sending }));
    }

    void savesKeysUpToAFailure()
    {
        const QByteArray folder = qgetenv("XDG_DATA_HOME");
        const auto restored = qScopeGuard([&] { qputenv("XDG_DATA_HOME", folder); });
        qputenv("XDG_DATA_HOME", "/dev/null/no-folder"); // the system's store alone
        const QString written
            = u"Claves guardadas en Llavero / Credential Manager. Claves guardadas: YouTube, Twitch"_s;
        for (const auto &[refused, removes, saves, told] :
            { std::tuple { QString(), true, 3, written + u" Claves eliminadas: Otro RTMP"_s },
                { QString(), false, 2, written },
                { u"stream-Otro RTMP"_s,
                    true,
                    3,
                    written + u" Claves que el llavero del sistema puede conservar: Otro RTMP"_s },
                { u"stream-Twitch"_s,
                    true,
                    2,
                    u"No se pudo guardar en el almacén seguro del sistema"_s } }) {
            StreamWindow desk;
            desk.keychain->refused = refused;
            desk.dialogs->answers = { removes }; // the last one's, which nobody has seen
            QStringList expected;
            for (const auto &[slot, key] :
                { std::pair(1, "k3y-one"), std::pair(3, " k3y three"), std::pair(4, "") }) {
                desk.field("key", slot)->setText(u"before"_s); // the last one is emptied again
                desk.field("key", slot)->setText(QLatin1String(key));
                expected << u"stream-"_s + desk.destination(slot).name() + u'='
                        + QLatin1String(key);
            }
            desk.press("saveKeys"); // the second field was never filled: what is stored stays
            QTRY_COMPARE(desk.status(), told);
            QCOMPARE(desk.keychain->written, expected.mid(0, saves));
            QCOMPARE(desk.dialogs->asked.size(), told.startsWith(written) ? 1 : 2);
            QVERIFY(desk.find<QPushButton>("saveKeys")->isEnabled());
            if (!removes) { // what was saved from its field is no secret to the operator
                desk.field("key", 1)->clear();
                desk.press("saveKeys");
                QTRY_VERIFY(desk.status().endsWith(u"Claves eliminadas: YouTube"_s));
                QCOMPARE(desk.dialogs->asked.size(), 1);
            }
        }
    }

    void theLineIsTestedWithConsent()
    {
        StreamWindow desk;
        desk.fill(1, m_muteUrl, u"k3y-one"_s);
        desk.select(1);
        const auto text = [&] { return desk.find<QLabel>("lineText")->text(); };
        desk.press("testLine"); // declined
        QCOMPARE(desk.dialogs->asked.size(), 1);
        QVERIFY(desk.dialogs->asked.first().contains(u"YouTube"_s));
        QCOMPARE(text(), QString());
        desk.dialogs->answers = { true };
        desk.press("testLine");
        QCOMPARE(text(), u"Conectando con los destinos…"_s);
        QCOMPARE(desk.find<QPushButton>("testLine")->text(), u"Cancelar la prueba"_s);
        desk.press("testLine");
        QCOMPARE(text(), u"Prueba de conexión cancelada."_s);

        desk.select(1);
        desk.select(3); // its platform has a road for tests: nobody is asked
        desk.press("testLine");
        QVERIFY(desk.dialogs->asked.filter(u"Prueba de conexión"_s).size() == 2);
    }

    void theEncoderIsRemembered()
    {
        for (const bool isAutomatic : { false, true }) {
            StreamWindow desk;
            auto *list = desk.find<QComboBox>("encoder");
            QCOMPARE(list->currentIndex(), isAutomatic ? 1 : 0); // as it was left
            QCOMPARE(desk.find<QLabel>("encoderText")->text(),
                u"Codifica el programa: openh264enc"_s);
            list->setFocus();
            QTest::keyClick(list, isAutomatic ? Qt::Key_Up : Qt::Key_Down);
            QCOMPARE(settings().value("hardware_encoding").toBool(), isAutomatic);
        }
    }
};

NIMBARA_TEST(DestinationControlsTest)
#include "destination_controls_test.moc"
