#include "base/gst_log_hook.h"
#include "output/probe.h"
#include "output/program_feed.h"
#include "output/sink/outputs.h"
#include "support/log_text.h"
#include "support/process.h"
#include "support/rtmp_peer.h"
#include "support/test_registry.h"
#include "support/trusted_authority.h"

#include <QRegularExpression>
#include <QTcpServer>

#include <random>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr FrameSize small { 160, 90 };
const auto key = u"k3y-of-the-stream"_s;
const auto live = u"live"_s;

QString nobody(std::uint16_t port, const QString &scheme = u"rtmp"_s)
{
    return scheme + u"://127.0.0.1:%1/live"_s.arg(port);
}

} // namespace

class StreamTest : public QObject {
    Q_OBJECT

    void start(std::size_t slot, const QString &server, const QString &name = key)
    {
        m_outputs->destination(slot).start(server, name, small);
    }
    Outputs::Stopped push(ProgramFeed &feed)
    {
        const Tick tick = feed.next();
        return m_outputs->push(tick.frame, tick.block, tick.tNs);
    }
    /// The slots that stop first, while the program goes on.
    std::vector<std::size_t> firstStopped(ProgramFeed &feed)
    {
        std::vector<std::size_t> stopped;
        const auto any = [&] { return !(stopped = push(feed).destinations).empty(); };
        return QTest::qWaitFor(any, 20000) ? stopped : std::vector<std::size_t> {};
    }
    static qsizetype sockets()
    {
        const auto all = QDir(u"/proc/self/fd"_s).entryInfoList(QDir::System | QDir::Files);
        return std::count_if(all.begin(), all.end(), [](const QFileInfo &each) {
            return each.symLinkTarget().contains(u"socket:"_s);
        });
    }
    bool settled() { return (m_retirement->reap(), m_retirement->pending()) == 0; }

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
        QTRY_VERIFY(settled());
        QVERIFY(!logText().contains(key));
    }

    void cleanupTestCase() { m_peer.reset(); }

    // Before anything trusts the authority: TLS sessions are resumed within a process.
    void tellsAFailureOfItsOwn()
    {
        for (const auto &[name, server] :
            { std::pair { "refused publisher", m_peer->rtmp(u"closed"_s) },
                { "no such application", m_peer->rtmp(u"nothing"_s) },
                { "unknown certificate", m_peer->rtmps(live) },
                { "nobody listens", nobody(freePort()) },
                { "no such host", u"rtmp://host.invalid/live"_s } }) {
            const RowName named(name);
            cleanup();
            init();
            start(0, m_peer->rtmp(live), key + u"-good"_s);
            start(2, server);
            ProgramFeed feed(small);
            QCOMPARE(firstStopped(feed), std::vector<std::size_t> { 2 });
            QVERIFY(m_outputs->destination(0).running() && !m_outputs->destination(2).running());
            const QString status = m_outputs->destination(2).statusText().spanish();
            static const QRegularExpression text(u"^Fallo de salida \\(codigo \\d+\\)\\. Revisa "
                                                 "destino, permisos y codecs\\.$"_s);
            QVERIFY2(text.match(status).hasMatch(), qPrintable(status));
            QCOMPARE(m_outputs->destination(2).buttonText(), u"Iniciar"_s);
            QCOMPARE(m_outputs->destination(2).failure(),
                server.startsWith(u"rtmps"_s) ? OutputFailure::Certificate : OutputFailure::Other);
        }
        ProgramFeed feed(small);
        QTRY_VERIFY((push(feed), m_outputs->destination(0).accepted()));
        const qsizetype open = sockets();
        start(2, m_peer->rtmp(live), key + u"-good"_s);
        QCOMPARE(firstStopped(feed), std::vector<std::size_t> { 2 });
        QCOMPARE(m_outputs->destination(2).failure(), OutputFailure::NameInUse);
        QTRY_VERIFY2(settled() && sockets() <= open, "the connection stays open");
    }

    void reachesTheServer()
    {
        for (const bool secure : { false, true }) {
            const RowName named(secure ? "secure" : "not secure");
            cleanup();
            init();
            const TrustedAuthority trusted(m_peer->authorityFile());
            const QString name = key + QString::number(secure ? 1 : 0);
            start(3, secure ? m_peer->rtmps(live) : m_peer->rtmp(live), name);
            const QTemporaryDir dir;
            const QString file = dir.filePath(u"same.webm"_s);
            m_outputs->recording().start(file, small); // both get every picture
            QTRY_VERIFY((m_outputs->recording().poll(),
                m_outputs->destination(3).ready() && m_outputs->recording().ready()));
            ProgramFeed feed(small);
            for (int i = 0; i < 150; ++i) {
                QVERIFY(push(feed).destinations.empty());
                QVERIFY(feed.wait());
                // No line carries minutes within a second.
                QTRY_VERIFY(m_outputs->destination(3).figures()->waitingNs < 1'000'000'000);
                feed.skip(i == 74 ? 1'000'000'000 : 0); // a stall
            }
            Probe found;
            QTRY_VERIFY((found = probe(m_peer->recordedFile(name)), found.videoTimes.size() > 125));
            m_outputs->stopStreams();
            QCOMPARE(m_outputs->destination(3).statusText(), u"Detenido"_s);
            m_outputs->recording().finish();
            QTRY_VERIFY((m_outputs->recording().poll(), !m_outputs->any()));
            QCOMPARE(probe(file).videoTimes.size(), 150U);
            QCOMPARE(found.video, u"h264 160x90"_s);
            QCOMPARE(found.audio, u"aac 48000 2"_s);
            for (std::size_t i = 1; i < found.videoTimes.size(); ++i) {
                const double step = found.videoTimes[i] - found.videoTimes[i - 1];
                QVERIFY2(std::abs(step - (i == 75 ? 1.0333 : 0.0333)) < 0.0015,
                    qPrintable(QString::number(step)));
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
            const RtmpPeer freezing;
            const QString name = key + QString::number(static_cast<int>(answers));
            start(0, m_peer->rtmp(live), name);
            start(1, answers ? freezing.rtmp(live) : nobody(mute.serverPort()), name);
            QTRY_VERIFY(m_outputs->destination(0).ready() && m_outputs->destination(1).ready());
            ProgramFeed feed(small);
            std::vector<std::weak_ptr<const Frame>> pictures;
            std::vector<std::size_t> stopped;
            const auto tick = [&] {
                const Tick next = feed.next();
                pictures.push_back(next.frame);
                stopped = m_outputs->push(next.frame, next.block, next.tNs).destinations;
                const auto waits = [&] { // the good line carries no minutes within a second
                    const auto figures = m_outputs->destination(0).figures();
                    return figures && figures->waitingNs > 300'000'000;
                };
                for (int ms = 0; ms < 5000 && waits(); ++ms) {
                    QThread::msleep(1);
                }
            };
            const auto received
                = [&](const RtmpPeer &peer) { return QFile(peer.recordedFile(name)).size(); };
            QTRY_VERIFY((tick(), received(*m_peer) > 10'000));
            if (answers) {
                QTRY_VERIFY((tick(), received(freezing) > 10'000));
                freezing.freeze(true);
            }
            // A stall of the program is not the server's: it counts for 30 pictures, as 1 s.
            feed.skip(600'000'000'000);
            pictures.clear();
            const auto before = received(*m_peer);
            while (stopped.empty() && pictures.size() < 20'000) {
                tick();
                QThread::usleep(3000);
            }
            QCOMPARE(stopped, std::vector<std::size_t> { 1 });
            QVERIFY2(pictures.size() > 200, qPrintable(QString::number(pictures.size()))); // 8 s
            QCOMPARE(m_outputs->destination(1).statusText().spanish(),
                u"Fallo de salida (codigo 10). Revisa destino, permisos y codecs."_s);
            const auto held = std::ranges::count_if(pictures,
                [](const auto &picture) { return !picture.expired(); });
            QVERIFY2(held < 12, qPrintable(QString::number(held)));
            QVERIFY(m_outputs->destination(0).running());
            QCOMPARE(m_outputs->encoders().rateShare(), 1.0); // for one of two nothing is lowered
            QTRY_VERIFY((tick(), received(*m_peer) > before + 10'000));
            QTRY_VERIFY(settled()); // while the server still does not read
        }
    }

    void aLineThatIsTooNarrowLowersTheRate()
    {
        constexpr FrameSize size { 320, 180 };
        std::array<std::shared_ptr<Frame>, 3> noise; // it fills the system's buffers soon
        std::minstd_rand dice(1); // NOLINT(cert-msc51-cpp)
        for (auto &frame : noise) {
            frame = std::make_shared<Frame>(size.width, size.height);
            std::ranges::generate(frame->pixels,
                [&] { return static_cast<std::uint8_t>(dice() >> 8); });
        }
        const RtmpPeer freezing;
        const Destination &slot = m_outputs->destination(0);
        m_outputs->destination(0).start(freezing.rtmp(live), key, size);
        ProgramFeed feed(small);
        const auto tick = [&] {
            const Tick next = feed.next();
            const auto place = static_cast<std::size_t>(feed.count()) % noise.size();
            const auto encoded = [&] {
                const OutletFigures figures = slot.figures().value_or(OutletFigures {});
                return figures.pictures + figures.dropped;
            };
            const std::uint64_t before = encoded();
            m_outputs->push(noise.at(place), next.block, next.tNs);
            for (int ms = 0; ms < 300 && encoded() == before; ++ms) { // not faster than that
                QThread::msleep(1);
            }
            return slot.running();
        };
        QTRY_VERIFY((tick(), slot.accepted()));
        freezing.freeze(true);
        while (m_outputs->encoders().rateShare() == 1 && tick()) { }
        QVERIFY(m_outputs->encoders().rateShare() < 1);
        // The muxer would take half a minute before anything waits in front of it.
        while (slot.figures().value_or(OutletFigures { .dropped = 1 }).dropped == 0 && tick()) { }
        QVERIFY(slot.running() && slot.figures()->waitingNs < 3'000'000'000);
    }

    void aServerThatDiesStopsItsOwnSlotAlone()
    {
        auto dying = std::make_unique<RtmpPeer>();
        const QString file = dying->recordedFile(key + u"-dying"_s);
        start(0, m_peer->rtmp(live), key + u"-alive"_s);
        start(1, dying->rtmp(live), key + u"-dying"_s);
        ProgramFeed feed(small);
        QTRY_VERIFY((push(feed), QFile(file).size() > 10'000));
        dying.reset();
        QCOMPARE(firstStopped(feed), std::vector<std::size_t> { 1 });
        QVERIFY(m_outputs->destination(0).running());
    }

    void startsAndStopsLeaveNothingBehind()
    {
        QTcpServer mute; // takes connections and never says a word
        QVERIFY(mute.listen(QHostAddress::LocalHost));
        const QStringList servers { m_peer->rtmp(live),
            m_peer->rtmp(u"closed"_s),
            nobody(mute.serverPort()),
            nobody(mute.serverPort(), u"rtmps"_s),
            nobody(freePort()) };
        start(0, m_peer->rtmp(live), key + u"-through"_s);
        ProgramFeed feed(small);
        const QString through = m_peer->recordedFile(key + u"-through"_s);
        QTRY_VERIFY((push(feed), QFile(through).size() > 0));
        const auto threads = held("task");
        const auto files = held("fd");
        std::minstd_rand dice(1); // always the same order // NOLINT(cert-msc51-cpp)
        for (int i = 0; i < 150; ++i) {
            Destination &slot = m_outputs->destination(1 + dice() % 3);
            if (slot.running()) {
                slot.stop();
            } else {
                const bool arrives = i % 8 == 0; // others stop on the way
                const auto server = static_cast<qsizetype>(dice()) % servers.size();
                const QString name = key + u"-again-%1"_s.arg(i);
                slot.start(arrives ? servers.front() : servers.at(server), name, small);
                QTRY_VERIFY(!arrives || (push(feed), QFile::exists(m_peer->recordedFile(name))));
            }
            push(feed);
        }
        for (const std::size_t slot : { 1U, 2U, 3U }) {
            m_outputs->destination(slot).stop();
        }
        while (const auto *taken = mute.nextPendingConnection()) {
            delete taken;
        }
        QTRY_VERIFY((push(feed), settled()));
        // What Qt and GLib keep for later use does not grow with the number of starts.
        QTRY_VERIFY2(held("task") <= threads + 4 && held("fd") <= files + 6,
            qPrintable(u"%1 threads, %2 before; %3 files, %4 before"_s.arg(held("task"))
                           .arg(threads)
                           .arg(held("fd"))
                           .arg(files)));
        QVERIFY(m_outputs->destination(0).running());
        const QDir received(QFileInfo(through).path());
        QVERIFY(received.entryList({ u"*-again-*"_s }).size() > 3);
    }
};

NIMBARA_TEST(StreamTest)
#include "stream_test.moc"
