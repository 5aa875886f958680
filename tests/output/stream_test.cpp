#include "base/gst_log_hook.h"
#include "base/log.h"
#include "output/probe.h"
#include "output/program_feed.h"
#include "output/sink/outputs.h"
#include "support/rtmp_peer.h"
#include "support/test_registry.h"
#include "support/trusted_authority.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <random>
#include <vector>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

constexpr FrameSize small { 160, 90 };
const auto key = QStringLiteral("k3y-of-the-stream");
const auto live = QStringLiteral("live");

} // namespace

class StreamTest : public QObject {
    Q_OBJECT

    Outputs::Stopped push(ProgramFeed &feed)
    {
        const Tick tick = feed.next();
        return m_outputs->push(tick.frame, tick.block, tick.tNs);
    }

    std::unique_ptr<RtmpPeer> m_peer;
    std::shared_ptr<Retirement> m_retirement;
    std::unique_ptr<Outputs> m_outputs;

private Q_SLOTS:
    void initTestCase()
    {
        installGstLogHook();
        m_peer = std::make_unique<RtmpPeer>();
    }

    void init()
    {
        QFile::remove(logFilePath());
        m_retirement = std::make_shared<Retirement>();
        m_outputs = std::make_unique<Outputs>(m_retirement);
    }

    void cleanup()
    {
        m_outputs.reset();
        QTRY_COMPARE_WITH_TIMEOUT((m_retirement->reap(), m_retirement->pending()), 0U, 20000);
        QFile log(logFilePath());
        QVERIFY(!log.open(QIODevice::ReadOnly) || !log.readAll().contains(key.toUtf8()));
    }

    void cleanupTestCase() { m_peer.reset(); }

    // Before anything trusts the authority: TLS sessions are resumed within a process.
    void tellsAFailureOfItsOwn()
    {
        const std::vector<std::tuple<const char *, QString>> rows {
            { "refused publisher", m_peer->rtmp(QStringLiteral("closed")) },
            { "no such application", m_peer->rtmp(QStringLiteral("nothing")) },
            { "unknown certificate", m_peer->rtmps(live) },
            { "nobody listens", QStringLiteral("rtmp://127.0.0.1:%1/live").arg(freePort()) },
            { "no such host", QStringLiteral("rtmp://host.invalid/live") },
        };
        for (const auto &[name, server] : rows) {
            const RowName named(name);
            cleanup();
            init();
            m_outputs->destination(0).start(m_peer->rtmp(live),
                key + QStringLiteral("-good"),
                small);
            m_outputs->destination(2).start(server, key, small);
            ProgramFeed feed(small);
            std::vector<std::size_t> stopped;
            QTRY_VERIFY_WITH_TIMEOUT(!stopped.empty()
                    || !(stopped = push(feed).destinations).empty(),
                20000);
            QCOMPARE(stopped, std::vector<std::size_t> { 2 });
            QVERIFY(m_outputs->destination(0).running() && !m_outputs->destination(2).running());
            const QString status = m_outputs->destination(2).statusText().spanish();
            const QRegularExpression text(QStringLiteral(
                "^Fallo de salida \\(codigo \\d+\\)\\. Revisa destino, permisos y codecs\\.$"));
            QVERIFY2(text.match(status).hasMatch(), qPrintable(status));
            QCOMPARE(m_outputs->destination(2).buttonText(), QStringLiteral("Iniciar"));
        }
    }

    void reachesTheServer()
    {
        for (const bool secure : { false, true }) {
            const RowName named(secure ? "secure" : "not secure");
            cleanup();
            init();
            const TrustedAuthority trusted(m_peer->authorityFile());
            const QString name = key + QString::number(secure ? 1 : 0);
            const QString server = secure ? m_peer->rtmps(live) : m_peer->rtmp(live);
            m_outputs->destination(3).start(server, name, small);
            const QTemporaryDir dir;
            const QString file = dir.filePath(QStringLiteral("same.webm"));
            m_outputs->recording().start(file, small); // both get every picture
            QTRY_VERIFY(m_outputs->destination(3).ready() && m_outputs->recording().ready());
            ProgramFeed feed(small);
            for (int i = 0; i < 150; ++i) {
                QVERIFY(push(feed).destinations.empty());
                QVERIFY(feed.wait());
                if (i == 74) {
                    feed.skip(1'000'000'000); // a stall
                }
            }
            Probe found;
            QTRY_VERIFY_WITH_TIMEOUT(
                (found = probe(m_peer->recordedFile(name)), found.videoTimes.size() > 125),
                20000);
            m_outputs->stopStreams();
            QCOMPARE(m_outputs->destination(3).statusText(), QStringLiteral("Detenido"));
            m_outputs->recording().finish();
            QTRY_VERIFY_WITH_TIMEOUT((m_outputs->recording().poll(), !m_outputs->any()), 20000);
            QCOMPARE(probe(file).videoTimes.size(), 150U);
            QCOMPARE(found.video, QStringLiteral("h264 160x90"));
            QCOMPARE(found.audio, QStringLiteral("aac 48000 2"));
            for (std::size_t i = 1; i < found.videoTimes.size(); ++i) {
                const double step = found.videoTimes[i] - found.videoTimes[i - 1];
                const double expected = i == 75 ? 1.0333 : 0.0333;
                QVERIFY2(std::abs(step - expected) < 0.0015, qPrintable(QString::number(step)));
            }
            QVERIFY(found.audioTimes.size() > 200);
            for (std::size_t i = 1; i < found.audioTimes.size(); ++i) { // 1024 frames each
                const double step = found.audioTimes[i] - found.audioTimes[i - 1];
                QVERIFY2(std::abs(step - 0.0213) < 0.0015, qPrintable(QString::number(step)));
            }
            QCOMPARE(found.keyTimes.size(), 3U); // every two seconds
        }
    }

    /// Until then it holds up nobody, and its own queue keeps no more than a few pictures.
    void aServerThatTakesNothingIsToldInTheEnd()
    {
        for (const bool answers : { false, true }) {
            const RowName named(answers ? "answers" : "not answers");
            cleanup();
            init();
            QTcpServer mute;
            QVERIFY(mute.listen(QHostAddress::LocalHost));
            const auto url = QStringLiteral("rtmp://127.0.0.1:%1/live").arg(mute.serverPort());
            const RtmpPeer freezing;
            const QString name = key + QString::number(static_cast<int>(answers));
            m_outputs->destination(0).start(m_peer->rtmp(live), name, small);
            m_outputs->destination(1).start(answers ? freezing.rtmp(live) : url, name, small);
            const auto ready
                = [&](std::size_t slot) { return m_outputs->destination(slot).ready(); };
            QTRY_VERIFY_WITH_TIMEOUT(ready(0) && ready(1), 20000);
            ProgramFeed feed(small);
            std::vector<std::weak_ptr<const Frame>> pictures;
            std::vector<std::size_t> stopped;
            const auto tick = [&] {
                const Tick next = feed.next();
                pictures.push_back(next.frame);
                stopped = m_outputs->push(next.frame, next.block, next.tNs).destinations;
            };
            const auto received
                = [&](const RtmpPeer &peer) { return QFile(peer.recordedFile(name)).size(); };
            QTRY_VERIFY_WITH_TIMEOUT((tick(), received(*m_peer) > 10'000), 20000);
            if (answers) {
                QTRY_VERIFY_WITH_TIMEOUT((tick(), received(freezing) > 10'000), 20000);
                freezing.freeze(true);
            }
            feed.skip(600'000'000'000); // a stall of the program is not the server's
            pictures.clear();
            const auto before = received(*m_peer);
            while (stopped.empty() && pictures.size() < 20'000) {
                tick();
                QThread::usleep(3000);
            }
            QCOMPARE(stopped, std::vector<std::size_t> { 1 });
            QVERIFY2(pictures.size() > 860, qPrintable(QString::number(pictures.size()))); // 30 s
            QCOMPARE(m_outputs->destination(1).statusText().spanish(),
                QStringLiteral("Fallo de salida (codigo 10). Revisa destino, permisos y codecs."));
            const auto held = std::count_if(pictures.begin(),
                pictures.end(),
                [](const auto &picture) { return !picture.expired(); });
            QVERIFY2(held < 12, qPrintable(QString::number(held)));
            QVERIFY(m_outputs->destination(0).running());
            QTRY_VERIFY_WITH_TIMEOUT((tick(), received(*m_peer) > before + 10'000), 20000);
            // It goes while the server still does not read.
            QTRY_COMPARE_WITH_TIMEOUT((m_retirement->reap(), m_retirement->pending()), 0U, 20000);
        }
    }

    void aServerThatDiesStopsItsOwnSlotAlone()
    {
        auto dying = std::make_unique<RtmpPeer>();
        const QString name = key + QStringLiteral("-dying");
        const QString file = dying->recordedFile(name);
        m_outputs->destination(0).start(m_peer->rtmp(live), key + QStringLiteral("-alive"), small);
        m_outputs->destination(1).start(dying->rtmp(live), name, small);
        ProgramFeed feed(small);
        QTRY_VERIFY_WITH_TIMEOUT((push(feed), QFile(file).size() > 10'000), 20000);
        dying.reset();
        std::vector<std::size_t> stopped;
        QTRY_VERIFY_WITH_TIMEOUT(!stopped.empty() || !(stopped = push(feed).destinations).empty(),
            20000);
        QCOMPARE(stopped, std::vector<std::size_t> { 1 });
        QVERIFY(m_outputs->destination(0).running());
    }

    void startsAndStopsLeaveNothingBehind()
    {
        QTcpServer mute; // takes connections and never says a word
        QVERIFY(mute.listen(QHostAddress::LocalHost));
        const auto url = QStringLiteral("rtmp://127.0.0.1:%1/live");
        const std::array servers { m_peer->rtmp(live),
            m_peer->rtmp(QStringLiteral("closed")),
            url.arg(mute.serverPort()),
            url.arg(freePort()) };
        m_outputs->destination(0).start(m_peer->rtmp(live),
            key + QStringLiteral("-through"),
            small);
        ProgramFeed feed(small);
        std::minstd_rand dice(1); // always the same order // NOLINT(cert-msc51-cpp)
        const auto toggle = [&](int times) {
            for (int i = 0; i < times; ++i) {
                Destination &slot = m_outputs->destination(1 + dice() % 3);
                if (slot.running()) {
                    slot.stop();
                } else {
                    slot.start(servers.at(dice() % servers.size()),
                        key + QStringLiteral("-again-%1").arg(i),
                        small);
                    const bool connects = i % 8 == 0; // others stop on the way
                    QVERIFY(!connects || QTest::qWaitFor([&] { return slot.ready(); }, 20000));
                }
                push(feed);
            }
            m_outputs->destination(1).stop();
            m_outputs->destination(2).stop();
            m_outputs->destination(3).stop();
            while (const auto *taken = mute.nextPendingConnection()) {
                delete taken;
            }
        };
        const auto held = [](const char *what) {
            return QDir(QStringLiteral("/proc/self/") + QLatin1String(what))
                .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
                .size();
        };
        const auto settled = [&] { return (m_retirement->reap(), m_retirement->pending()) == 0U; };
        const QString through = m_peer->recordedFile(key + QStringLiteral("-through"));
        QTRY_VERIFY_WITH_TIMEOUT((push(feed), QFile(through).size() > 0), 20000);
        const auto threads = held("task");
        const auto files = held("fd");
        toggle(400);
        QTRY_VERIFY_WITH_TIMEOUT((push(feed), settled()), 30000);
        // What Qt and GLib keep for later use does not grow with the number of starts.
        QTRY_VERIFY_WITH_TIMEOUT(held("task") <= threads + 4 && held("fd") <= files + 6, 30000);
        QVERIFY(m_outputs->destination(0).running());
        const QDir received(QFileInfo(through).path());
        QVERIFY(received.entryList({ QStringLiteral("*-again-*") }).size() > 3);
    }

    void stopsWhileItConnects()
    {
        QTcpServer mute; // takes the connection and never says a word
        QVERIFY(mute.listen(QHostAddress::LocalHost));
        m_outputs->destination(1).start(
            QStringLiteral("rtmps://127.0.0.1:%1/live").arg(mute.serverPort()),
            key,
            small);
        ProgramFeed feed(small);
        QTRY_VERIFY_WITH_TIMEOUT((push(feed), mute.hasPendingConnections()), 20000);
        m_outputs->stopStreams();
        QTRY_COMPARE_WITH_TIMEOUT((m_retirement->reap(), m_retirement->pending()), 0U, 20000);
    }
};

NIMBARA_TEST(StreamTest)
#include "stream_test.moc"
