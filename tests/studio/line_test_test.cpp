#include "studio/studio_fixture.h"
#include "support/rtmp_peer.h"
#include "support/scripted_key_store.h"
#include "support/test_registry.h"

#include <functional>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr std::int64_t megabit = 1'000'000;

LineReading took(std::int64_t bitsPerSecond, bool all)
{
    return { u"A"_s, true, bitsPerSecond, all, {} };
}

StudioPeers withKeys(const QHash<QString, QString> &keys)
{
    auto store = std::make_unique<ScriptedKeyStore>();
    store->secrets = keys;
    StudioPeers peers;
    peers.keychain = std::move(store);
    return peers;
}

/// Two selected destinations, the second with its key in the store.
struct LineDesk : StudioFixture {
    StreamDesk &streams = studio.streams();
    LineTest &test = studio.lineTest();
    QString failure;

    LineDesk(const QString &first, const QString &second)
        : StudioFixture(withKeys({ { u"stream-Facebook"_s, u"stored"_s } }))
    {
        streams.setServer(0, first);
        streams.setServer(1, second);
        streams.setKey(0, u"typed"_s);
        streams.setSelected(0, true);
        streams.setSelected(1, true);
        studio.document().setVideoKbits(20'000); // more than a system holds for a frozen server
        QObject::connect(&test, &LineTest::failed, &test, [this](const Message &reason) {
            failure = reason.spanish();
        });
    }
    template <typename Condition> bool until(Condition condition)
    {
        return QTest::qWaitFor([&] { return frame(), condition(); }, 60'000);
    }
    [[nodiscard]] QString text() const { return test.text().spanish(); }
    bool sends()
    {
        return until([this] { return text().startsWith(u"Probando la conexión: faltan "); });
    }
};

} // namespace

class LineTestTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void theSumIsHeldAgainstWhatTheLineCarried()
    {
        const LineReading all = took(6 * megabit, true);
        for (const auto &[readings, room] : { std::pair { std::vector { all, all, all, all }, 4 },
                 { std::vector(4, took(47 * megabit / 10, false)), 3 },
                 { std::vector { all, all, took(megabit, false) }, 2 },
                 { std::vector { all, LineReading { u"B"_s, false, 0, false, "Fallo" } }, 1 },
                 { std::vector { took(2 * megabit, false) }, 0 } }) {
            QCOMPARE(roomFor(readings, 6000), room);
        }
        QCOMPARE(lineVerdict(std::vector(4, took(47 * megabit / 10, false)), 6000)
                     .spanish()
                     .section(u" · "_s, 0, 1),
            u"Tu conexión alcanza para 3 de 4 destinos a 6 Mbit/s · A: 4.7 Mbit/s"_s);
        QCOMPARE(testRoad(u"rtmp://live.twitch.tv/app"_s, u"live_1"_s),
            u"rtmp://live.twitch.tv/app/live_1?bandwidthtest=true"_s);
        QVERIFY(!testRoad(u"rtmp://live.twitch.tv.example/app"_s, u"live_1"_s));
    }

    void aLineIsMeasured()
    {
        const RtmpPeer first;
        RtmpPeer second;
        const auto freeze = [&] { second.freeze(true); };
        for (const auto &[name, befall, verdict] :
            { std::tuple { "wide", std::function<void()> { [] {} }, u"2 de 2"_s },
                { "narrow", freeze, u"1 de 2"_s },
                { "closed", [&] { second.stop(); }, u"1 de 1"_s } }) {
            const RowName named(name);
            LineDesk desk(first.rtmp(u"live"_s), second.rtmp(u"live"_s));
            QCOMPARE(desk.test.publicNames(), (QStringList { u"YouTube"_s, u"Facebook"_s }));
            desk.test.start();
            QVERIFY(desk.sends());
            befall();
            QVERIFY(desk.until([&] { return !desk.test.isRunning(); }));
            second.freeze(false);
            QVERIFY2(desk.text().startsWith(
                         u"Tu conexión alcanza para %1 destinos a 20 Mbit/s · "_s.arg(verdict)),
                qPrintable(desk.text()));
            QCOMPARE(desk.text().contains(u"Facebook: Fallo de salida"_s), verdict == u"1 de 1"_s);
            QVERIFY(!desk.studio.hasOutputs());
        }
    }

    void itGivesWayToTheService()
    {
        const RtmpPeer peer;
        LineDesk desk(peer.rtmp(u"live"_s), peer.rtmp(u"closed"_s));
        desk.test.start();
        QVERIFY(desk.sends()); // the one that is refused holds up nobody
        desk.streams.setKey(2, u"service"_s);
        desk.streams.setServer(2, peer.rtmp(u"live"_s));
        desk.streams.toggle(2);
        QVERIFY(!desk.test.isRunning());
        QCOMPARE(desk.text(), u"Prueba de conexión cancelada."_s);
        desk.test.start();
        QVERIFY(!desk.test.isRunning());
        QCOMPARE(desk.failure, u"Hay una transmisión al aire: la prueba le quitaría conexión."_s);
        desk.streams.toggle(2);
        desk.streams.setSelected(0, false);
        desk.streams.setSelected(1, false);
        desk.test.start();
        QCOMPARE(desk.failure, u"Marca los destinos que quieres probar."_s);
    }
};

NIMBARA_TEST(LineTestTest)
#include "line_test_test.moc"
