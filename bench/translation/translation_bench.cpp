#include "bench.h"
#include "support/api_peer.h"
#include "translation/pipeline/engine.h"
#include "translation/pipeline/segmenter.h"
#include "translation/pipeline/wav.h"
#include "translation/service/openai/openai_service.h"

#include <QCoreApplication>
#include <QDeadlineTimer>

#include <gst/gst.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace {

using namespace nimbara;
using namespace nimbara::bench;
using namespace std::chrono_literals;

constexpr double minuteMs = 60000;

/// CPU of the whole process.
double cpuMs()
{
    timespec time {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1000 + static_cast<double>(time.tv_nsec) / 1e6;
}

template <typename Body> double cpuOf(Body body)
{
    const double start = cpuMs();
    body();
    return cpuMs() - start;
}

/// One second of capture: blocks of 1024 frames, voiced with a pause.
std::vector<AudioBlock> second()
{
    std::vector<AudioBlock> blocks(47);
    int frame = 0;
    for (AudioBlock &block : blocks) {
        for (int i = 0; i < 1024; ++i, ++frame) {
            const bool speaking = frame % 48000 < 24000;
            const float value
                = speaking ? 0.3F * std::sin(static_cast<float>(frame) * 0.02F) : 0.0F;
            block.samples.insert(block.samples.end(), 2, value);
        }
    }
    return blocks;
}

/// Phrases cut and made into files.
double segmentMs(const std::vector<AudioBlock> &blocks)
{
    return cpuOf([&] {
        Segmenter segmenter;
        qsizetype bytes = 0;
        for (int i = 0; i < 60; ++i) {
            for (const AudioBlock &block : blocks) {
                for (const PhraseSamples &phrase : segmenter.push(block)) {
                    bytes += wavFile(phrase).size();
                }
            }
        }
        if (bytes == 0) {
            qFatal("nothing was said");
        }
    });
}

/// From 44100 Hz, as most sound cards deliver it; with the pipeline around the resampler.
double resampleMs()
{
    return cpuOf([] {
        GstElement *pipeline = gst_parse_launch(
            "audiotestsrc num-buffers=2584 samplesperbuffer=1024 ! "
            "audio/x-raw,format=S16LE,rate=44100,channels=2 ! audioconvert ! audioresample ! "
            "audio/x-raw,format=F32LE,rate=48000,channels=2 ! fakesink sync=false",
            nullptr);
        gst_element_set_state(pipeline, GST_STATE_PLAYING);
        GstBus *bus = gst_element_get_bus(pipeline);
        GstMessage *end = gst_bus_timed_pop_filtered(bus, GST_CLOCK_TIME_NONE, GST_MESSAGE_EOS);
        gst_message_unref(end);
        gst_object_unref(bus);
        gst_element_set_state(pipeline, GST_STATE_NULL);
        gst_object_unref(pipeline);
    });
}

template <typename Condition> void await(Condition condition)
{
    const QDeadlineTimer deadline(20s);
    while (!condition() && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

/// A live session over TLS with its captions, as fast as it goes. Reading what the server reports
/// counts too.
double liveMs(const std::vector<AudioBlock> &blocks)
{
    testing::ApiPeer peer;
    peer.serve({ { QStringLiteral("a"), QStringLiteral("b") },
        { QStringLiteral("c"), QStringLiteral("d") } });
    const SystemClock clock;
    Translation engine(clock, std::make_unique<OpenAiProvider>(clock, peer.endpoint()));
    bool live = false;
    engine.statusChanged = [&live](const Message &text) {
        live = live || text.spanish().startsWith(QStringLiteral("Modo en vivo activo"));
    };
    engine.start(QStringLiteral("sk-bench"), QStringLiteral("English"), false, {});
    await([&] { return live; });
    std::size_t received = 0; // messages at the server
    peer.onEvent = [&received](const QJsonObject &event) {
        received += testing::field(event, "event") == QLatin1String("text") ? 1 : 0;
    };
    return cpuOf([&] {
        for (std::size_t i = 1; i <= 60; ++i) {
            for (const AudioBlock &block : blocks) {
                engine.processAudio(block);
            }
            await([&] { return received >= 9 * i; });
        }
    });
}

/// A hundred phrases of a live session, from their transcripts to their captions, one at a time.
double phraseMs(const QString &second)
{
    constexpr int phrases = 100;
    testing::ApiPeer peer;
    QList<QPair<QString, QString>> script;
    for (int i = 0; i < phrases; ++i) {
        script.append({ QStringLiteral("frase %1 de la prédica").arg(i),
            QStringLiteral("phrase %1 of the sermon").arg(i) });
    }
    peer.serve(script);
    const SystemClock clock;
    Translation engine(clock, std::make_unique<OpenAiProvider>(clock, peer.endpoint()));
    bool live = false;
    engine.statusChanged = [&live](const Message &text) {
        live = live || text.spanish().startsWith(QStringLiteral("Modo en vivo activo"));
    };
    int captions = 0;
    engine.caption = [&captions](const Caption &) { ++captions; };
    engine.start(QStringLiteral("sk-bench"),
        QStringLiteral("English"),
        false,
        QStringLiteral("es"),
        second);
    await([&] { return live; });
    return cpuOf([&] {
        for (int i = 1; i <= phrases; ++i) {
            peer.sendTranscript(script.at(i - 1).first.toUtf8());
            await([&] { return captions >= (second.isEmpty() ? i : 2 * i); });
        }
        if (captions < phrases) {
            qFatal("a caption got lost");
        }
    }) / phrases;
}

std::string tellSecondLanguage()
{
    constexpr double perMinute = 15;
    const double one = phraseMs({});
    const double two = phraseMs(QStringLiteral("Portuguese"));
    std::array<char, 160> text {};
    std::snprintf(text.data(),
        text.size(),
        "a phrase in one language %.2f ms, in two %.2f ms\tof a core at 15 phrases a minute %.3f "
        "%% "
        "more",
        one,
        two,
        (two - one) * perMinute / minuteMs * 100);
    return text.data();
}

std::string tellVoiceCpu()
{
    const auto blocks = second();
    const double segment = segmentMs(blocks);
    const double resample = resampleMs();
    const double live = liveMs(blocks);
    std::array<char, 160> text {};
    std::snprintf(text.data(),
        text.size(),
        "of a core\tsegmenter %.3f %%\tresampler %.3f %%\tlive road %.3f %%\ttogether %.3f %%",
        segment / minuteMs * 100,
        resample / minuteMs * 100,
        live / minuteMs * 100,
        (segment + resample + live) / minuteMs * 100);
    return text.data();
}

} // namespace

NIMBARA_BENCH_CASE("voice-cpu", tellVoiceCpu)
NIMBARA_BENCH_CASE("second-language", tellSecondLanguage)
