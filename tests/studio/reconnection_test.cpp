#include "studio/outputs/reconnection.h"
#include "studio/studio_fixture.h"
#include "support/rtmp_peer.h"
#include "support/test_registry.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QUrl>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr std::int64_t second = 1'000'000;

/// One that was accepted and has run for a while.
Reconnection wellOne(std::int64_t nowUs)
{
    Reconnection reconnection([] { return 0.0; });
    reconnection.started(nowUs - 60 * second);
    reconnection.accepted();
    reconnection.took(50 * second);
    return reconnection;
}

} // namespace

class ReconnectionTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void waitsLongerAndLonger()
    {
        std::int64_t now = 100 * second;
        Reconnection lost = wellOne(now);
        std::vector<std::int64_t> delays;
        const auto fail = [&] {
            QVERIFY(lost.lost(OutputFailure::Other, now));
            const std::int64_t before = now;
            while (!lost.isDue(now)) {
                now += second / 10;
            }
            delays.push_back((now - before) / second);
            lost.started(now);
        };
        while (now < 100 * second + 250 * second) {
            fail();
        }
        const std::vector<std::int64_t> first(delays.begin(), delays.begin() + 7);
        QCOMPARE(first, (std::vector<std::int64_t> { 1, 2, 3, 5, 8, 10, 10 }));
        QCOMPARE(delays.back(), 30);
        for (const auto &[media, delay] : { std::pair { 3 * second, 30 }, // and then no more
                 { Reconnection::steadyUs, 1 } }) {
            lost.accepted();
            lost.took(media);
            now += 11 * second;
            delays.clear();
            fail();
            QCOMPARE(delays, std::vector<std::int64_t> { delay });
        }
        QCOMPARE(lost.attempt(), 1);

        Reconnection chance([] { return 1.0; });
        chance.started(0);
        chance.accepted();
        QVERIFY(chance.lost(OutputFailure::Other, 20 * second));
        QVERIFY(!chance.isDue(21 * second) && chance.isDue(21 * second + second / 10));
        QCOMPARE(chance.text(20 * second).spanish(), u"Reconectando en 2 s · intento 1"_s);
        chance.hurry(20 * second);
        QVERIFY(chance.isDue(20 * second));
    }

    void whatCannotBeMendedIsNotTriedAgain()
    {
        Reconnection fresh;
        fresh.started(0);
        QVERIFY(!fresh.lost(OutputFailure::Other, second) && fresh.reason().isEmpty());
        for (const auto &[failure, why] : { std::pair { OutputFailure::Refused,
                                                "El servidor rechaza la clave; no se reconecta." },
                 { OutputFailure::Certificate,
                     "El certificado del servidor no es válido; no se reconecta." } }) {
            Reconnection well = wellOne(100 * second);
            QVERIFY(!well.lost(failure, 100 * second) && !well.isWaiting());
            QCOMPARE(well.reason(), QString::fromUtf8(why));
        }
        std::int64_t now = 100 * second;
        Reconnection busy = wellOne(now);
        while (busy.lost(OutputFailure::NameInUse, now)) {
            now += 10 * second;
            QVERIFY(busy.isDue(now));
            busy.started(now);
        }
        QCOMPARE(now, 100 * second + Reconnection::busyUs);
        Reconnection patchy = wellOne(now); // the line goes while the server holds the name
        for (const OutputFailure failure :
            { OutputFailure::NameInUse, OutputFailure::Other, OutputFailure::NameInUse }) {
            QVERIFY(patchy.lost(failure, now));
            now += Reconnection::busyUs / 2;
            patchy.started(now);
        }
        Reconnection closing = wellOne(now);
        int closings = 0;
        do {
            closing.started(now);
            closing.accepted();
            now += 4 * second;
            ++closings;
        } while (closing.lost(OutputFailure::Other, now));
        QCOMPARE(closings, 3);
        QCOMPARE(closing.reason(), u"El servidor la cierra una y otra vez: revisa la clave."_s);
    }

    /// As a server does that knows no such key, and one that is only starting.
    void aServerThatClosesWithoutAWordIsNamed()
    {
        enum End { Closed, Late, Away, Held };
        for (const auto &[name, ends, doubts] :
            { std::tuple { "closed", std::vector { Closed, Closed, Closed }, true },
                { "not often", { Closed, Closed }, false },
                { "not at once", { Closed, Closed, Late }, false },
                { "not by the server", { Closed, Closed, Away, Closed }, false },
                { "known by its name", { Closed, Closed, Held, Closed }, false } }) {
            const RowName named(name);
            std::int64_t now = 100 * second;
            Reconnection lost = wellOne(now);
            QVERIFY(lost.lost(OutputFailure::Other, now));
            for (const End end : ends) {
                now += 60 * second;
                lost.started(now);
                now += end == Late ? 6 * second : second;
                QVERIFY(lost.lost(end == Held ? OutputFailure::NameInUse : OutputFailure::Other,
                    now,
                    end != Away));
            }
            QCOMPARE(lost.doubtsKey(), doubts);
            QCOMPARE(lost.text(now).spanish().contains(u"revisa la clave"_s), doubts);
            lost.started(now);
            lost.accepted();
            QVERIFY(!lost.doubtsKey());
        }
    }

    void aServerThatComesBackIsSentToAgain()
    {
        RtmpPeer peer;
        StudioFixture desk;
        StreamDesk &streams = desk.studio.streams();
        streams.setServer(2, u"rtmp://127.0.0.1:%1/live"_s.arg(freePort()));
        streams.setKey(2, u"never"_s);
        streams.toggle(2);
        QVERIFY(desk.runUntil([&] { return !streams.isOnAir(2); }));
        QVERIFY(!streams.isWanted(2)); // it never was on air, and has no tick to take away
        desk.studio.notices().settle(desk.studio.notices().all().front().id);
        streams.setServer(0, peer.rtmp(u"live"_s));
        streams.setKey(0, u"reconnects"_s);
        streams.toggle(0);
        const auto inTime = [&](const auto &condition) {
            return QTest::qWaitFor([&] { return desk.frame(20'000), condition(); }, 60'000);
        };
        const auto sends = [&] { return desk.studio.outputs().destination(0).accepted(); };
        QVERIFY(inTime(sends));
        const auto shows = [&](const char *text, HealthLevel level) {
            return std::ranges::any_of(desk.studio.health().line(), [&](const HealthPart &part) {
                return part.text.spanish() == QString::fromUtf8(text) && part.level == level;
            });
        };
        QVERIFY(inTime([&] { return shows("1 de 1 destinos", HealthLevel::Good); }));
        QVERIFY(inTime([&] { return desk.studio.health().slot(0).kbits > 0; }));
        peer.stop();
        QVERIFY(inTime([&] { return streams.isReconnecting(0); }));
        QVERIFY(
            desk.told("YouTube: Fallo de salida (codigo 10). Revisa destino, permisos y codecs. "
                      "Se vuelve a conectar sola."));
        QVERIFY(streams.statusText(0).spanish().startsWith(u"Reconectando en "_s));
        QCOMPARE(streams.buttonText(0), u"Detener"_s);
        QCOMPARE(desk.studio.notices().all().size(), 1U);
        QVERIFY(inTime([&] { return shows("0 de 1 destinos", HealthLevel::Alarm); }));
        QVERIFY(desk.studio.hasOutputs()); // no other format, no project, no sleep meanwhile
        streams.setServer(0, u"rtmp://next"_s); // for next Sunday: the run goes on where it was
        streams.setKey(0, u"half a k"_s);
        peer.start();
        QVERIFY(inTime([&] { return desk.told("YouTube: la transmisión ha vuelto."); }));
        QVERIFY(sends());
        QCOMPARE(streams.reconnections(0), 1);
        const auto &notices = desk.studio.notices().all();
        QCOMPARE(notices.size(), 1U); // until it is read
        const QString comeback = notices.front().text.spanish();
        QVERIFY2(comeback.startsWith(u"YouTube: se perdió a las "_s), qPrintable(comeback));
        QVERIFY2(comeback.endsWith(u" y ha vuelto."_s), qPrintable(comeback));
        desk.studio.notices().settle(notices.front().id);
        const Destination &slot = desk.studio.outputs().destination(0);
        QVERIFY(inTime([&] { // five times as fast
            return desk.frame(100'000), slot.figures()->takenNs > 10'500'000'000;
        }));

        streams.setServer(1, peer.rtmp(u"live"_s));
        streams.setKey(1, u"beside"_s);
        streams.toggle(1);
        QVERIFY(inTime([&] { return desk.studio.outputs().destination(1).accepted(); }));
        peer.stop();
        QVERIFY(inTime([&] { return streams.isReconnecting(0) && streams.isReconnecting(1); }));
        QVERIFY(streams.statusText(0).spanish().endsWith(u"intento 1"_s)); // it was well
        QCOMPARE(notices.size(), 2U);
        streams.toggle(0);
        QVERIFY(!streams.isReconnecting(0));
        QCOMPARE(streams.statusText(0), u"Detenido"_s);
        QCOMPARE(notices.size(), 1U); // and promises nothing that is not done
        streams.setReconnecting(false);
        QCOMPARE(notices.size(), 1U);
        QCOMPARE(notices.front().text.spanish(),
            u"Facebook: la transmisión se perdió y no se reconecta."_s);
        QVERIFY(!desk.studio.hasOutputs());
        QVERIFY(inTime([&] { return shows("0 de 1 destinos", HealthLevel::Alarm); })); // still
        streams.setSelected(1, true);
        streams.setSelected(1, false); // the operator does without it
        QVERIFY(inTime([&] { return !shows("0 de 1 destinos", HealthLevel::Alarm); }));
        streams.setReconnecting(true);
    }

    void aKeyThatIsNoLongerTakenIsNamed()
    {
        RtmpPeer peer;
        StudioFixture desk;
        StreamDesk &streams = desk.studio.streams();
        const QString server = peer.rtmp(u"live"_s);
        streams.setServer(0, server);
        streams.setKey(0, u"withdrawn"_s);
        streams.toggle(0);
        const auto inTime = [&](const auto &condition) {
            return QTest::qWaitFor([&] { return desk.frame(20'000), condition(); }, 60'000);
        };
        QVERIFY(inTime([&] { return desk.studio.outputs().destination(0).accepted(); }));
        peer.stop();
        QTcpServer closing; // in its place
        QObject::connect(&closing, &QTcpServer::newConnection, &closing, [&] {
            delete closing.nextPendingConnection();
        });
        const auto port = static_cast<std::uint16_t>(QUrl(server).port());
        QTRY_VERIFY(closing.isListening() || closing.listen(QHostAddress::LocalHost, port));
        QVERIFY(inTime([&] { return desk.told("una y otra vez: revisa la clave."); }));
        QVERIFY(streams.isReconnecting(0)); // it may be starting
        QVERIFY(streams.statusText(0).spanish().startsWith(
            u"El servidor la cierra: revisa la clave; reintento en "_s));
        QCOMPARE(desk.studio.notices().all().size(), 1U);
    }
};

NIMBARA_TEST(ReconnectionTest)
#include "reconnection_test.moc"
