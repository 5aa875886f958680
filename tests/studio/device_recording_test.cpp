#include "output/probe.h"
#include "studio/device_desk.h"
#include "studio/studio_fixture.h"
#include "support/test_registry.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <utility>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

bool isBlue(const QColor &color)
{
    return color.blue() > 200 && color.green() < 60 && color.red() < 60;
}

QByteArray decoded(const QString &path, const char *options)
{
    QProcess process;
    process.start(QStringLiteral("ffmpeg"),
        QStringList { QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"), path }
            + QString::fromLatin1(options).split(u' '));
    return process.waitForFinished(120'000) ? process.readAllStandardOutput() : QByteArray();
}

/// One letter where the colour of the pictures changes: red, blue, black or another.
QString coloursOf(const QString &path)
{
    const QByteArray pixels = decoded(path,
        "-an -vsync passthrough -vf scale=1:1:flags=area,format=rgb24 -f rawvideo -");
    QString letters;
    for (qsizetype at = 0; at + 3 <= pixels.size(); at += 3) {
        const auto part
            = [&](qsizetype channel) { return static_cast<uchar>(pixels[at + channel]); };
        const QChar letter = u"krb?"[part(0) + part(1) + part(2) < 75 ? 0
                : part(0) > 140 && part(2) < 60                       ? 1
                : part(2) > 140 && part(0) < 60                       ? 2
                                                                      : 3];
        letters += letters.endsWith(letter) ? QString() : QString(letter);
    }
    return letters;
}

/// Ten milliseconds of sound.
struct Piece {
    float peak = 0;
    int crossings = 0; ///< of zero
};

std::vector<Piece> soundOf(const QString &path)
{
    const QByteArray bytes = decoded(path, "-vn -ac 1 -ar 48000 -f f32le -");
    std::vector<float> values(static_cast<std::size_t>(bytes.size()) / sizeof(float));
    std::memcpy(values.data(), bytes.constData(), values.size() * sizeof(float));
    std::vector<Piece> pieces(values.size() / 480);
    for (std::size_t i = 1; i < pieces.size() * 480; ++i) {
        Piece &piece = pieces[i / 480];
        piece.peak = std::max(piece.peak, std::abs(values[i]));
        piece.crossings += (values[i] < 0) != (values[i - 1] < 0) ? 1 : 0;
    }
    return pieces;
}

/// A steady tone as the microphones make it, one second long.
bool isTone(const std::vector<Piece> &pieces, std::size_t from, int hertz)
{
    int crossings = 0;
    return std::all_of(pieces.begin() + long(from),
               pieces.begin() + long(from) + 100,
               [&](const Piece &piece) {
                   crossings += piece.crossings;
                   return std::abs(piece.peak - 0.8F) < 0.04F;
               })
        && std::abs(crossings - 2 * hertz) < 8;
}

/// 30 pictures per second: at most one of a hundred is missing, and the others are 33 ms apart.
bool isEven(const std::vector<double> &times)
{
    const auto promised = std::lround((times.back() - times.front()) * 30) + 1;
    const auto missing = promised - static_cast<long>(times.size());
    long uneven = 0;
    for (std::size_t i = 1; i < times.size(); ++i) {
        uneven += std::abs(times[i] - times[i - 1] - 1.0 / 30) > 0.0014 ? 1 : 0;
    }
    qInfo("%ld of %ld pictures are missing, %ld steps uneven", missing, promised, uneven);
    return missing * 100 <= promised && uneven <= std::max(missing, 0L);
}

/// A studio in a service: it runs in real time.
struct Service : StudioOn<SystemClock> {
    DeviceReports devices { studio };
    QTimer timer;
    QTemporaryDir folder;
    std::int64_t startUs = 0; ///< of the recording

    Service()
    {
        timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer, &QTimer::timeout, &timer, [this] { studio.tick(); });
        timer.start(5);
        studio.program().take();
    }

    static bool until(const std::function<bool()> &condition)
    {
        return QTest::qWaitFor(condition, 60'000);
    }
    bool runFrames(int count)
    {
        return until([this, last = frames + count] { return frames >= last; });
    }
    [[nodiscard]] QColor onAir() const { return centre(pictures.streams); }
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
    bool record()
    {
        Recording &recording = studio.outputs().recording();
        recording.start(path(), landscapeSize);
        return until([&] {
            startUs = clock.monotonicUs();
            return recording.ready();
        });
    }
    [[nodiscard]] double recordedSeconds() const
    {
        return static_cast<double>(clock.monotonicUs() - startUs) / 1e6;
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
    void whatComesAndGoesIsRecorded()
    {
        auto altar = camera("Altar", "red", { 1280, 720 });
        const auto choir = camera("Coro", "blue", { 640, 480 });
        auto desk = microphone("Consola", 44100, 1, 440);
        const auto room = microphone("Ambiente", 48000, 2, 1000);
        Service service;
        const DeviceReports &devices = service.devices;
        QVERIFY(service.devices.find(2, 2, service.until));
        const DeviceChoice first = devices.choose("Altar", "Consola");
        QVERIFY(service.connectAll(first));
        QVERIFY(service.until([&] { return isRed(service.onAir()) && devices.before > 60; }));
        QVERIFY(service.record());
        QVERIFY(service.runFrames(60));

        service.statuses.clear();
        altar->unplug();
        QVERIFY(service.until([&] { return service.onAir() == QColor(Qt::black); }));
        QVERIFY(service.runFrames(120)); // the search has met the other camera by now
        altar = camera("Altar", "red", { 1280, 720 });
        QVERIFY(service.until([&] { return isRed(service.onAir()); }));
        QVERIFY(service.runFrames(45));

        const double lost = service.recordedSeconds();
        desk->unplug();
        QVERIFY(service.until([&] { return devices.before == 0 && devices.after == 0; }));
        QVERIFY(service.until([&] { return service.told("Audio detenido; video continúa. "); }));
        QVERIFY(service.runFrames(30));
        desk = microphone("Consola", 44100, 1, 440);
        QVERIFY(service.connectAll(first));
        QVERIFY(service.until([&] { return devices.before > 60; }));
        QVERIFY(service.runFrames(60));

        QVERIFY(service.connectAll(devices.choose("Coro", "Ambiente")));
        QVERIFY(service.until([&] { return isBlue(service.onAir()); }));
        QVERIFY(service.runFrames(75));
        QVERIFY(service.stop());

        QVERIFY(isEven(probe(service.path()).videoTimes)
            || !qEnvironmentVariableIsSet("NIMBARA_TIMING"));
        const QString colours = coloursOf(service.path()); // the camera may be changed over black
        QVERIFY2(colours == u"rkrb" || colours == u"rkrkb", qPrintable(colours));
        const std::vector<Piece> sound = soundOf(service.path());
        QVERIFY(isTone(sound, 50, 440));
        QVERIFY(isTone(sound, sound.size() - 150, 1000));
        const auto silence = sound.begin() + std::lround(lost * 100) - 50;
        QVERIFY(std::all_of(sound.begin() + 10, silence, [](auto &piece) {
            return piece.peak > 0.7F;
        }));
        QVERIFY(std::count_if(silence, sound.end(), [](auto &piece) { return piece.peak < 0.01F; })
            > 100);
    }
};

NIMBARA_TEST(DeviceRecordingTest)
#include "device_recording_test.moc"
