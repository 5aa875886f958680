#include "bench.h"
#include "studio/studio_run.h"
#include "support/rtmp_peer.h"

#include <QDir>
#include <QString>
#include <QTcpServer>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace {

using namespace nimbara;
using namespace nimbara::bench;
using namespace std::chrono_literals;

const auto live = QStringLiteral("live");

/// Test bars, whose patch of noise never stands still, under a line of text.
void prepareScene(Studio &studio)
{
    Layer text = newLayer(LayerKind::Text);
    text.text = QStringLiteral("Bienvenidos al servicio de hoy");
    studio.document().apply(AddLayer { studio.document().currentScene()->id, text });
    studio.program().take();
}

std::string told(const char *name, const StudioRun &run)
{
    std::array<char, 200> line {};
    std::snprintf(line.data(),
        line.size(),
        "\n  %-14s fps %.2f  missed %lld  tick p50 %.2f ms, p99 %.2f ms, most %.1f ms  "
        "%.2f cores  %.0f MiB",
        name,
        run.frames / run.seconds,
        static_cast<long long>(run.missed),
        percentile(run.ticks, 0.5),
        percentile(run.ticks, 0.99),
        percentile(run.ticks, 1),
        run.cpuSeconds / run.seconds,
        run.memoryAtEnd);
    return line.data();
}

/// A platform beside the one that is well.
struct Beside {
    const char *name;
    QString server; ///< empty: none
    const testing::RtmpPeer *freezes = nullptr; ///< stops reading after some seconds
};

/// Keeps the second destination going: it is started again whenever it has failed.
std::string tellBeside(Studio &studio, const Beside &beside)
{
    Destination &slot = studio.outputs().destination(1);
    int starts = 0;
    int ticks = 0;
    const StudioRun run = runFor(studio, 15s, [&] {
        if (!beside.server.isEmpty() && !slot.running()) {
            slot.start(beside.server, QStringLiteral("beside"), landscapeSize);
            ++starts;
        }
        if (++ticks == 600 && beside.freezes != nullptr) {
            beside.freezes->freeze(true);
        }
    });
    slot.stop();
    return told(beside.name, run) + "  starts " + std::to_string(starts);
}

/// Starts and stops in turn, of which the interface thread has to pay every one.
std::string tellStarts(Studio &studio, const QString &server)
{
    std::array<double, 2> longest {}; // ms: stop, start
    const auto threads = [] {
        return static_cast<int>(QDir(QStringLiteral("/proc/self/task"))
                                    .entryList(QDir::Dirs | QDir::NoDotAndDotDot)
                                    .size());
    };
    const int threadsBefore = threads();
    const double before = runFor(studio, 1s).memoryAtEnd;
    for (std::size_t i = 0; i < 200; ++i) {
        Destination &slot = studio.outputs().destination(1 + i / 2 % 3);
        const bool starts = !slot.running();
        const double ms = timeMs([&] {
            if (starts) {
                slot.start(server, QStringLiteral("again-%1").arg(i), landscapeSize);
            } else {
                slot.stop();
            }
        });
        longest.at(starts ? 1 : 0) = std::max(longest.at(starts ? 1 : 0), ms);
        runFor(studio, 100ms);
    }
    const double after = runFor(studio, 5s).memoryAtEnd;
    std::array<char, 160> line {};
    std::snprintf(line.data(),
        line.size(),
        "\n  200 starts and stops: longest start %.1f ms, stop %.1f ms; threads %d, then %d; "
        "%.0f MiB, then %.0f",
        longest[1],
        longest[0],
        threadsBefore,
        threads(),
        before,
        after);
    return line.data();
}

/// Resident memory after a rest in which what waits for a next picture is given back, and what of
/// it is the heap's, in MiB.
std::string restingMemory(Studio &studio)
{
    std::string line = std::to_string(static_cast<int>(runFor(studio, 15s).memoryAtEnd));
#ifdef __GLIBC__
    const auto heap = mallinfo2();
    constexpr std::size_t mib = std::size_t { 1024 } * 1024;
    line += " (heap " + std::to_string(heap.uordblks / mib) + " and "
        + std::to_string(heap.fordblks / mib) + " free)";
#endif
    return line;
}

/// Resident memory over a thousand starts of one kind, 200 at a time, and the ticks beside them.
std::string tellMemory(Studio &studio, const char *name, const QString &server)
{
    Destination &slot = studio.outputs().destination(0);
    std::string line = std::string("\n  ") + name + ":";
    std::vector<double> ticks;
    const auto missed = studio.missedSlots();
    const auto run = [&](std::chrono::milliseconds length) {
        const StudioRun part = runFor(studio, length);
        ticks.insert(ticks.end(), part.ticks.begin(), part.ticks.end());
    };
    for (int i = 0; i < 1000; ++i) {
        slot.start(server, QStringLiteral("again"), landscapeSize);
        for (int part = 0; part < 50 && slot.running() && !slot.ready(); ++part) {
            run(20ms);
        }
        run(100ms);
        slot.stop();
        if (i % 200 == 199) {
            line += ' ' + restingMemory(studio);
        }
    }
    std::array<char, 100> tail {};
    std::snprintf(tail.data(),
        tail.size(),
        " MiB  tick p99 %.1f ms, most %.1f ms, missed %lld",
        percentile(ticks, 0.99),
        percentile(ticks, 1),
        static_cast<long long>(studio.missedSlots() - missed));
    return line + tail.data();
}

/// What a thousand starts that fail, and a thousand that send, leave behind.
std::string tellStartsMemory()
{
    const testing::RtmpPeer platform;
    const SystemClock clock;
    Studio studio(clock);
    prepareScene(studio);
    studio.outputs().destination(0).start(platform.rtmp(live), QStringLiteral("x"), landscapeSize);
    runFor(studio, 1s);
    studio.outputs().destination(0).stop();
    const std::string before = restingMemory(studio);
    const QString nobody = QStringLiteral("rtmp://127.0.0.1:%1/live").arg(testing::freePort());
    return "\n  before: " + before + " MiB" + tellMemory(studio, "failed", nobody)
        + tellMemory(studio, "good", platform.rtmp(live));
}

/// The frame times of a studio that streams to one platform, beside a second one that is not well.
std::string tellDestinations()
{
    const testing::RtmpPeer platform;
    const testing::RtmpPeer freezing;
    QTcpServer mute; // takes connections and never answers
    mute.listen(QHostAddress::LocalHost);
    const auto url = QStringLiteral("rtmp://127.0.0.1:%1/live");
    const SystemClock clock;
    Studio studio(clock);
    prepareScene(studio);
    Destination &first = studio.outputs().destination(0);
    first.start(platform.rtmp(live), QStringLiteral("first"), landscapeSize);
    runFor(studio, 3s);
    const std::array besides { Beside { "alone", {} },
        Beside { "well", platform.rtmp(live) },
        Beside { "refused", platform.rtmp(QStringLiteral("closed")) },
        Beside { "nobody there", url.arg(testing::freePort()) },
        Beside { "never answers", url.arg(mute.serverPort()) },
        Beside { "stops reading", freezing.rtmp(live), &freezing } };
    std::string text;
    for (const Beside &beside : besides) {
        text += tellBeside(studio, beside);
    }
    text += tellStarts(studio, platform.rtmp(live));
    return text + (first.running() ? "" : "\n  the first one FAILED");
}

} // namespace

NIMBARA_BENCH_CASE("destinations", tellDestinations)
NIMBARA_BENCH_CASE("stream-starts", tellStartsMemory)
