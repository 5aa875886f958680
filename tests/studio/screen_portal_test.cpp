#include "studio/studio_fixture.h"
#include "support/error_of.h"
#include "support/screen_cast.h"
#include "support/test_registry.h"
#include "support/virtual_device.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QProcess>

#include <optional>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// The number of a node of the media service, 0 while it is not there.
uint nodeNumber(const QString &name)
{
    QProcess dump;
    dump.start(u"pw-dump"_s, QStringList());
    dump.waitForFinished();
    for (const auto &entry : QJsonDocument::fromJson(dump.readAllStandardOutput()).array()) {
        const QJsonObject object = entry.toObject();
        if (object["info"_L1]["props"_L1]["node.name"_L1].toString() == name) {
            return static_cast<uint>(object["id"_L1].toInt());
        }
    }
    return 0;
}

/// A connection to the media service, as the portal hands it over.
QDBusUnixFileDescriptor mediaService()
{
    const QByteArray path = qgetenv("XDG_RUNTIME_DIR") + "/pipewire-0";
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    std::copy(path.begin(), path.end(), address.sun_path);
    const int connection = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    QDBusUnixFileDescriptor handed;
    if (::connect(connection, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0) {
        handed.setFileDescriptor(connection);
    }
    ::close(connection);
    return handed;
}

/// A screen of the desktop, of one colour.
struct Screen {
    explicit Screen(const QString &colour)
        : device(VirtualDevice::camera(colour, colour, colour))
    {
        while (node == 0) { // the session ends what takes too long
            node = nodeNumber(colour);
        }
    }
    VirtualDevice device;
    uint node = 0;
};

struct Desk : StudioFixture {
    Desk() { setLayers({}); }
    template <typename Condition> bool runs(Condition condition)
    {
        return QTest::qWaitFor([&] { return frame(20'000), condition(); }, 60'000);
    }
    bool shows(const QColor &colour)
    {
        return runs([&] {
            const MediaPtr media = source(0);
            return media && media->frame() && isNear(centre(pictures.preview), colour, 60);
        });
    }
    /// So long that whatever is tried again has been.
    bool runsOn()
    {
        return runs([this, until = frames + 300] { return frames > until; });
    }
};

} // namespace

class ScreenPortalTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { qputenv("XDG_SESSION_TYPE", "wayland"); }
    void cleanupTestCase() { qunsetenv("XDG_SESSION_TYPE"); }
    void init()
    {
        QSettings(u"Halvenmoor"_s, u"NimbaraStudio"_s).clear();
        m_portal.emplace();
        QVERIFY(m_portal->ready);
        m_portal->openRemote = mediaService;
    }
    void cleanup() { m_portal.reset(); }

    /// A choice that is forgotten is a question before every service.
    void showsWhatWasChosenAndRemembersIt()
    {
        const Screen screen(u"red"_s);
        m_portal->node = screen.node;
        for (const QString &token : { QString(), u"choice-%1"_s.arg(screen.node) }) {
            m_portal->tokens.clear();
            Desk desk;
            desk.studio.layers().addScreenCapture();
            QVERIFY(desk.shows(Qt::red));
            QCOMPARE(m_portal->tokens, QStringList(token));
        }
        QTRY_COMPARE(m_portal->calls.last(), u"Close"_s);
    }

    /// Asked over and over, an operator cannot work.
    void isNotAskedAgainUnlessTheOperatorWants()
    {
        const Screen screen(u"red"_s);
        m_portal->node = screen.node;
        m_portal->code = 1;
        Desk desk;
        desk.studio.layers().addScreenCapture();
        QVERIFY(desk.runs([&] { return desk.told("No se comparte ninguna pantalla."); }));
        QVERIFY(desk.runsOn());
        QCOMPARE(m_portal->calls.count(u"Start"_s), 1);
        m_portal->code = 0;
        desk.studio.sources().screen().choose();
        QVERIFY(desk.shows(Qt::red));
        m_portal->endSession();
        QVERIFY(
            desk.runs([&] { return desk.told("El escritorio dejó de compartir la pantalla."); }));
        QVERIFY(desk.runsOn());
        QCOMPARE(m_portal->calls.count(u"Start"_s), 2);
    }

    /// A portal that dies sends no end of what it shares, nor the answer that is waited for.
    void endsWithThePortal()
    {
        std::optional<Screen> first(u"red"_s);
        const Screen second(u"blue"_s);
        m_portal->node = first->node;
        Desk desk;
        desk.studio.layers().addScreenCapture();
        QVERIFY(desk.shows(Qt::red));
        m_portal.reset();
        QVERIFY(
            desk.runs([&] { return desk.told("El escritorio dejó de compartir la pantalla."); }));
        first.reset();
        init();
        m_portal->answers = false; // the operator thinks
        desk.studio.sources().screen().choose();
        QVERIFY(desk.runs([&] { return m_portal->calls.contains(u"Start"_s); }));
        m_portal.reset();
        QVERIFY(desk.runs([&] { return desk.told("No se comparte ninguna pantalla."); }));
        init();
        m_portal->node = second.node;
        desk.studio.sources().screen().choose();
        QVERIFY(desk.shows(Qt::blue));
    }

    /// The screen that is shared stays until there is another, and is given back then.
    void anotherScreenTakesItsPlace()
    {
        std::optional<Screen> first(u"red"_s);
        const Screen second(u"blue"_s);
        m_portal->node = first->node;
        m_portal->closed = [&] { first.reset(); };
        Desk desk;
        desk.studio.layers().addScreenCapture();
        QVERIFY(desk.shows(Qt::red));
        m_portal->code = 1;
        desk.studio.sources().screen().choose();
        QVERIFY(desk.runs([&] { return desk.told("No se comparte ninguna pantalla."); }));
        QVERIFY(desk.shows(Qt::red));
        m_portal->code = 0;
        m_portal->node = second.node;
        desk.studio.sources().screen().choose();
        QVERIFY(desk.shows(Qt::blue));
        QCOMPARE(m_portal->tokens.last(), QString()); // asked, not restored
        QVERIFY(!first);
    }

    /// Without the portal the menu says so, and no empty layer is made.
    void tellsThatThereIsNone_data()
    {
        QTest::addColumn<bool>("isThere");
        QTest::newRow("no portal") << false;
        QTest::newRow("a portal without screens") << true;
    }
    void tellsThatThereIsNone()
    {
        QFETCH(bool, isThere);
        m_portal->types = 0;
        if (!isThere) {
            m_portal.reset();
        }
        Desk desk;
        const ScreenPortal &screen = desk.studio.sources().screen();
        QVERIFY(desk.runs([&] { return !screen.trouble().isEmpty(); }));
        QVERIFY(errorOf([&] {
            desk.studio.layers().addScreenCapture();
        }).startsWith(u"Captura de pantalla no disponible: "_s));
        QCOMPARE(desk.scene().layers.size(), 0U);
    }

private:
    std::optional<ScreenCast> m_portal;
};

NIMBARA_TEST(ScreenPortalTest)
#include "screen_portal_test.moc"
