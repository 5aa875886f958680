#include "studio/outputs/service_health.h"
#include "studio/studio_fixture.h"
#include "support/test_registry.h"

#include <QTemporaryDir>

#include <atomic>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr auto green = HealthLevel::Good;
constexpr auto amber = HealthLevel::Warning;
constexpr auto red = HealthLevel::Alarm;

struct HealthFixture {
    QTemporaryDir folder;
    std::shared_ptr<std::atomic<std::int64_t>> freeBytes
        = std::make_shared<std::atomic<std::int64_t>>(0);
    StudioFixture desk;
    ServiceHealth health;
    std::int64_t now = 0;
    ServiceHealth::Composition composition;

    HealthFixture()
        : desk(peers())
        , health(desk.studio.outputs(), desk.studio.streams(), desk.studio.recordings())
    {
    }
    [[nodiscard]] StudioPeers peers() const
    {
        StudioPeers peers;
        peers.disk = [free = freeBytes](const QString & /*path*/) {
            return DiskWatch::Sample { *free, 0 };
        };
        return peers;
    }
    /// One more second, of a hundred pictures; what is shown of it.
    void measure(std::uint64_t late = 0)
    {
        now += ServiceHealth::periodUs;
        composition.due += 100;
        composition.late += late;
        health.measure(now, composition);
    }
    /// The figure that begins so; none when it is not shown.
    [[nodiscard]] std::optional<HealthPart> part(const char *begin) const
    {
        for (const HealthPart &each : health.line()) {
            if (each.text.spanish().startsWith(QString::fromUtf8(begin))) {
                return each;
            }
        }
        return std::nullopt;
    }
    void record(const char *name)
    {
        desk.studio.recordings().start(folder.filePath(QString::fromLatin1(name)));
    }
    Recording &recording() { return desk.studio.outputs().recording(); }
};

} // namespace

class ServiceHealthTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void eachFigureHasItsLevels()
    {
        struct Row {
            const char *what;
            HealthLevel is;
            HealthLevel wanted;
        };
        for (const Row &row : std::initializer_list<Row> {
                 { "loss under 1 %", levelOfLoss(0.0099), green },
                 { "loss from 1 %", levelOfLoss(0.01), amber },
                 { "loss under 5 %", levelOfLoss(0.0499), amber },
                 { "loss from 5 %", levelOfLoss(0.05), red },
                 { "queue under 1 s", levelOfWait(0.99), green },
                 { "queue from 1 s", levelOfWait(1), amber },
                 { "CPU under 85 %", levelOfCpu(0.849), green },
                 { "CPU from 85 %", levelOfCpu(0.85), amber },
                 { "disk from 60 min", levelOfDisk(60), green },
                 { "disk under 60 min", levelOfDisk(59), amber },
                 { "disk from 20 min", levelOfDisk(20), amber },
                 { "disk under 20 min", levelOfDisk(19), red },
             }) {
            QVERIFY2(row.is == row.wanted, row.what);
        }
        HealthFixture f;
        f.measure();
        QCOMPARE(f.part("Imágenes tarde: 0")->level, green);
        f.measure(2); // of the 200 in this minute
        QCOMPARE(f.part("Imágenes tarde: 2")->level, amber);
        f.measure(13);
        QCOMPARE(f.part("Imágenes tarde: 15")->level, red);
    }

    /// Before the first recording, while one is paused, and after it.
    void theDiskIsAlwaysShown()
    {
        HealthFixture f;
        const RecordingDesk &recordings = f.desk.studio.recordings();
        constexpr std::int64_t perMinute = 6'160'000LL / 8 * 60;
        const auto shows = [&](const char *text, std::int64_t minutes, HealthLevel level) {
            *f.freeBytes = RecordingDisk::reserveBytes + minutes * perMinute;
            const bool isSeen
                = f.desk.runUntil([&] { return recordings.freeBytes() == *f.freeBytes; });
            f.measure();
            const auto part = f.part("Disco: ");
            return isSeen && part && part->text.spanish() == QString::fromUtf8(text)
                && part->level == level;
        };
        QVERIFY(shows("Disco: 60 min", 60, green));
        QVERIFY(shows("Disco: 59 min", 59, amber));
        f.record("a.webm");
        QVERIFY(f.desk.runUntil([&] { return f.recording().ready(); }));
        f.desk.studio.recordings().pause();
        QVERIFY(f.desk.runUntil([&] { return !f.recording().exists(); }));
        QVERIFY(shows("Disco: 20 min", 20, amber));
        f.desk.studio.recordings().finish();
        QVERIFY(shows("Disco: 19 min", 19, red));
    }

    void namesMkvOnceWhereWebMIsTooMuch()
    {
        HealthFixture f;
        *f.freeBytes = 10'000'000'000;
        const auto advisesIn = [&f](int seconds, std::uint64_t late) {
            int advised = 0;
            for (; seconds > 0; --seconds) {
                f.measure(late);
                advised += f.health.advice().isEmpty() ? 0 : 1;
            }
            return advised;
        };
        const auto record = [&f](const char *name) {
            f.record(name);
            return f.desk.runUntil([&] { return !f.recording().isOpening(); });
        };
        QVERIFY(record("b.webm"));
        QCOMPARE(advisesIn(20, 5), 0); // not over
        QCOMPARE(advisesIn(9, 6), 0);
        QCOMPARE(advisesIn(1, 6), 1);
        QCOMPARE(advisesIn(20, 6), 0);
        f.desk.studio.recordings().finish();
        QVERIFY(f.desk.runUntil([&] { return !f.recording().exists(); }));
        QCOMPARE(advisesIn(1, 0), 0);
        QVERIFY(record("b.mkv"));
        QCOMPARE(advisesIn(20, 6), 0);
    }

    /// What is left out is not encoded either: a line that turns green would hide it.
    void halfTheRateIsToldInRed()
    {
        HealthFixture f;
        f.record("c.webm");
        EncoderPool &encoders = f.desk.studio.outputs().encoders();
        const FrameSize size = f.desk.studio.stage().streamFrame();
        const auto frame = std::make_shared<Frame>(size.width, size.height);
        const std::vector<float> silence(1600 * 2);
        std::int64_t tNs = 0;
        const auto push = [&](int pictures) { // faster than any encoder
            for (; pictures > 0; --pictures) {
                f.desk.studio.outputs().push(frame, silence, tNs += 33'333'333);
            }
        };
        f.measure();
        QVERIFY(!f.part("Una imagen de cada dos"));
        QVERIFY(QTest::qWaitFor([&] { return push(10), encoders.effort() == Effort::HalfRate; },
            60'000));
        push(60);
        f.measure();
        QCOMPARE(f.part("Una imagen de cada dos")->level, red);
        QVERIFY(encoders.leftOut() >= 30);
        const auto text = u"Imágenes perdidas: %1"_s.arg(encoders.lost() + encoders.leftOut());
        QVERIFY(f.part(text.toUtf8().constData()));
    }
};

NIMBARA_TEST(ServiceHealthTest)
#include "service_health_test.moc"
