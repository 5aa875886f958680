#include "output/probe.h"
#include "studio/device_desk.h"
#include "studio/studio.h"
#include "support/test_registry.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <numbers>
#include <utility>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

constexpr std::size_t rate = audioRate;
constexpr double loud = 0.8; // as the microphones are

DevicePtr redCamera()
{
    return camera("Altar", "red", { 1280, 720 });
}

DevicePtr blueCamera()
{
    return camera("Coro", "blue", { 640, 480 });
}

DevicePtr console()
{
    return microphone("Consola", 44100, 1, 440);
}

DevicePtr roomMicrophone()
{
    return microphone("Ambiente", 48000, 2, 1000);
}

bool isBlue(const QColor &color)
{
    return color.blue() > 200 && color.green() < 60 && color.red() < 60;
}
bool isBlack(const QColor &color)
{
    return color.value() < 25;
}

QByteArray decoded(const QString &path, const char *options)
{
    QStringList words { QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"), path };
    words
        += QString::fromLatin1(options).split(QLatin1Char(' ')) + QStringList(QStringLiteral("-"));
    QProcess process;
    process.start(QStringLiteral("ffmpeg"), words);
    return process.waitForFinished(120'000) ? process.readAllStandardOutput() : QByteArray();
}

/// A recording, read back.
class Recorded {
public:
    explicit Recorded(const QString &path)
        : m_times(probe(path).videoTimes)
        , m_pixels(decoded(path,
              "-an -vsync passthrough -vf scale=16:9:flags=area,format=rgb24 -f rawvideo"))
    {
        const QByteArray values = decoded(path, "-vn -ar 48000 -ac 2 -f f32le");
        m_sound.resize(static_cast<std::size_t>(values.size()) / sizeof(float));
        std::memcpy(m_sound.data(), values.constData(), m_sound.size() * sizeof(float));
    }

    [[nodiscard]] std::size_t pictures() const { return m_pixels.size() / pictureBytes; }
    /// In the centre, or in the middle of the left edge.
    [[nodiscard]] QColor picture(std::size_t number, bool edge = false) const
    {
        const auto at = static_cast<qsizetype>(
            number * pictureBytes + (std::size_t { 4 } * 16 + (edge ? 0 : 8)) * 3);
        const auto part = [&](int channel) { return static_cast<uchar>(m_pixels[at + channel]); };
        return { part(0), part(1), part(2) };
    }
    [[nodiscard]] double seconds() const { return static_cast<double>(soundFrames()) / rate; }
    [[nodiscard]] std::size_t soundFrames() const { return m_sound.size() / 2; }
    /// Left and right, from a time on.
    [[nodiscard]] float value(std::size_t frame, std::size_t channel) const
    {
        return m_sound[2 * frame + channel];
    }

    /// 30 pictures per second: at most one of a hundred is missing, and the others are 33 ms apart.
    [[nodiscard]] QString unevenness() const
    {
        const auto promised = std::lround((m_times.back() - m_times.front()) * 30) + 1;
        const auto missing = promised - static_cast<long>(m_times.size());
        long uneven = 0;
        for (std::size_t i = 1; i < m_times.size(); ++i) {
            uneven += std::abs(m_times[i] - m_times[i - 1] - 1.0 / 30) > 0.0014 ? 1 : 0;
        }
        const bool good = m_times.size() == pictures() && missing * 100 <= promised
            && uneven <= std::max(missing, 0L);
        return good ? QString()
                    : QStringLiteral("%1 of %2 pictures, %3 uneven steps")
                          .arg(m_times.size())
                          .arg(promised)
                          .arg(uneven);
    }

    /// How loud the tone of that pitch is in one second of a channel: its amplitude.
    [[nodiscard]] double tone(double pitch, double from, std::size_t channel) const
    {
        double sine = 0;
        double cosine = 0;
        const auto first = static_cast<std::size_t>(from * rate);
        for (std::size_t i = 0; i < rate; ++i) {
            const double turn = 2 * std::numbers::pi * pitch * static_cast<double>(i) / rate;
            sine += value(first + i, channel) * std::sin(turn);
            cosine += value(first + i, channel) * std::cos(turn);
        }
        return 2 * std::hypot(sine, cosine) / rate;
    }

    /// The loudest value of each 10 ms.
    [[nodiscard]] std::vector<float> peaks() const
    {
        constexpr std::size_t piece = rate / 50;
        std::vector<float> all;
        for (std::size_t at = 0; at + piece <= m_sound.size(); at += piece) {
            float peak = 0;
            for (std::size_t i = at; i < at + piece; ++i) {
                peak = std::max(peak, std::abs(m_sound[i]));
            }
            all.push_back(peak);
        }
        return all;
    }

private:
    static constexpr std::size_t pictureBytes = std::size_t { 16 } * 9 * 3;
    std::vector<double> m_times;
    QByteArray m_pixels;
    std::vector<float> m_sound;
};

/// A studio in a service: it runs in real time.
struct Service {
    SystemClock clock;
    Studio studio { clock };
    QTimer timer;
    QTemporaryDir folder;
    DeviceLists devices;
    QStringList statuses;
    QColor onAir;
    int frames = 0;
    int before = -1;
    int after = -1;

    Service()
    {
        QObject::connect(&studio, &Studio::status, &studio, [this](const QString &text) {
            statuses << text;
        });
        QObject::connect(&studio.devices(),
            &DeviceConnection::devicesFound,
            &studio,
            [this](const DeviceLists &found) { devices = found; });
        QObject::connect(&studio.audio(),
            &AudioInput::levelsMeasured,
            &studio,
            [this](int input, int output) {
                before = input;
                after = output;
            });
        QObject::connect(&studio, &Studio::picturesMade, &studio, [this](const Pictures &made) {
            onAir = made.streams.pixelColor(made.streams.rect().center());
            ++frames;
        });
        timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer, &QTimer::timeout, &timer, [this] { studio.tick(); });
        timer.start(5);
        studio.program().take();
    }

    static bool until(const std::function<bool()> &condition)
    {
        return QTest::qWaitFor(condition, 60'000);
    }
    bool findDevices(std::size_t video, std::size_t audio)
    {
        return until([&, tries = 0]() mutable {
            if (tries++ % 50 == 0) {
                studio.devices().refreshDevices();
            }
            return devices.video.size() == video && devices.audio.size() == audio;
        });
    }
    bool runFrames(int count)
    {
        return until([this, last = frames + count] { return frames >= last; });
    }
    [[nodiscard]] DeviceChoice choice(const char *video, const char *audio) const
    {
        return choose(devices, video, audio);
    }
    /// "Conectar fuentes", until it says that they are open.
    bool connectAll(const DeviceChoice &choice)
    {
        statuses.clear();
        studio.devices().connectSources(choice);
        return until([&] {
            if (told(opened)) {
                return true;
            }
            if (!std::exchange(statuses, {}).isEmpty()) {
                studio.devices().connectSources(choice);
            }
            return false;
        });
    }
    [[nodiscard]] bool told(const char *text) const
    {
        return !statuses.filter(QString::fromUtf8(text)).isEmpty();
    }
    bool record()
    {
        Recording &recording = studio.outputs().recording();
        recording.start(path(), landscapeSize);
        return until([&] { return recording.ready(); });
    }
    bool stop()
    {
        Recording &recording = studio.outputs().recording();
        recording.finish();
        return until([&] { return !recording.exists(); })
            && told("Grabación guardada correctamente");
    }
    [[nodiscard]] QString path() const { return folder.filePath(QStringLiteral("servicio.webm")); }
};

} // namespace

/// Cameras and microphones of a media service in a service of the church: what the recording holds
/// while they work, go away and come back.
class DeviceRecordingTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void whatIsConnectedIsRecorded()
    {
        const auto altar = redCamera();
        const auto choir = blueCamera();
        const auto desk = console();
        const auto room = roomMicrophone();
        Service service;
        QVERIFY(service.findDevices(2, 2));
        const DeviceChoice first = service.choice("Altar", "Consola");
        QVERIFY(service.connectAll(first));
        QVERIFY(service.until([&] { return isRed(service.onAir) && service.before > 60; }));
        QVERIFY(service.record());
        QVERIFY(service.runFrames(75));
        const MediaPtr shown = service.studio.sources().camera();
        QVERIFY(service.connectAll(first));
        QCOMPARE(service.studio.sources().camera(), shown);
        QVERIFY(service.runFrames(30));
        QVERIFY(service.connectAll(service.choice("Coro", "Ambiente")));
        QVERIFY(service.until([&] { return isBlue(service.onAir); }));
        QVERIFY(service.runFrames(75));
        QVERIFY(service.stop());

        const Recorded recorded(service.path());
        QCOMPARE(recorded.unevenness(), QString());
        QVERIFY(isRed(recorded.picture(30)) && isRed(recorded.picture(30, true)));
        const std::size_t last = recorded.pictures() - 1;
        QVERIFY(isBlue(recorded.picture(last)));
        QVERIFY(isBlack(recorded.picture(last, true))); // 4:3, with its shape kept
        for (const std::size_t channel : { 0U, 1U }) {
            const double low = recorded.tone(440, 0.5, channel);
            const double high = recorded.tone(1000, recorded.seconds() - 1.5, channel);
            qInfo("channel %d: 440 Hz at %.3f, 1000 Hz at %.3f", int(channel), low, high);
            QVERIFY(std::abs(low - loud) < 0.04);
            QVERIFY(std::abs(high - loud) < 0.04);
            QVERIFY(recorded.tone(1000, 0.5, channel) < 0.01);
        }
    }

    void aLostMicrophoneIsSilence()
    {
        const auto altar = redCamera();
        auto desk = console();
        Service service;
        QVERIFY(service.findDevices(1, 1));
        const DeviceChoice choice = service.choice("Altar", "Consola");
        QVERIFY(service.connectAll(choice));
        QVERIFY(service.until([&] { return isRed(service.onAir) && service.before > 60; }));
        QVERIFY(service.record());
        QVERIFY(service.runFrames(60));

        QElapsedTimer since;
        since.start();
        desk->unplug();
        QVERIFY(service.until([&] { return service.before == 0 && service.after == 0; }));
        const qint64 quiet = since.elapsed();
        QVERIFY(service.until([&] { return service.told("Audio detenido; video continúa. "); }));
        qInfo("meters at 0 after %lld ms, told after %lld ms: %s",
            quiet,
            since.elapsed(),
            qPrintable(service.statuses.last()));
        QVERIFY(quiet < 2500);
        QVERIFY(since.elapsed() < 5500);
        QVERIFY(service.runFrames(30));
        since.restart();
        desk = console();
        QVERIFY(service.until([&] { return service.before > 60; }));
        QVERIFY(since.elapsed() < 5000);
        QVERIFY(service.runFrames(60));
        QVERIFY(service.stop());

        const Recorded recorded(service.path());
        QCOMPARE(recorded.unevenness(), QString());
        for (std::size_t i = 0; i < recorded.pictures(); ++i) {
            QVERIFY(isRed(recorded.picture(i)));
        }
        const std::vector<float> peaks = recorded.peaks();
        const auto isSilent = [](float peak) { return peak < 0.01F; };
        const auto start = std::find_if(peaks.begin() + 50, peaks.end(), isSilent);
        const auto end = std::find_if_not(start, peaks.end(), isSilent);
        qInfo("sound for %.2f s, silence for %.2f s, sound for %.2f s",
            double(start - peaks.begin()) / 100,
            double(end - start) / 100,
            double(peaks.end() - end) / 100);
        QVERIFY(end - start > 500);
        QVERIFY(std::abs(recorded.tone(440, 0.5, 0) - loud) < 0.04);
        QVERIFY(std::abs(recorded.tone(440, recorded.seconds() - 1.2, 1) - loud) < 0.04);
    }

    void aLostCameraComesBackAlone()
    {
        auto altar = redCamera();
        const auto choir = blueCamera();
        const auto desk = console();
        Service service;
        QVERIFY(service.findDevices(2, 1));
        QVERIFY(service.connectAll(service.choice("Altar", "Consola")));
        QVERIFY(service.until([&] { return isRed(service.onAir) && service.before > 60; }));
        const QString place = service.studio.sources().cameraDevice()->place;
        QVERIFY(service.record());
        QVERIFY(service.runFrames(60));

        QElapsedTimer since;
        since.start();
        service.statuses.clear();
        altar->unplug();
        QVERIFY(service.until([&] {
            return service.told("Cámara sin cuadros; se vuelve a abrir")
                || service.told("Fuente sin señal: ");
        }));
        const qint64 told = since.elapsed();
        QVERIFY(told < 4500);
        QVERIFY(service.until([&] { return isBlack(service.onAir); }));
        QVERIFY(service.runFrames(120)); // the search has met the other camera by now
        since.restart();
        altar = redCamera();
        QVERIFY(service.until([&] { return isRed(service.onAir); }));
        qInfo("told after %lld ms, back after %lld ms", told, since.elapsed());
        QVERIFY(since.elapsed() < 5000);
        QVERIFY(service.studio.sources().cameraDevice()->place != place);
        QVERIFY(service.runFrames(45));
        QVERIFY(service.stop());

        const Recorded recorded(service.path());
        QCOMPARE(recorded.unevenness(), QString());
        QString colours; // one letter where the colour changes
        for (std::size_t i = 0; i < recorded.pictures(); ++i) {
            const QColor color = recorded.picture(i);
            const QChar letter = QLatin1Char(isRed(color) ? 'r' : isBlack(color) ? 'k' : '?');
            if (!colours.endsWith(letter)) {
                colours += letter;
            }
        }
        QCOMPARE(colours, QStringLiteral("rkr"));
        const std::vector<float> peaks = recorded.peaks();
        const auto quietest = *std::min_element(peaks.begin() + 10, peaks.end() - 10);
        QVERIFY2(quietest > 0.7F, qPrintable(QString::number(quietest)));
    }

    /// The steepest step of the sound is that of its tone, however the gain jumps.
    void gainAndMuteDoNotClick()
    {
        Service service;
        QVERIFY(service.connectAll({ 0, 1 })); // a tone of 0.25
        QVERIFY(service.until([&] { return service.before > 60; }));
        QVERIFY(service.record());
        AudioInput &audio = service.studio.audio();
        for (const int percent : { 100, 0, 200, 0, 200 }) {
            audio.setGainPercent(percent);
            QVERIFY(service.runFrames(10));
        }
        for (const bool muted : { true, false, true, false }) {
            audio.setMuted(muted);
            QVERIFY(service.runFrames(10));
        }
        for (const int level : { 0, 100, 30, 100 }) { // of the input in the outputs
            service.studio.programAudio().levels().source = level;
            QVERIFY(service.runFrames(10));
        }
        QVERIFY(service.runFrames(30));
        QVERIFY(service.stop());

        const Recorded recorded(service.path());
        float steepest = 0;
        const std::size_t end = recorded.soundFrames() - rate / 10;
        for (std::size_t frame = rate / 10; frame < end; ++frame) {
            steepest = std::max(steepest,
                std::abs(recorded.value(frame, 0) - recorded.value(frame - 1, 0)));
        }
        const double ownSteepest = 0.5 * 2 * std::numbers::pi * 440 / rate;
        qInfo("steepest step %.4f, of the tone itself %.4f", double(steepest), ownSteepest);
        QVERIFY(steepest < 1.5 * ownSteepest);
        QVERIFY(std::abs(recorded.tone(440, recorded.seconds() - 1.2, 0) - 0.5) < 0.03);
    }
};

NIMBARA_TEST(DeviceRecordingTest)
#include "device_recording_test.moc"
