#include "base/error.h"
#include "studio/sources/source_return.h"
#include "studio/studio_fixture.h"
#include "support/test_registry.h"

#include <QProcess>
#include <QTcpServer>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// A live stream over HTTP, for one client; it ends when its time is over.
class StreamServer {
public:
    explicit StreamServer(quint16 port)
        : m_location(u"http://127.0.0.1:%1/live"_s.arg(port))
    {
    }
    ~StreamServer() { stop(); }
    Q_DISABLE_COPY_MOVE(StreamServer)

    void start(const QString &colour, int seconds = 600)
    {
        stop();
        const QString input = u"color=%1:size=320x180:rate=30:duration=%2"_s;
        m_process.start(u"ffmpeg"_s,
            { u"-v"_s,
                u"quiet"_s,
                u"-re"_s,
                u"-f"_s,
                u"lavfi"_s,
                u"-i"_s,
                input.arg(colour).arg(seconds),
                u"-c:v"_s,
                u"libx264"_s,
                u"-preset"_s,
                u"ultrafast"_s,
                u"-tune"_s,
                u"zerolatency"_s,
                u"-g"_s,
                u"10"_s,
                u"-f"_s,
                u"mpegts"_s,
                u"-listen"_s,
                u"1"_s,
                m_location });
        m_process.waitForStarted();
    }
    void stop()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    [[nodiscard]] QString location() const { return m_location; }

private:
    QString m_location;
    QProcess m_process;
};

quint16 freePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

} // namespace

class SourceReturnTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void triesAgainAfterGrowingPauses_data()
    {
        using Seconds = std::vector<std::int64_t>;
        QTest::addColumn<QString>("location");
        QTest::addColumn<Seconds>("expected");
        QTest::newRow("stream") << u"http://host/1"_s << Seconds { 1, 3, 7, 15, 25, 35, 45 };
        // Back within 10 s of its network's return, with the opening in it.
        QTest::newRow("camera")
            << u"rtsp://camera/1"_s
            << Seconds { 1, 3, 6, 9, 12, 15, 18, 21, 24, 27, 30, 33, 36, 39, 42, 45 };
    }
    void triesAgainAfterGrowingPauses()
    {
        QFETCH(QString, location);
        QFETCH(std::vector<std::int64_t>, expected);
        ManualClock clock;
        std::vector<std::int64_t> tries;
        const auto refuse = [&](const Layer &) -> MediaPtr {
            tries.push_back(clock.monotonicUs() / 1'000'000);
            throw Error("no server");
        };
        const auto always = [](const Layer &) { return true; };
        SourceReturn sources(clock, always, [](const Message &) {});
        SourcePool pool(clock, refuse, [](const Message &) {});
        OnAir onAir;
        Document document(clock);
        const LayerId lost = addLayer(document, videoLayer(location));
        addLayer(document, videoLayer(u"file:///gone.mp4"_s)); // stays as it is
        const auto runTo = [&](int seconds) {
            tries.clear();
            while (clock.monotonicUs() < seconds * 1'000'000LL) {
                clock.advanceUs(100'000);
                sources.poll(document.scenes(), pool, onAir);
            }
        };
        const std::int64_t start = clock.monotonicUs() / 1'000'000;
        runTo(static_cast<int>(start) + 47);
        for (std::int64_t &each : tries) {
            each -= start;
        }
        QCOMPARE(tries, expected);
        document.apply(DeleteLayer { lost });
        runTo(static_cast<int>(start) + 90);
        QCOMPARE(tries.size(), 0U);
    }

    /// On air and in PREVIEW, after its end and after its death.
    void aNetworkSourceComesBackWithItsNextPicture()
    {
        StreamServer server(freePort());
        server.start(u"red"_s, 3);
        StudioFixture desk;
        desk.studio.stage().program.setFadeEnabled(false);
        desk.setLayers({});
        // The server may not listen yet.
        desk.studio.layers().addMedia(server.location());
        desk.set(0, LayerField::Box, Box { 0.25, 0.25, 0.5, 0.5 });
        desk.studio.program().take();
        const auto shows = [&](const QColor &colour) {
            return isNear(centre(desk.pictures.streams), colour, 60)
                && isNear(centre(desk.pictures.preview), colour, 60);
        };
        const auto inRealTime = [&](const auto &condition) {
            return QTest::qWaitFor([&] { return desk.frame(20'000), condition(); }, 60'000);
        };
        QVERIFY(inRealTime([&] { return shows(Qt::red); }));
        QVERIFY(
            inRealTime([&] { return desk.told("La fuente de red terminó; se vuelve a abrir."); }));
        QVERIFY(inRealTime([&] { return shows(Qt::black); }));
        server.start(u"blue"_s);
        QVERIFY(inRealTime([&] { return desk.source(0) && desk.source(0)->frame(); }));
        QVERIFY(desk.told("Fuente recuperada: "));
        QCOMPARE(desk.source(0)->frame()->size(), (FrameSize { 960, 540 })); // from the first on
        QVERIFY(inRealTime([&] { return shows(Qt::blue); }));
        server.start(u"lime"_s);
        QVERIFY(inRealTime([&] { return shows(Qt::green); }));
    }
};

NIMBARA_TEST(SourceReturnTest)
#include "source_return_test.moc"
