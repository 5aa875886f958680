#include "media/audio_capture.h"
#include "media/devices.h"
#include "media/media_factory.h"
#include "poll.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"
#include "support/virtual_device.h"

#include <QTest>

#include <optional>

namespace nimbara::testing {

namespace {

constexpr FrameSize size { 320, 180 };

const CaptureDevice *named(const std::vector<CaptureDevice> &devices, const char *name)
{
    const auto found = std::find_if(devices.begin(),
        devices.end(),
        [&](const CaptureDevice &device) { return device.name == QLatin1String(name); });
    return found == devices.end() ? nullptr : &*found;
}

VirtualDevice choirCamera()
{
    return VirtualDevice::camera(QStringLiteral("cam-choir"),
        QStringLiteral("Choir"),
        QStringLiteral("red"));
}

VirtualDevice choirMicrophone()
{
    return VirtualDevice::microphone(QStringLiteral("mic-choir"),
        QStringLiteral("Choir-microphone"));
}

bool isRed(const Media &media)
{
    const auto pixel = pixelAt(*media.frame(), 0.5, 0.5);
    return pixel[0] > 200 && pixel[1] < 60 && pixel[2] < 60;
}

} // namespace

/// Cameras and microphones of a real media service; runs in pipewire_session.sh. Each case plugs
/// its own devices, beside a camera and a microphone that are there all the time and must never be
/// taken for the others.
class PipewireTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void listsDevicesByName();
    void losesACameraAndFindsItAgain();
    void losesAMicrophoneAndFindsItAgain();
    void keepsOffAnotherCamera();

private:
    /// Searches until the lists are as wanted.
    template <typename Wanted> bool searchUntil(Wanted wanted)
    {
        return QTest::qWaitFor(
            [&] {
                if (!m_discovery.running()) {
                    m_discovery.start();
                }
                auto lists = m_discovery.poll();
                if (!lists) {
                    return false;
                }
                m_lists = std::move(*lists);
                return wanted();
            },
            30'000);
    }

    MediaPtr openRed(const CaptureDevice &device)
    {
        MediaPtr media = m_factory.camera(size, device.device.get());
        const bool red = pollUntil(*media, [&] { return media->frame() && isRed(*media); });
        return red ? media : nullptr;
    }

    ManualClock m_clock;
    std::shared_ptr<Retirement> m_retirement = std::make_shared<Retirement>();
    MediaFactory m_factory { m_clock, m_retirement };
    DeviceDiscovery m_discovery;
    DeviceLists m_lists;
    VirtualDevice m_pulpitCamera = VirtualDevice::camera(QStringLiteral("cam-pulpit"),
        QStringLiteral("Pulpit"),
        QStringLiteral("blue"));
    VirtualDevice m_pulpitMicrophone = VirtualDevice::microphone(QStringLiteral("mic-pulpit"),
        QStringLiteral("Pulpit-microphone"));
};

/// The devices of the case before are gone.
void PipewireTest::init()
{
    QVERIFY(searchUntil([&] { return m_lists.video.size() == 1 && m_lists.audio.size() == 1; }));
}

void PipewireTest::listsDevicesByName()
{
    const VirtualDevice camera = choirCamera();
    const VirtualDevice microphone = choirMicrophone();
    QVERIFY(searchUntil([&] {
        return named(m_lists.video, "Choir") && named(m_lists.video, "Pulpit")
            && named(m_lists.audio, "Choir-microphone")
            && named(m_lists.audio, "Pulpit-microphone");
    }));
    QCOMPARE(m_lists.video.size(), 2U);
    QCOMPARE(m_lists.audio.size(), 2U);
    // Of two searches asked for at once, the second gives the result.
    m_discovery.start();
    m_discovery.start();
    QVERIFY(searchUntil([&] { return m_lists.video.size() == 2; }));
    QVERIFY(!m_discovery.running());
}

void PipewireTest::losesACameraAndFindsItAgain()
{
    VirtualDevice camera = choirCamera();
    QVERIFY(searchUntil([&] { return named(m_lists.video, "Choir") != nullptr; }));
    const CaptureDevice chosen = *named(m_lists.video, "Choir");
    const MediaPtr media = openRed(chosen);
    QVERIFY(media);
    QVERIFY(
        media->label().contains(QStringLiteral("fuente=pipewiresrc (dispositivo) nombre=Choir")));

    camera.unplug();
    // Pictures under way may still arrive; then the clock runs on without any.
    QVERIFY(pollUntil(*media, [&] {
        m_clock.advanceUs(100'000);
        return !media->active();
    }));
    const QString message = media->takeMessage();
    QVERIFY2(message == QStringLiteral("Cámara sin cuadros; se vuelve a abrir")
            || message.startsWith(QStringLiteral("Fuente sin señal: ")),
        qPrintable(message));
    QVERIFY(!media->frame());
    QVERIFY(searchUntil([&] { return m_lists.video.size() == 1; }));
    QVERIFY(findAgain(m_lists.video, chosen) == nullptr);

    const VirtualDevice back = choirCamera();
    QVERIFY(searchUntil([&] { return findAgain(m_lists.video, chosen) != nullptr; }));
    const CaptureDevice again = *findAgain(m_lists.video, chosen);
    QVERIFY(again.place != chosen.place);
    QVERIFY(openRed(again));
}

void PipewireTest::losesAMicrophoneAndFindsItAgain()
{
    VirtualDevice microphone = choirMicrophone();
    QVERIFY(searchUntil([&] { return named(m_lists.audio, "Choir-microphone") != nullptr; }));
    const CaptureDevice chosen = *named(m_lists.audio, "Choir-microphone");
    auto capture = std::make_unique<AudioCapture>(m_clock, chosen.device.get());
    std::size_t values = 0;
    capture->listener = [&](const AudioBlock &block) { values += block.samples.size(); };
    QVERIFY(QTest::qWaitFor(
        [&] {
            capture->pull({});
            return values > 4'800 && capture->inputLevels().peak[0] > 0.1;
        },
        30'000));

    microphone.unplug();
    QVERIFY(QTest::qWaitFor(
        [&] {
            m_clock.advanceUs(100'000);
            capture->pull({});
            return !capture->running();
        },
        30'000));
    QCOMPARE(capture->error(), QStringLiteral("Sin buffers de audio durante 5 segundos"));
    m_retirement->retire(std::move(capture));

    const VirtualDevice back = choirMicrophone();
    QVERIFY(searchUntil([&] {
        const CaptureDevice *found = findAgain(m_lists.audio, chosen);
        return found != nullptr && found->place != chosen.place;
    }));
}

/// A camera that goes away while another one is there: the service must not connect that one
/// instead.
void PipewireTest::keepsOffAnotherCamera()
{
    std::optional<VirtualDevice> camera = choirCamera();
    QVERIFY(searchUntil([&] { return named(m_lists.video, "Choir") != nullptr; }));
    const CaptureDevice chosen = *named(m_lists.video, "Choir");
    const MediaPtr media = openRed(chosen);
    QVERIFY(media);
    camera.reset();
    QVERIFY(searchUntil([&] { return m_lists.video.size() == 1; }));
    bool other = false;
    for (int turn = 0; turn < 60; ++turn) {
        media->pollSource();
        other = other || (media->frame() && !isRed(*media));
        QTest::qWait(10);
    }
    QVERIFY(!other);
}

} // namespace nimbara::testing

using nimbara::testing::PipewireTest;
NIMBARA_TEST(PipewireTest)

#include "pipewire_test.moc"
