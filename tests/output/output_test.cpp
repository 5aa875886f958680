#include "output/encode/pipeline_parts.h"
#include "output/probe.h"
#include "output/program_feed.h"
#include "output/sink/finished_file.h"
#include "output/sink/outlet.h"
#include "output/sink/output.h"
#include "output/sink/outputs.h"
#include "support/error_of.h"
#include "support/fake_device.h"
#include "support/full_disk.h"
#include "support/hung_file.h"
#include "support/test_registry.h"

#include <QDeadlineTimer>
#include <QRegularExpression>
#include <QScopeGuard>

#include <gst/app/gstappsrc.h>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr FrameSize small { 160, 90 };

/// The text of the error that building such an output throws; empty when it starts.
QString startError(FrameSize size, bool isStream, const QString &location, std::int32_t bitrate)
{
    QString late; // a slow disk refuses after a while
    const QString atOnce = errorOf([&] {
        Output output(size.width, size.height, isStream, location, bitrate);
        const auto isSettled
            = [&] { return output.pollOutput(), output.isOpen() || !output.running(); };
        late = QTest::qWaitFor(isSettled) ? output.error().spanish() : u"not settled"_s;
        return 0;
    });
    return atOnce.isEmpty() ? late : atOnce;
}

void push(Output &output, const Tick &tick)
{
    output.stamp(tick.tNs);
    output.pushVideo(tick.frame);
    output.pushAudio(tick.block);
    output.pollOutput();
}

} // namespace

class OutputTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;

private Q_SLOTS:
    void refusesWhatItCannotBuild()
    {
        struct Row {
            FrameSize size;
            std::int32_t bitrate;
            bool isStream;
            QString location;
            const char *text; ///< empty: it starts
        };
        constexpr FrameSize good { 320, 180 };
        const auto file = m_dir.filePath(u"refused.webm"_s);
        const char *profile = "Perfil de salida invalido";
        const char *scheme = "Destino debe usar RTMP o RTMPS";
        const char *refused = "No se pudo iniciar salida";
        for (const auto &[size, bitrate, isStream, location, text] :
            { Row { {}, 1'000'000, false, file, profile },
                { { 4097, 180 }, outputBitrate, false, file, profile },
                { { 320, 4097 }, outputBitrate, false, file, profile },
                { good, 499'999, false, file, profile },
                { good, 20'000'001, false, file, profile },
                { good, outputBitrate, true, u"http://host/app/key"_s, scheme },
                { good, outputBitrate, true, u"RTMP://host/app/key"_s, scheme },
                { good, outputBitrate, true, u"rtmp://host/secret-key"_s, refused },
                { good, outputBitrate, false, QString(), "Selecciona archivo de grabacion" },
                { good, outputBitrate, false, u"/no/such/folder/a.webm"_s, refused },
                { good, outputBitrate, false, m_dir.path(), refused },
                { { 16, 16 }, 500'000, false, file, "" },
                { good, 20'000'000, false, file, "" } }) {
            QCOMPARE(startError(size, isStream, location, bitrate), QLatin1String(text));
        }
    }

    void namesTheMissingComponent()
    {
        const auto file = m_dir.filePath(u"missing.webm"_s);
        for (const QByteArray &factory :
            QByteArray("vp8enc vorbisenc webmmux filesink openh264enc voaacenc h264parse rtmp2sink")
                .split(' ')) {
            const HiddenElement missing(factory);
            const auto error = [&](bool isStream, const QString &location) {
                return startError(small, isStream, location, outputBitrate);
            };
            const QString text = u"Componente no disponible: "_s + QLatin1String(factory);
            QVERIFY2(error(false, file) == text
                    || error(true, u"rtmp://127.0.0.1:1/app/key"_s) == text,
                factory);
        }
    }

    void recordsEveryTick()
    {
        for (const auto &[name, width, height, stallMs] : { std::tuple { "landscape", 160, 90, 0 },
                 { "portrait, with a stall", 90, 160, 1000 } }) {
            const RowName named(name);
            const QString path = m_dir.filePath(u"grabación 1.webm"_s);
            Output output(width, height, false, path, outputBitrate);
            QTRY_VERIFY((output.pollOutput(), output.ready()));
            ProgramFeed feed({ width, height });
            for (int i = 0; i < 75; ++i) {
                push(output, feed.next());
                QVERIFY(feed.wait());
                feed.skip(i == 29 ? stallMs * 1'000'000LL : 0);
            }
            output.finish();
            QVERIFY(output.stopping() && output.running());
            push(output, feed.next()); // nothing is taken any more
            output.finish();
            QTRY_VERIFY((output.pollOutput(), !output.running()));
            QVERIFY(output.finished() && output.error().isEmpty());

            const Probe found = probe(path);
            QCOMPARE(found.video, u"vp8 %1x%2"_s.arg(width).arg(height));
            QCOMPARE(found.audio, u"vorbis 48000 2"_s);
            QCOMPARE(found.videoTimes.size(), 75U);
            const double stall = stallMs / 1000.0;
            for (std::size_t i = 0; i < found.videoTimes.size(); ++i) {
                const double due = static_cast<double>(i) * 0.033333 + (i >= 30 ? stall : 0);
                QVERIFY(std::abs(found.videoTimes[i] - due) < 0.0011);
            }
            QVERIFY(std::abs(found.duration - 2.5 - stall) < 0.06);
            for (std::size_t i = 1; i < found.audioTimes.size(); ++i) { // no hole, no step back
                const double step = found.audioTimes[i] - found.audioTimes[i - 1];
                QVERIFY2(step >= 0 && step < 0.03, qPrintable(QString::number(step)));
            }
            QVERIFY(std::abs(found.audioTimes.back() - 2.47 - stall) < 0.06);
            QCOMPARE(decodeErrors(path), QByteArray());
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadOnly));
            QVERIFY(file.readAll().contains("\x1C\x53\xBB\x6B")); // the index, for seeking
        }
    }

    /// One that joins begins with a key frame at 0; one that has ended feeds nobody any more.
    void anEncoderIsSharedUntilItEnds()
    {
        EncoderPool pool;
        ProgramFeed feed(small);
        std::vector<std::unique_ptr<Output>> outputs;
        const auto record = [&](const char *name) {
            outputs.push_back(std::make_unique<Output>(small.width,
                small.height,
                false,
                m_dir.filePath(QLatin1String(name)),
                outputBitrate,
                &pool));
        };
        const auto run = [&](int ticks) {
            for (int i = 0; i < ticks; ++i) {
                std::ranges::for_each(outputs,
                    [tick = feed.next()](const auto &each) { push(*each, tick); });
                QVERIFY(feed.wait());
            }
        };
        record("first.mkv");
        QTRY_VERIFY((outputs[0]->pollOutput(), outputs[0]->ready()));
        run(30);
        record("second.mkv");
        QVERIFY(!outputs[1]->ready()); // no key frame yet
        run(90);
        QVERIFY(outputs[1]->ready());
        const auto completed = [&](std::size_t place) {
            const auto ended
                = [&] { return outputs[place]->pollOutput(), outputs[place]->finished(); };
            return QTest::qWaitFor(ended, 60'000);
        };
        outputs[0]->finish();
        QVERIFY(completed(0));
        outputs.erase(outputs.begin());
        run(30);
        outputs[0]->finish();
        record("third.mkv"); // while the other is being completed
        QTRY_VERIFY((outputs[1]->pollOutput(), outputs[1]->ready()));
        run(30);
        outputs[1]->finish();
        QVERIFY(completed(0) && completed(1));
        for (const auto &[name, least, most] : { std::tuple { "first.mkv", 115U, 120U },
                 { "second.mkv", 60U, 119U },
                 { "third.mkv", 30U, 30U } }) {
            const RowName named(name);
            const Probe found = probe(m_dir.filePath(QLatin1String(name)));
            QCOMPARE(found.video, u"h264 160x90"_s);
            QCOMPARE(found.audio, u"aac 48000 2"_s);
            QVERIFY2(found.videoTimes.size() >= least && found.videoTimes.size() <= most,
                qPrintable(QString::number(found.videoTimes.size())));
            QVERIFY(found.videoTimes.front() < 0.04 && found.keyTimes.front() < 0.04);
            QVERIFY(std::abs(found.audioTimes.back() - found.videoTimes.back()) < 0.1);
            QCOMPARE(decodeErrors(m_dir.filePath(QLatin1String(name))), QByteArray());
        }
    }

    /// An output beside it, which nobody pushes to any more, must not keep the encoder going.
    void theLastPushEndsAllOfAnEncoder()
    {
        EncoderPool pool;
        const QString paths[] { m_dir.filePath(u"ends.mkv"_s), m_dir.filePath(u"beside.mkv"_s) };
        Output ends(small.width, small.height, false, paths[0], outputBitrate, &pool);
        Output beside(small.width, small.height, false, paths[1], outputBitrate, &pool);
        const auto isReady = [](Output &output) { return output.pollOutput(), output.ready(); };
        QTRY_VERIFY(isReady(ends) && isReady(beside));
        ProgramFeed feed(small);
        for (int i = 0; i < 10; ++i) {
            {
                const Tick tick = feed.next();
                push(ends, tick);
                push(beside, tick);
            }
            QVERIFY(feed.wait());
        }
        ends.finish();
        ends.endEncoder();
        for (Output *each : { &ends, &beside }) {
            QTRY_VERIFY((each->pollOutput(), each->finished()));
        }
        QCOMPARE(probe(paths[0]).videoTimes.size(), 10U);
    }

    /// To let go of the last reference takes as long as the encoder's pipelines need to stop.
    void anEncoderEndsBehind()
    {
        const auto retirement = std::make_shared<Retirement>();
        EncoderPool pool(retirement);
        pool.take({ small.width, small.height, Codecs::H264Aac, outputBitrate }).reset();
        QCOMPARE(retirement->pending(), 1U);
    }

    void aFullDiskStopsIt()
    {
        Output output(small.width, small.height, false, u"/dev/full"_s, outputBitrate);
        ProgramFeed feed(small);
        for (int i = 0; i < 300 && output.running(); ++i) {
            push(output, feed.next());
            QTest::qWait(1);
        }
        QTRY_VERIFY((output.pollOutput(), !output.running()));
        QVERIFY(!output.finished());
        const QRegularExpression text(
            u"^Fallo de salida \\(codigo \\d+\\)\\. Revisa destino, permisos y codecs\\.$"_s);
        const QString error = output.error().spanish();
        QVERIFY2(text.match(error).hasMatch(), qPrintable(error));
    }

    /// Sound or an index inside a block that was half written, where the disk has room again at
    /// once.
    void nothingFollowsAWriteThatFailed()
    {
        constexpr std::uint64_t room = 10'000;
        const QString path = m_dir.filePath(u"full.webm"_s);
        auto full = std::make_unique<FullDisk>(room);
        const Outlet outlet = buildFileOutlet(path);
        gst_bus_set_sync_handler(
            outlet.pipeline.bus(),
            [](GstBus *, GstMessage *message, gpointer disk) {
                if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
                    static_cast<std::unique_ptr<FullDisk> *>(disk)->reset();
                }
                return GST_BUS_PASS;
            },
            &full,
            nullptr);
        QVERIFY(outlet.pipeline.play());
        const std::pair<ElementRef, const char *> tracks[] {
            { outlet.videoSrc, "video/x-vp8,width=64,height=36,framerate=30/1" },
            { outlet.audioSrc, "audio/x-opus,channel-mapping-family=0,channels=2,rate=48000" },
        };
        for (const auto &[source, caps] : tracks) {
            gst_app_src_set_caps(GST_APP_SRC_CAST(source.get()), capsOf(QLatin1String(caps)).get());
        }
        for (GstClockTime time = 0; time < GST_SECOND; time += GST_SECOND / 30) {
            for (const auto &[source, caps] : tracks) {
                GstBuffer *buffer = gst_buffer_new_allocate(nullptr, 700, nullptr);
                GST_BUFFER_PTS(buffer) = time;
                gst_app_src_push_buffer(GST_APP_SRC_CAST(source.get()), buffer);
            }
        }
        for (const auto &[source, caps] : tracks) {
            gst_app_src_end_of_stream(GST_APP_SRC_CAST(source.get()));
        }
        const auto end = MessageRef::adopt(
            gst_bus_timed_pop_filtered(outlet.pipeline.bus(), 20 * GST_SECOND, GST_MESSAGE_EOS));
        QVERIFY(end);
        QVERIFY(!full);
        QCOMPARE(QFileInfo(path).size(), qint64 { room });
        QVERIFY(!isFinishedRecording(path));
    }
};

class RecordingTest : public QObject {
    Q_OBJECT
    static constexpr FrameSize small { 64, 36 };
    QTemporaryDir m_dir;

private Q_SLOTS:
    void goesThroughItsStates()
    {
        const auto retirement = std::make_shared<Retirement>();
        Outputs outputs(retirement);
        Recording &recording = outputs.recording();
        recording.finish(); // nothing to finish
        QVERIFY(!outputs.any());
        recording.start(m_dir.filePath(u"states.webm"_s), small);
        QVERIFY(outputs.any());
        QTRY_VERIFY((recording.poll(), recording.ready()));
        ProgramFeed feed(small);
        for (int i = 0; i < 10; ++i) {
            const Tick tick = feed.next();
            QVERIFY(!outputs.push(tick.frame, tick.block, tick.tNs).recording);
        }
        recording.finish();
        recording.finish();
        QCOMPARE(recordingButtonText(recording.state()), u"Finalizando..."_s);
        std::optional<Message> told; // once
        QTRY_VERIFY(told || (told = recording.poll()));
        QCOMPARE(*told, Recording::savedText());
        QCOMPARE(recording.state(), RecordingState::idle);
        QVERIFY(!outputs.any() && !recording.poll());
        QTRY_COMPARE((retirement->reap(), retirement->pending()), 0U);
    }

    void partsJoinWithoutALoss()
    {
        for (const auto &suffix : { u"webm"_s, u"mkv"_s }) {
            const RowName named(qPrintable(suffix));
            Outputs outputs(std::make_shared<Retirement>());
            Recording &recording = outputs.recording();
            ProgramFeed feed(small);
            const auto push = [&] {
                const Tick tick = feed.next();
                return !outputs.push(tick.frame, tick.block, tick.tNs).recording;
            };
            const auto run = [&](int ticks) {
                for (int i = 0; i < ticks; ++i) {
                    QVERIFY(push() && feed.wait());
                }
            };
            const auto file
                = [&](int part) { return m_dir.filePath(u"part %1."_s.arg(part) + suffix); };
            recording.start(file(1), small);
            QTRY_VERIFY((recording.poll(), recording.ready()));
            for (int part = 2; part <= 3; ++part) {
                run(40);
                QVERIFY(push() && push() && push()); // pictures wait, their sound has gone on
                QVERIFY(recording.canStartPart());
                recording.startPart(file(part));
                QVERIFY(!recording.canStartPart()); // before the key frame has come
                const QDeadlineTimer patience(std::chrono::seconds(60)); // a machine may be slow
                while (!recording.canStartPart()) {
                    QVERIFY(!patience.hasExpired());
                    run(1);
                }
            }
            run(40);
            recording.finish();
            QTRY_VERIFY((recording.poll(), !recording.exists()));
            std::size_t pictures = 0;
            for (int part = 1; part <= 3; ++part) {
                const Probe found = probe(file(part));
                QVERIFY2(found.keyTimes.front() < 0.04,
                    qPrintable(u"%1 pictures, key at %2"_s.arg(found.videoTimes.size())
                                   .arg(found.keyTimes.front())));
                QVERIFY(std::abs(found.audioTimes.back() - found.videoTimes.back()) < 0.1);
                pictures += found.videoTimes.size();
                const auto &sound = found.audioTimes;
                QVERIFY(sound.front() < 0.05);
                const auto gap = std::ranges::adjacent_find(sound,
                    [](double before, double after) { return after - before > 0.05; });
                QVERIFY(gap == sound.end());
                QCOMPARE(decodeErrors(file(part)), QByteArray());
            }
            QCOMPARE(pictures, static_cast<std::size_t>(feed.count()));
        }
    }

    /// Neither the tick nor what is being recorded waits for a disk that opens nothing.
    void aDiskThatHangsHoldsNothingUp()
    {
        HungFile first(m_dir.filePath(u"hung.mkv"_s));
        HungFile second(m_dir.filePath(u"hung 2.mkv"_s));
        Outputs outputs(std::make_shared<Retirement>());
        const auto free = qScopeGuard([&] { first.drain(), second.drain(); });
        Recording &recording = outputs.recording();
        ProgramFeed feed(small);
        const auto push = [&] {
            const Tick tick = feed.next();
            return !outputs.push(tick.frame, tick.block, tick.tNs).recording;
        };
        const auto run = [&] { return push() && feed.wait(); };
        recording.start(m_dir.filePath(u"hung.mkv"_s), small);
        QVERIFY(run() && recording.isOpening() && !recording.ready());
        first.drain();
        QTRY_VERIFY((recording.poll(), recording.ready()));
        recording.startPart(m_dir.filePath(u"hung 2.mkv"_s));
        const auto pictures = [&] { return recording.figures()->pictures; };
        QTRY_VERIFY(run() && pictures() > 10);
        QVERIFY(!recording.takePartStart() && !recording.canStartPart());
        second.drain();
        std::optional<bool> goesOn; // once
        QTRY_VERIFY(run() && (goesOn || (goesOn = recording.takePartStart())));
        QVERIFY(*goesOn);
        recording.finish();
        QTRY_VERIFY((recording.poll(), !recording.exists()));
    }

    void tellsWhyItStopped()
    {
        Outputs outputs(std::make_shared<Retirement>());
        outputs.recording().start(m_dir.filePath(u"size.webm"_s), small);
        const Tick tick = ProgramFeed({ 36, 64 }).next();
        const auto stopped = outputs.push(tick.frame, tick.block, tick.tNs);
        QCOMPARE(stopped.recording, u"El formato cambio durante salida"_s);
        QVERIFY(stopped.destinations.empty());
        QCOMPARE(outputs.recording().state(), RecordingState::idle);
    }
};

NIMBARA_TEST(OutputTest)
NIMBARA_TEST(RecordingTest)
#include "output_test.moc"
