#include "bench.h"
#include "studio/studio_run.h"
#include "support/network_camera.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

// What PROGRAM goes through while the link to a network camera is cut. It cuts the loopback of a
// network of its own: "unshare -rn nimbara_bench network-cut".

namespace {

using namespace nimbara;
using namespace nimbara::bench;
using namespace nimbara::testing;
using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;
using Kind = NetworkCamera::Kind;

bool command(const QString &words)
{
    QStringList arguments = words.split(u' ');
    const QString program = arguments.takeFirst();
    return QProcess::execute(program, arguments) == 0;
}

/// Otherwise the machine's own loopback would be cut.
bool hasOwnNetwork()
{
    const auto network = [](const char *process) {
        return QFile::symLinkTarget(QStringLiteral("/proc/%1/ns/net").arg(QLatin1String(process)))
            .section(u'/', -1);
    };
    return network("1") != network("self") && command(QStringLiteral("ip link set lo up"));
}

/// Every packet is lost, and nobody is told; or the interface goes down, which its sockets notice.
enum class Cut { Loss, Down };

bool cut(Cut how)
{
    return command(how == Cut::Down
            ? QStringLiteral("ip link set lo down")
            : QStringLiteral("tc qdisc add dev lo root tbf rate 8bit burst 1 limit 1"));
}

bool mend(Cut how)
{
    return command(how == Cut::Down ? QStringLiteral("ip link set lo up")
                                    : QStringLiteral("tc qdisc del dev lo root"));
}

/// A studio with one network camera on air.
class CutRun {
public:
    explicit CutRun(Kind kind)
        : m_studio(m_clock)
        , m_camera(kind)
    {
        m_camera.start();
        m_layer = m_studio.layers().addMedia(m_camera.location());
        m_studio.program().take();
    }

    /// Until a new picture of the camera comes in; how long it took, none within a minute.
    std::optional<double> secondsToPicture(StudioRun &sum)
    {
        const auto since = SteadyClock::now();
        static_cast<void>(hasNewPicture());
        while (SteadyClock::now() - since < 60s) {
            add(sum, 100ms);
            if (hasNewPicture()) {
                return std::chrono::duration<double>(SteadyClock::now() - since).count();
            }
        }
        return std::nullopt;
    }
    void add(StudioRun &sum, std::chrono::milliseconds length)
    {
        const StudioRun run = runFor(m_studio, length, [] { QCoreApplication::processEvents(); });
        sum.frames += run.frames;
        sum.missed += run.missed;
        sum.ticks.insert(sum.ticks.end(), run.ticks.begin(), run.ticks.end());
    }

private:
    /// Since the last call; another source has none but new ones.
    bool hasNewPicture()
    {
        MediaPtr source;
        for (const Layer &layer : m_studio.document().currentScene()->layers) {
            source = layer.id == m_layer ? m_studio.sources().pool().find(layer) : source;
        }
        const std::uint64_t count = source ? source->frameCount() : 0;
        const bool isNew = count > (source == m_source.lock() ? m_count : 0);
        m_source = source;
        m_count = count;
        return isNew;
    }

    const SystemClock m_clock;
    Studio m_studio;
    NetworkCamera m_camera;
    LayerId m_layer;
    std::weak_ptr<Media> m_source; ///< at the last look
    std::uint64_t m_count = 0; ///< of its pictures then
};

std::string toldCut(Kind kind, Cut how, std::chrono::seconds length)
{
    CutRun run(kind);
    StudioRun sum;
    std::optional<double> back;
    if (run.secondsToPicture(sum)) {
        run.add(sum, 3s);
        sum = {};
        cut(how);
        run.add(sum, length);
        mend(how);
        back = run.secondsToPicture(sum);
        run.add(sum, 3s);
    }
    std::array<char, 160> line {};
    std::snprintf(line.data(),
        line.size(),
        "\n  %-4s %-4s %3d s: back after %.1f s; %d pictures, %d slots missed, longest tick %.1f "
        "ms",
        kind == Kind::Rtsp ? "RTSP" : "SRT",
        how == Cut::Loss ? "loss" : "down",
        static_cast<int>(length.count()),
        back.value_or(-1),
        sum.frames,
        static_cast<int>(sum.missed),
        percentile(sum.ticks, 1));
    return line.data();
}

std::string tellCut()
{
    if (!hasOwnNetwork()) {
        return "needs a network of its own: unshare -rn nimbara_bench network-cut";
    }
    std::string told;
    for (const Kind kind : { Kind::Rtsp, Kind::Srt }) {
        for (const Cut how : { Cut::Loss, Cut::Down }) {
            for (const auto length : { 1s, 10s, 60s }) {
                told += toldCut(kind, how, length);
            }
        }
    }
    return told;
}

} // namespace

NIMBARA_BENCH_CASE("network-cut", tellCut)
