#include "base/error.h"
#include "media/capture/audio_capture.h"
#include "support/fake_device.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"

#include <QThread>

#include <sys/stat.h>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

DeviceRef microphone(const std::string &opens)
{
    return fakeDevice({ .name = "Micrófono",
        .deviceClass = "Audio/Source",
        .caps = "audio/x-raw",
        .opens = opens });
}

template <typename Condition> bool pullUntil(AudioCapture &capture, Condition condition)
{
    return QTest::qWaitFor([&] { return capture.pull({}), condition(); }, 20'000);
}

} // namespace

class AudioCaptureTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void playsAQuietTone()
    {
        AudioCapture capture(m_clock, nullptr);
        std::vector<AudioBlock> blocks;
        capture.listener = [&](const AudioBlock &block) { blocks.push_back(block); };
        QVERIFY(pullUntil(capture, [&] { return blocks.size() >= 4; }));
        QVERIFY(capture.running());
        QCOMPARE(blocks.back().samples.size(), 2048U);
        QVERIFY(blocks.back().pts > blocks.front().pts);
        const double loudest = capture.inputLevels().peak[0];
        QVERIFY(loudest > 0.2 && loudest < 0.3);
        QCOMPARE(capture.outputLevels().peak, capture.inputLevels().peak);
    }

    void takesWhatTheDeviceDelivers()
    {
        for (const char *caps : { "F32LE,rate=44100,channels=2",
                 "S16LE,rate=16000,channels=1",
                 "S32LE,rate=96000,channels=8,channel-mask=(bitmask)0xc3f" }) { // a mixing console
            const RowName named(caps);
            const std::string tone = "audiotestsrc is-live=true volume=0.5 ! capsfilter caps=";
            const DeviceRef device = microphone(tone + "audio/x-raw,format=" + caps);
            AudioCapture capture(m_clock, device.get());
            std::size_t values = 0;
            capture.listener = [&](const AudioBlock &block) { values += block.samples.size(); };
            QVERIFY(pullUntil(capture, [&] { return values > 9600; }));
            QCOMPARE(capture.error(), QString());
            QVERIFY(capture.inputLevels().peak[0] > 0.1);
            QVERIFY(capture.inputLevels().peak[1] > 0.1);
        }
    }

    /// A device that delivers faster than it is read must not hold the interface thread.
    void drainsAtMostEightBuffers()
    {
        AudioCapture capture(m_clock, microphone("audiotestsrc is-live=false").get());
        int blocks = 0;
        int most = 0;
        capture.listener = [&](const AudioBlock &) { ++blocks; };
        QVERIFY(pullUntil(capture, [&] {
            most = std::max(most, std::exchange(blocks, 0));
            return most >= 8;
        }));
        QCOMPARE(most, 8);
    }

    /// Eight buffers of some devices are twenty milliseconds, and the interface is late by more now
    /// and then: sound was lost in the middle of words.
    void losesNoSoundWhileTheInterfaceIsBusy()
    {
        AudioCapture capture(m_clock,
            microphone("audiotestsrc is-live=true samplesperbuffer=128").get());
        std::vector<AudioBlock> blocks;
        capture.listener = [&](const AudioBlock &block) { blocks.push_back(block); };
        for (const std::size_t enough : { 20, 40 }) {
            QVERIFY(pullUntil(capture, [&] { return blocks.size() >= enough; }));
            QThread::msleep(300);
        }
        QVERIFY(pullUntil(capture, [&] { return blocks.size() >= 80; }));
        for (std::size_t i = 1; i < blocks.size(); ++i) {
            const auto frames = static_cast<std::int64_t>(blocks[i - 1].samples.size() / 2);
            const auto ns = static_cast<std::int64_t>(blocks[i].pts - blocks[i - 1].pts);
            QCOMPARE((ns * 48 + 500'000) / 1'000'000, frames);
        }
    }

    void mutesBehindTheInputMeter()
    {
        AudioCapture capture(m_clock, nullptr);
        std::vector<float> last;
        capture.listener = [&](const AudioBlock &block) { last = block.samples; };
        QTRY_VERIFY((capture.pull({ true, 1.0 }), !last.empty()));
        QVERIFY(std::all_of(last.begin(), last.end(), [](float value) { return value == 0.0F; }));
        QVERIFY(capture.inputLevels().peak[0] > 0.2);
        QCOMPARE(capture.outputLevels().peak[0], 0.0);
    }

    void stops()
    {
        for (const auto &[breaks, error] :
            { std::pair { "num-buffers=3", "La entrada de audio termino" },
                { "! identity error-after=3", "Failed after iterations as requested." } }) {
            const RowName named(breaks);
            AudioCapture capture(m_clock,
                microphone(std::string("audiotestsrc is-live=true ") + breaks).get());
            QVERIFY(pullUntil(capture, [&] { return !capture.running(); }));
            QCOMPARE(capture.error().spanish(), QLatin1String(error));
            QCOMPARE(capture.inputLevels().peak[0], 0.0);
            QCOMPARE(capture.outputLevels().peak[0], 0.0);
            capture.listener
                = [](const AudioBlock &) { QFAIL("a stopped capture delivers nothing"); };
            capture.pull({});
        }
    }

    void fallsSilentThenStops()
    {
        const QTemporaryDir folder;
        const QByteArray pipe = QFile::encodeName(folder.filePath(u"pipe"_s));
        QCOMPARE(mkfifo(pipe.constData(), 0600), 0);
        QFile sound(QString::fromUtf8(pipe));
        AudioCapture capture(m_clock,
            microphone("filesrc location=" + pipe.toStdString()
                + " ! rawaudioparse format=pcm pcm-format=s8 sample-rate=48000 num-channels=2")
                .get());
        m_clock.advanceUs(29'000'000); // nobody has opened the pipe: the device is slow
        capture.pull({});
        QVERIFY(capture.running());
        QVERIFY(sound.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
        sound.write(QByteArray(16'384, '\x40'));
        QVERIFY(pullUntil(capture, [&] { return capture.inputLevels().peak[0] == 0.5; }));
        // What is still on its way arrives before the clock moves on.
        QVERIFY(pullUntil(capture, [&, pulls = 0]() mutable { return ++pulls > 20; }));

        m_clock.advanceUs(2'000'000);
        capture.pull({});
        QCOMPARE(capture.outputLevels().peak[1], 0.5);
        m_clock.advanceUs(1);
        capture.pull({});
        QCOMPARE(capture.inputLevels().peak[0], 0.0);
        QCOMPARE(capture.outputLevels().peak[1], 0.0);
        m_clock.advanceUs(2'999'999);
        capture.pull({});
        QVERIFY(capture.running());
        m_clock.advanceUs(1);
        capture.pull({});
        QVERIFY(!capture.running());
        QCOMPARE(capture.error(), u"Sin buffers de audio durante 5 segundos"_s);
        sound.close(); // lets the reader go, so that the pipeline can stop
    }

    void refusesToStart()
    {
        const char *missing = "Faltan componentes de captura de audio";
        for (const auto &[hidden, opens, text] :
            { std::tuple { "audioconvert", "audiotestsrc", missing },
                { "audioresample", "audiotestsrc", missing },
                { "capsfilter", "audiotestsrc", missing },
                { "appsink", "audiotestsrc", missing },
                { "", "", missing },
                { "", "videotestsrc", "No se pudo enlazar el dispositivo de audio" },
                { "", "filesrc location=/no ! rawaudioparse", "No se pudo iniciar audio" } }) {
            const RowName named(QByteArray(hidden) + opens);
            const auto gone = *hidden == '\0' ? nullptr : std::make_unique<HiddenElement>(hidden);
            try {
                AudioCapture capture(m_clock, microphone(opens).get());
                // On a machine too busy to know it at once.
                QVERIFY(pullUntil(capture, [&] { return !capture.running(); }));
                throw Error(capture.error());
            } catch (const Error &error) {
                QCOMPARE(error.text(), QLatin1String(text));
            }
        }
    }

private:
    ManualClock m_clock;
};

NIMBARA_TEST(AudioCaptureTest)
#include "audio_capture_test.moc"
