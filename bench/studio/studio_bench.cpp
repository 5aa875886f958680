#include "bench.h"
#include "studio/studio_run.h"

#include <QString>
#include <QTemporaryDir>

#include <gst/gst.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

namespace {

using namespace nimbara;
using namespace nimbara::bench;

/// How long the whole studio runs; NIMBARA_BENCH_SECONDS shortens it while developing.
int runSeconds()
{
    const int given = qEnvironmentVariableIntValue("NIMBARA_BENCH_SECONDS");
    return given > 0 ? given : 60;
}

/// Camera, two lines of text with box and shadow on the streams; background and caption in the
/// hall.
void prepareScenes(Studio &studio)
{
    Stage &stage = studio.stage();
    Layer text = newLayer(LayerKind::Text);
    text.text = QStringLiteral("Bienvenidos al servicio de hoy\nCanten al Señor un cántico nuevo");
    stage.document.setEditing(SceneSet::Hall);
    studio.program().take();
    stage.document.setEditing(SceneSet::Streams);
    stage.document.apply(AddLayer { stage.document.currentScene()->id, text });
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
    prepareScenes(studio);
    studio.outputs().recording().start(folder.filePath(QStringLiteral("bench.webm")),
        studio.stage().streamFrame());
    return runFor(studio, std::chrono::seconds(seconds));
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
