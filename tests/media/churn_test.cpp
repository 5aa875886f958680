#include "base/clock.h"
#include "base/error.h"
#include "media/capture/audio_capture.h"
#include "media/capture/devices.h"
#include "media/sources/media_factory.h"
#include "poll.h"
#include "support/clips.h"
#include "support/fake_device.h"
#include "support/test_registry.h"

#include <QDir>
#include <QFile>
#include <QTest>

namespace nimbara::testing {

namespace {

constexpr FrameSize size { 320, 180 }; // a leaked picture is 230 kB
constexpr int warmUp = 150;
constexpr int sources = 500;
#if defined(__SANITIZE_ADDRESS__)
constexpr long growthLimitKb = 300'000; // freed memory stays in quarantine
#else
constexpr long growthLimitKb = 12'000;
#endif

/// What the program holds of the system.
struct Holdings {
    long residentKb = 0;
    long threads = 0;
    long files = 0;
};

long statusValue(const QByteArray &status, const char *key)
{
    const auto start = status.indexOf(key) + static_cast<qsizetype>(qstrlen(key));
    return status.mid(start, status.indexOf('\n', start) - start)
        .replace("kB", "")
        .trimmed()
        .toLong();
}

Holdings holdings()
{
    QFile file(QStringLiteral("/proc/self/status"));
    file.open(QIODevice::ReadOnly);
    const QByteArray status = file.readAll();
    return { statusValue(status, "VmRSS:"),
        statusValue(status, "Threads:"),
        static_cast<long>(QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::System).size()) };
}

} // namespace

class ChurnTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void holdsNothingOfFiveHundredSources();

private:
    void openOne(int turn);
    void settle(std::size_t tasks)
    {
        QVERIFY(QTest::qWaitFor(
            [&] {
                m_retirement->reap();
                return m_retirement->pending() <= tasks;
            },
            30'000));
    }

    SystemClock m_clock;
    std::shared_ptr<Retirement> m_retirement = std::make_shared<Retirement>();
    MediaFactory m_factory { m_clock, m_retirement };
};

/// One source or capture, used and let go.
void ChurnTest::openOne(int turn)
{
    ClipRecipe recipe;
    recipe.seconds = 0.4;
    switch (turn % 6) {
    case 0: {
        const MediaPtr bars = m_factory.testBars(size);
        QVERIFY(pollUntil(*bars, [&] { return bars->frame() != nullptr; }));
        break;
    }
    case 1: {
        const MediaPtr plays = m_factory.media(size, fileLocation(clip(recipe)));
        QVERIFY(pollUntil(*plays, [&] { return plays->frame() != nullptr; }));
        break;
    }
    case 2: {
        const DeviceRef device = fakeDevice({ .opens = "videotestsrc ! identity error-after=1" });
        const MediaPtr fails = m_factory.camera(size, device.get());
        QVERIFY(pollUntil(*fails, [&] { return !fails->active(); }));
        break;
    }
    case 3:
        try { // refused at once, or told by the source itself
            const MediaPtr none = m_factory.media(size, QStringLiteral("file:///none"));
            QVERIFY(pollUntil(*none, [&] { return !none->active(); }));
        } catch (const Error &error) {
            QCOMPARE(error.text(), QStringLiteral("No se pudo iniciar fuente"));
        }
        break;
    case 4: { // for a camera that is lost, every 3 s
        DeviceDiscovery discovery;
        discovery.start();
        QVERIFY(QTest::qWaitFor([&] { return discovery.poll().has_value(); }, 20'000));
        break;
    }
    default:
        m_retirement->retire(std::make_unique<AudioCapture>(m_clock, nullptr));
        break;
    }
}

void ChurnTest::holdsNothingOfFiveHundredSources()
{
    Holdings before;
    for (int turn = 0; turn < sources; ++turn) {
        if (turn == warmUp) {
            settle(0);
            before = holdings();
        }
        openOne(turn);
        settle(4);
    }
    settle(0);
    Holdings after;
    // GStreamer's idle worker threads go away by themselves.
    const bool threadsGone = QTest::qWaitFor(
        [&] {
            after = holdings();
            return after.threads <= before.threads;
        },
        20'000);
    qInfo("resident %ld → %ld kB, threads %ld → %ld, files %ld → %ld",
        before.residentKb,
        after.residentKb,
        before.threads,
        after.threads,
        before.files,
        after.files);
    QVERIFY(after.residentKb - before.residentKb < growthLimitKb);
    QVERIFY(threadsGone);
    QVERIFY(after.files <= before.files);
}

} // namespace nimbara::testing

using nimbara::testing::ChurnTest;
NIMBARA_TEST(ChurnTest)

#include "churn_test.moc"
