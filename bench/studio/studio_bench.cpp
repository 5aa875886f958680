#include "bench.h"
#include "studio/studio.h"

#include <QString>
#include <QTemporaryDir>

#include <gst/gst.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace {

using namespace nimbara;
using namespace nimbara::bench;
using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;

/// How long the whole studio runs; NIMBARA_BENCH_SECONDS shortens it while developing.
int runSeconds()
{
    const int given = qEnvironmentVariableIntValue("NIMBARA_BENCH_SECONDS");
    return given > 0 ? given : 60;
}

double processCpuSeconds()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double residentMiB()
{
    std::ifstream status("/proc/self/statm");
    long total = 0;
    long resident = 0;
    status >> total >> resident;
    return static_cast<double>(resident) * 4096 / 1048576;
}

struct StudioRun {
    int frames = 0;
    std::int64_t missed = 0;
    double seconds = 0;
    double cpuSeconds = 0;
    double memoryAt10 = 0;
    double memoryAtEnd = 0;
    std::vector<double> ticks; ///< ms of the ticks that made a frame
};

/// Camera, two lines of text with box and shadow on the streams; background and caption in the
/// hall.
void prepareScenes(Studio &studio)
{
    Stage &stage = studio.stage();
    Layer text = newLayer(LayerKind::Text);
    text.text = QStringLiteral("Bienvenidos al servicio de hoy\nCanten al Señor un cántico nuevo");
    stage.scenes.setEditing(SceneSet::Hall);
    studio.program().take();
    stage.scenes.setEditing(SceneSet::Streams);
    stage.scenes.addLayer(text);
    studio.program().take();
    stage.captions = { { QStringLiteral("Porque de tal manera amó Dios al mundo,"),
                           QStringLiteral("que ha dado a su Hijo unigénito") },
        QStringLiteral("\n"),
        true };
}

/// The whole studio without a window, on the real clock, recording into a file.
StudioRun runStudio(int seconds)
{
    const QTemporaryDir folder;
    const SystemClock clock;
    Studio studio(clock);
    StudioRun run;
    studio.onPictures = [&run](const Pictures &) { ++run.frames; };
    prepareScenes(studio);
    studio.outputs().recording().start(folder.filePath(QStringLiteral("bench.webm")),
        studio.stage().streamFrame());

    const double cpuBefore = processCpuSeconds();
    const auto start = SteadyClock::now();
    const auto end = start + std::chrono::seconds(seconds);
    auto next = start;
    while (SteadyClock::now() < end) {
        const int before = run.frames;
        const double ms = timeMs([&studio] { studio.tick(); });
        if (run.frames != before) {
            run.ticks.push_back(ms);
        }
        if (run.memoryAt10 == 0 && SteadyClock::now() - start > 10s) {
            run.memoryAt10 = residentMiB();
        }
        next = std::max(next + 5ms, SteadyClock::now());
        std::this_thread::sleep_until(next);
    }
    run.seconds = std::chrono::duration<double>(SteadyClock::now() - start).count();
    run.cpuSeconds = processCpuSeconds() - cpuBefore;
    run.memoryAtEnd = residentMiB();
    run.missed = static_cast<std::int64_t>(studio.missedSlots());
    return run;
}

double percentile(std::vector<double> values, double part)
{
    if (values.empty()) {
        return 0;
    }
    const auto place = static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + place, values.end());
    return values[static_cast<std::size_t>(place)];
}

std::string tellStudio()
{
    const StudioRun run = runStudio(runSeconds());
    char text[256];
    std::snprintf(text,
        sizeof text,
        "fps %.2f\tmissed %lld\ttick p50 %.2f ms\ttick p99 %.2f ms\tCPU %.1f s of %.0f s\t"
        "memory %.0f MiB at 10 s, %.0f MiB at the end",
        run.frames / run.seconds,
        static_cast<long long>(run.missed),
        percentile(run.ticks, 0.5),
        percentile(run.ticks, 0.99),
        run.cpuSeconds,
        run.seconds,
        run.memoryAt10,
        run.memoryAtEnd);
    return text;
}

/// CPU seconds of a bare pipeline that makes, converts and encodes the same pictures and sound.
double barePipelineCpu(int seconds)
{
    const QTemporaryDir folder;
    const std::string description
        = "videotestsrc is-live=true ! video/x-raw,width=1920,height=1080,framerate=30/1 ! "
          "videoconvert ! video/x-raw,format=I420 ! "
          "vp8enc deadline=1 cpu-used=8 target-bitrate=6000000 threads=2 ! queue ! webmmux "
          "name=mux ! "
          "filesink sync=false location="
        + folder.filePath(QStringLiteral("bare.webm")).toStdString()
        + " audiotestsrc is-live=true wave=silence ! audio/x-raw,rate=48000,channels=2 ! "
          "audioconvert ! vorbisenc ! queue ! mux.";
    GstElement *pipeline = gst_parse_launch(description.c_str(), nullptr);
    const double before = processCpuSeconds();
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    const double cpu = processCpuSeconds() - before;
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pipeline);
    return cpu;
}

std::string tellStudioCpu()
{
    // In turn and in short stretches, so that both meet the same machine.
    constexpr int stretches = 3;
    const int seconds = std::max(runSeconds() / stretches, 2);
    double studio = 0;
    double bare = 0;
    for (int i = 0; i < stretches; ++i) {
        studio += runStudio(seconds).cpuSeconds;
        bare += barePipelineCpu(seconds);
    }
    char text[128];
    std::snprintf(text,
        sizeof text,
        "ratio %.2f\tstudio %.1f s\tbare pipeline %.1f s",
        studio / bare,
        studio,
        bare);
    return text;
}

} // namespace

NIMBARA_BENCH_CASE("studio", tellStudio)
NIMBARA_BENCH_CASE("studio-cpu", tellStudioCpu)
