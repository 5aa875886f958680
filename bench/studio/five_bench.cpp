#include "bench.h"
#include "output/probe.h"
#include "studio/moving_camera.h"
#include "studio/programs/tick_priority.h"
#include "studio/studio_run.h"
#include "studio/thread_times.h"
#include "support/fake_device.h"
#include "support/rtmp_peer.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <gst/gst.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

// Four destinations and a recording, all that a studio sends at once.

namespace {

using namespace nimbara;
using namespace nimbara::bench;
using namespace nimbara::testing;
using namespace std::chrono_literals;

constexpr const char *voice = "audiotestsrc is-live=true wave=pink-noise volume=0.3 ! "
                              "capsfilter caps=audio/x-raw,rate=48000,channels=2";

std::chrono::seconds runLength()
{
    const int given = qEnvironmentVariableIntValue("NIMBARA_BENCH_SECONDS");
    return std::chrono::seconds(given > 0 ? given : 60);
}

/// A camera whose picture moves, under two lines of text, and a voice.
void prepareService(Studio &studio,
    const std::string &view,
    const MediaFactory &factory,
    const Clock &clock)
{
    Layer text = newLayer(LayerKind::Text);
    text.text = QStringLiteral("Bienvenidos al servicio de hoy\nCanten al Señor un cántico nuevo");
    studio.document().apply(AddLayer { studio.document().currentScene()->id, text });
    studio.program().take();
    const DeviceRef camera = fakeDevice({ .opens = view });
    studio.sources().setBars(factory.camera(landscapeSize, camera.get(), {}), Sources::testBars);
    const DeviceRef microphone
        = fakeDevice({ .deviceClass = "Audio/Source", .caps = "audio/x-raw", .opens = voice });
    studio.audio().setCapture(std::make_unique<AudioCapture>(clock, microphone.get()));
    runFor(studio, 2s);
}

/// Pictures of an output that was told to run for `seconds`.
std::string toldPictures(const QString &name, const QString &file, double seconds)
{
    const Probe found = probe(file);
    double gap = 0;
    for (std::size_t i = 1; i < found.videoTimes.size(); ++i) {
        gap = std::max(gap, found.videoTimes[i] - found.videoTimes[i - 1]);
    }
    std::array<char, 160> line {};
    std::snprintf(line.data(),
        line.size(),
        "\n  %-10s %5zu pictures, %.1f %% of 30 fps, largest gap %.0f ms",
        qPrintable(name),
        found.videoTimes.size(),
        100 * static_cast<double>(found.videoTimes.size()) / (30 * seconds),
        1000 * gap);
    return line.data();
}

std::string toldThreads(const std::map<std::string, double> &before, double seconds)
{
    std::vector<std::pair<double, std::string>> threads;
    for (const auto &[name, cpu] : threadCpuSeconds()) {
        const auto known = before.find(name);
        threads.emplace_back((cpu - (known == before.end() ? 0 : known->second)) / seconds, name);
    }
    std::sort(threads.rbegin(), threads.rend());
    std::string text = "\n  cores by thread:";
    for (const auto &[cores, name] : threads) {
        if (cores >= 0.005) {
            std::array<char, 64> part {};
            std::snprintf(part.data(), part.size(), "  %s %.3f", name.c_str(), cores);
            text += part.data();
        }
    }
    return text;
}

struct Five {
    std::string text;
    double cores = 0;
};

Five runFive(const std::string &view, const QString &recordingName)
{
    const RtmpPeer platform;
    const QTemporaryDir folder;
    const SystemClock clock;
    const auto retirement = std::make_shared<Retirement>();
    const MediaFactory factory(clock, retirement);
    Studio studio(clock);
    prepareService(studio, view, factory, clock);
    Outputs &outputs = studio.outputs();
    const QString file = folder.filePath(recordingName);
    studio.recordings().start(file);
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        outputs.destination(slot).start(platform.rtmp(QStringLiteral("live")),
            QString::number(slot),
            landscapeSize);
    }
    const auto ready = [&] {
        for (std::size_t slot = 0; slot < destinationCount; ++slot) {
            if (!outputs.destination(slot).accepted() || !outputs.destination(slot).ready()) {
                return false;
            }
        }
        return outputs.recording().ready();
    };
    double begun = 0; // s, of the outputs, before the measure
    while (!ready() && begun < 10) {
        begun += runFor(studio, 100ms).seconds;
    }
    const auto threads = threadCpuSeconds();
    const StudioRun run = runFor(studio, runLength());
    Five five { {}, run.cpuSeconds / run.seconds };
    std::array<char, 200> line {};
    std::snprintf(line.data(),
        line.size(),
        "\n  fps %.2f  missed %lld  tick p50 %.2f ms, p99 %.2f ms, most %.1f ms  %.2f cores  "
        "%.0f MiB",
        run.frames / run.seconds,
        static_cast<long long>(run.missed),
        percentile(run.ticks, 0.5),
        percentile(run.ticks, 0.99),
        percentile(run.ticks, 1),
        five.cores,
        run.memoryAtEnd);
    five.text = line.data() + toldThreads(threads, run.seconds);
    const auto stopped = [&](std::size_t slot) { outputs.destination(slot).stop(); };
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        stopped(slot);
    }
    studio.recordings().finish();
    while (outputs.recording().exists()) {
        runFor(studio, 100ms);
    }
    five.text += toldPictures(recordingName, file, run.seconds + begun);
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        const QString key = QString::number(slot);
        five.text += toldPictures(key, platform.recordedFile(key), run.seconds + begun);
    }
    return five;
}

/// Cores of a bare pipeline that makes, encodes and sends the same with one H.264 encoder.
double barePipelineCores(const std::string &view, bool isMatroska)
{
    const RtmpPeer platform;
    const QTemporaryDir folder;
    const std::string recording = folder.filePath(QStringLiteral("bare")).toStdString();
    std::string description = view
        + " ! videoconvert ! video/x-raw,format=I420 ! tee name=pictures " + voice
        + " ! audioconvert ! tee name=sound pictures. ! queue ! openh264enc bitrate=6000000 "
          "rate-control=bitrate gop-size=60 complexity=low multi-thread=2 ! h264parse ! "
          "video/x-h264,stream-format=avc,alignment=au ! tee name=h264 "
          "sound. ! queue ! voaacenc bitrate=160000 ! aacparse ! tee name=aac ";
    for (int slot = 0; slot < 4; ++slot) {
        const std::string mux = std::string("mux").append(std::to_string(slot));
        description += "flvmux streamable=true name=" + mux
            + " ! rtmp2sink sync=false async=false location="
            + platform.rtmp(QStringLiteral("live")).toStdString() + "/bare" + std::to_string(slot)
            + " h264. ! queue ! " + mux + ". aac. ! queue ! " + mux + ". ";
    }
    const std::string end = " ! filesink sync=false async=false location=" + recording + " ";
    description += isMatroska
        ? "matroskamux name=file" + end + "h264. ! queue ! file. aac. ! queue ! file. "
        : "webmmux name=file" + end
            + "pictures. ! queue ! vp8enc deadline=1 cpu-used=8 target-bitrate=6000000 threads=1 "
              "! queue ! file. sound. ! queue ! audioconvert ! vorbisenc ! queue ! file.";
    GstElement *pipeline = gst_parse_launch(description.c_str(), nullptr);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    std::this_thread::sleep_for(3s);
    const bool runs
        = gst_element_get_state(pipeline, nullptr, nullptr, 0) == GST_STATE_CHANGE_SUCCESS;
    const double before = processCpuSeconds();
    const auto length = std::max(runLength() / 2, 5s);
    std::this_thread::sleep_for(length);
    const double cpu = processCpuSeconds() - before;
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pipeline);
    return runs ? cpu / static_cast<double>(length.count()) : 0;
}

std::string tellFive(const char *recordingName)
{
    const QString name = QString::fromLatin1(recordingName);
    const QTemporaryDir folder;
    const std::string view = movingCamera(folder.path());
    Five five = runFive(view, name);
    const double bare = barePipelineCores(view, name.endsWith(QLatin1String(".mkv")));
    std::array<char, 80> line {};
    std::snprintf(line.data(),
        line.size(),
        "\n  bare pipeline %.2f cores: ratio %.2f",
        bare,
        five.cores / bare);
    return five.text + line.data();
}

std::string tellFiveWebM()
{
    return tellFive("five.webm");
}

std::string tellFiveMatroska()
{
    return tellFive("five.mkv");
}

/// Beside two programs that take all they can get.
std::string tellFiveLoaded()
{
    askForTickPriority(); // as the program does
    const QDeadlineTimer patience(std::chrono::seconds(2));
    while (getpriority(PRIO_PROCESS, 0) == 0 && !patience.hasExpired()) {
        QCoreApplication::processEvents();
    }
    std::array<QProcess, 2> busy;
    for (QProcess &process : busy) {
        process.start(QStringLiteral("sh"),
            { QStringLiteral("-c"), QStringLiteral("while :; do :; done") });
        process.waitForStarted();
    }
    const QTemporaryDir folder;
    const std::string text = runFive(movingCamera(folder.path()), QStringLiteral("five.webm")).text;
    for (QProcess &process : busy) {
        process.kill();
        process.waitForFinished();
    }
    return text;
}

} // namespace

NIMBARA_BENCH_CASE("five", tellFiveWebM)
NIMBARA_BENCH_CASE("five-mkv", tellFiveMatroska)
NIMBARA_BENCH_CASE("five-loaded", tellFiveLoaded)
