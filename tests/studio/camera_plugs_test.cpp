#include "studio/studio_fixture.h"
#include "support/test_registry.h"
#include "support/virtual_device.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <array>
#include <optional>
#include <random>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr int lives = 8; ///< that a picture can tell apart, as the next two (counting_camera.py)
constexpr int lowNumbers = 16;
constexpr int stallMs = 15'000; ///< the media service hands a camera over sooner, or never

const std::array ports { u"usb-1"_s, u"usb-2"_s };
const std::array colours { u"red"_s, u"blue"_s };

int fromEnvironment(const char *name, int usual)
{
    return qEnvironmentVariableIsSet(name) ? qEnvironmentVariableIntValue(name) : usual;
}

/// What a camera's picture tells.
struct Seen {
    std::size_t camera;
    int life; ///< of `lives`
    /// Of 128, which come round in four seconds. A first picture may have waited longer than that
    /// in the media service, so a lower number behind it is no older picture.
    int number;
};

int digit(int level, int least)
{
    return (level - least + 6) / 12;
}

/// None when there is no camera there.
std::optional<Seen> seenAt(const QPoint &place, const QImage &picture)
{
    const QColor colour = picture.pixelColor(place);
    const auto [less, more] = std::minmax({ colour.red(), colour.blue() });
    if (more < 140 || more - less < 40) {
        return std::nullopt;
    }
    return Seen { colour.red() > colour.blue() ? 0U : 1U,
        digit(more, 150),
        digit(colour.green(), 20) + lowNumbers * digit(less, 20) };
}

/// One of two cameras alike but for their port, and what the program shows of it.
struct Twin {
    std::optional<VirtualDevice> device;
    int life = 0; ///< of its device now, or of the last one
    Layer layer = newLayer(LayerKind::Camera);
    QRect box; ///< on the program
    int shownLife = 0; ///< of its last picture
    int shown = 0; ///< number of its last picture
    bool isShown = false; ///< now
    int pictures = 0; ///< different ones
    int recorded = -1; ///< number of its last picture in the recording
    int recordings = 0; ///< different ones in there

    /// Where the program shows it, beside its name when it is away.
    [[nodiscard]] QPoint place() const { return box.topLeft() + QPoint(40, 40); }
    /// The last one that looks so.
    [[nodiscard]] int lifeOf(const Seen &seen) const
    {
        return life - ((life - seen.life) % lives + lives) % lives;
    }
};

constexpr int reduction = 20; ///< of recorded pictures, which are plain

/// What a player makes of the file.
std::vector<QImage> recordedPictures(const QString &path)
{
    constexpr int width = 1920 / reduction;
    constexpr int height = 1080 / reduction;
    QProcess player;
    player.start(u"ffmpeg"_s,
        { u"-v"_s,
            u"error"_s,
            u"-i"_s,
            path,
            u"-vsync"_s,
            u"passthrough"_s,
            u"-vf"_s,
            u"scale=%1:%2:flags=area,format=rgb24"_s.arg(width).arg(height),
            u"-f"_s,
            u"rawvideo"_s,
            u"-"_s });
    player.waitForFinished(-1);
    const QByteArray bytes = player.readAllStandardOutput();
    std::vector<QImage> pictures;
    for (qsizetype at = 0; at + width * height * 3 <= bytes.size(); at += width * height * 3) {
        const auto *pixels = reinterpret_cast<const uchar *>(bytes.constData() + at); // NOLINT
        pictures.push_back(QImage(pixels, width, height, width * 3, QImage::Format_RGB888).copy());
    }
    return pictures;
}

/// A studio in real time with both in one scene on air.
struct Desk : DeviceFixture {
    std::array<Twin, 2> twins;
    QStringList faults;

    Desk() { setLayers({}); }
    void plug(std::size_t which)
    {
        Twin &twin = twins.at(which);
        twin.device
            = VirtualDevice::countingCamera(ports.at(which), colours.at(which), ++twin.life);
    }
    void toggle(std::size_t which)
    {
        Twin &twin = twins.at(which);
        if (twin.device) {
            twin.device.reset();
        } else {
            plug(which);
        }
    }
    template <typename Condition> bool runs(Condition condition, int ms)
    {
        QElapsedTimer passed;
        passed.start();
        return QTest::qWaitFor(
            [&] {
                frame(std::max<qint64>(passed.restart(), 1) * 1000);
                look();
                return condition();
            },
            ms);
    }
    /// Each in its own quarter.
    bool takeBoth()
    {
        qint64 asked = 0;
        const auto areListed = [&] {
            if (asked++ % 50 == 0) {
                studio.devices().refreshDevices();
            }
            return devices.video.size() == twins.size();
        };
        if (!runs(areListed, 60'000)) {
            return false;
        }
        for (const CaptureDevice &device : devices.video) {
            const std::size_t which = device.marks.path.endsWith(ports[0]) ? 0U : 1U;
            Layer &layer = twins.at(which).layer;
            layer.uri = identityText(device.marks);
            layer.x = layer.y = static_cast<double>(which) / 2;
            layer.w = layer.h = 0.5;
            const QPoint corner(static_cast<int>(which) * 960, static_cast<int>(which) * 540);
            twins.at(which).box = QRect(corner, QSize(960, 540));
        }
        take({ twins[0].layer, twins[1].layer });
        return twins[0].layer.uri != twins[1].layer.uri;
    }
    /// The media service's own sink stalls at times when it is first read: the camera is then
    /// plugged in anew.
    bool settles(std::size_t which)
    {
        for (int tries = 0; tries < 4; ++tries) {
            if (runs([&] { return isSettled(which); }, stallMs)) {
                return true;
            }
            twins.at(which).device.reset();
            plug(which);
        }
        return false;
    }
    /// As the last event left it.
    bool isSettled(std::size_t which)
    {
        const Twin &twin = twins.at(which);
        return twin.isShown == twin.device.has_value()
            && (!twin.device || twin.shownLife == twin.life);
    }

    /// What was recorded of both, held against the same.
    void readBack(const QString &recording)
    {
        for (const QImage &picture : recordedPictures(recording)) {
            for (std::size_t which = 0; which < twins.size(); ++which) {
                Twin &twin = twins.at(which);
                const std::optional<Seen> seen = seenAt(twin.place() / reduction, picture);
                if (seen && seen->camera != which) {
                    faults << u"%1 was recorded with the other camera"_s.arg(ports.at(which));
                }
                twin.recordings += seen && seen->number != twin.recorded ? 1 : 0;
                twin.recorded = seen ? seen->number : -1;
            }
        }
    }

private:
    void look()
    {
        for (std::size_t which = 0; which < twins.size() && !twins.at(which).box.isEmpty();
             ++which) {
            lookAt(which);
        }
    }
    void lookAt(std::size_t which)
    {
        Twin &twin = twins.at(which);
        const std::optional<Seen> seen = seenAt(twin.place(), pictures.streams);
        twin.isShown = seen.has_value();
        if (!seen) {
            return;
        }
        const int life = twin.lifeOf(*seen);
        if (seen->camera != which) {
            faults << u"%1 shows the other camera"_s.arg(ports.at(which));
        } else if (life < twin.shownLife) {
            faults << u"%1: a picture of life %2 after one of %3"_s.arg(ports.at(which))
                          .arg(life)
                          .arg(twin.shownLife);
        }
        twin.pictures += life != twin.shownLife || seen->number != twin.shown ? 1 : 0;
        twin.shownLife = life;
        twin.shown = seen->number;
    }
};

} // namespace

/// NIMBARA_PLUG_EVENTS: how many in all, NIMBARA_PLUG_SEED: of the first twenty.
class CameraPlugsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void noneShowsInThePlaceOfItsTwin_data()
    {
        constexpr int most = 20; // at a time, which a slow machine manages in two minutes
        QTest::addColumn<int>("seed");
        QTest::addColumn<int>("events");
        int seed = fromEnvironment("NIMBARA_PLUG_SEED", 5);
        for (int left = fromEnvironment("NIMBARA_PLUG_EVENTS", 12); left > 0; left -= most) {
            QTest::addRow("seed %d", seed) << seed << std::min(left, most);
            ++seed;
        }
    }
    /// Whatever is pulled and plugged in, also in the middle of an opening: in the place of a
    /// camera no picture of its twin, nor one of its own from before; nor its twin's in a
    /// recording.
    void noneShowsInThePlaceOfItsTwin()
    {
        QFETCH(int, seed);
        QFETCH(int, events);
        Desk desk;
        for (const std::size_t which : { 0U, 1U }) {
            desk.plug(which);
        }
        QVERIFY(desk.takeBoth());
        QVERIFY(desk.settles(0) && desk.settles(1));
        const QTemporaryDir folder;
        const QString recording = folder.filePath(u"twins.mkv"_s);
        desk.studio.recordings().start(recording);
        std::mt19937 random(static_cast<std::uint32_t>(seed));
        int unsettled = 0;
        for (int event = 0; event < events; ++event) {
            const RowName row(QByteArray::number(event));
            const std::size_t which = random() % 2;
            const bool isPatient = random() % 2 == 0;
            const int waitMs = 100 + static_cast<int>(random() % 900);
            desk.toggle(which);
            if (isPatient) {
                unsettled += desk.runs([&] { return desk.isSettled(which); }, stallMs) ? 0 : 1;
            } else {
                static_cast<void>(desk.runs([] { return false; }, waitMs));
            }
            QCOMPARE(desk.faults.join(u'|'), QString());
        }
        for (const std::size_t which : { 0U, 1U }) { // both anew
            desk.twins.at(which).device.reset();
            QVERIFY(desk.runs([&] { return desk.isSettled(which); }, 60'000));
            desk.plug(which);
        }
        QVERIFY(desk.settles(0) && desk.settles(1));
        desk.studio.recordings().finish();
        const auto isRecorded = [&] { return !desk.studio.outputs().recording().exists(); };
        QVERIFY(desk.runs(isRecorded, 60'000));
        desk.readBack(recording);
        QCOMPARE(desk.faults.join(u'|'), QString());
        for (const Twin &twin : desk.twins) {
            qInfo("%d events: %d different pictures, %d in the recording; %d waits in vain",
                events,
                twin.pictures,
                twin.recordings,
                unsettled);
            QVERIFY(twin.recordings > twin.life); // a slow machine leaves many pictures out
        }
    }
};

NIMBARA_TEST(CameraPlugsTest)
#include "camera_plugs_test.moc"
