#include "base/error.h"
#include "media/sources/media_factory.h"
#include "studio/sources/camera_arrival.h"
#include "studio/sources/camera_opening.h"
#include "studio/sources/camera_openings.h"
#include "studio/studio_fixture.h"
#include "support/error_of.h"
#include "support/fake_device.h"
#include "support/no_threads.h"
#include "support/test_registry.h"

#include <QFile>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QThread>

#include <atomic>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

/// Of the sanitizers' allocators; null in a build without.
extern "C" __attribute__((weak)) int __sanitizer_install_malloc_and_free_hooks(
    void (*allocated)(const volatile void *, std::size_t),
    void (*released)(const volatile void *));

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;
using State = CameraOpening::State;

namespace {

DeviceMode mode(std::int32_t width)
{
    return { .format = u"YUY2"_s, .size = { width, 48 }, .rate = { 30, 1 } };
}

/// Whoever opens the pipe to read meets its end, until the thread is asked to stop.
void endEachReader(const std::stop_token &stop, const QString &pipe)
{
    while (!stop.stop_requested()) {
        const int writer = ::open(QFile::encodeName(pipe).constData(), O_WRONLY | O_NONBLOCK);
        if (writer >= 0) {
            ::close(writer);
        }
        QThread::msleep(2);
    }
}

/// What a camera was told, from whatever thread.
struct Told {
    std::mutex mutex;
    QStringList calls;

    QString all()
    {
        const std::lock_guard hold(mutex);
        return calls.join(u' ');
    }
};

thread_local int allocations = -1; ///< since it was set; negative: not counted

void countAllocation(const volatile void * /*memory*/, std::size_t /*size*/)
{
    allocations += allocations >= 0 ? 1 : 0;
}

void ignoreRelease(const volatile void * /*memory*/) { }

} // namespace

class CameraOpeningTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cleanup() { m_asked.clear(); }

    /// A bus that is too full lets a few pictures through and then none, time and again.
    void aModeThatKeepsStoppingIsTriedLast()
    {
        SteadyCameras steady;
        const CameraModes modes;
        CameraOpenings openings(
            m_clock,
            m_factory,
            [] {
                return FrameSize { 64, 48 };
            },
            steady,
            modes,
            [](const Message &) {});
        const CaptureDevice camera = describeDevice(
            fakeDevice({ .caps = "video/x-raw,format=YUY2,width=64,height=48,framerate=30/1;"
                                 "video/x-raw,format=YUY2,width=32,height=24,framerate=30/1" })
                .get());
        constexpr std::int64_t soon = 5'000'000;
        constexpr std::int64_t late = CameraOpenings::soonUs + 1;
        for (const auto &[lastedUs, width] : { std::pair { soon, 64 },
                 { late, 64 }, // not in a row
                 { soon, 64 },
                 { soon, 64 },
                 { soon, 32 } }) {
            const auto opening = openings.begin(camera, {}, {});
            QVERIFY(run(*opening, State::Delivers));
            QCOMPARE(opening->attempt().mode->size.width, width);
            m_clock.advanceUs(lastedUs);
            openings.noteHalt(camera, *opening->camera(), m_clock.monotonicUs() - lastedUs);
        }
        QVERIFY(openings.hasHalting(camera));
        openings.forgetHalts(camera);
        QVERIFY(run(*openings.begin(camera, {}, {}), State::Delivers));
        QVERIFY(!openings.hasHalting(camera));
    }

    /// The device refuses the first mode; the next is asked for when the first has let go of it.
    void theNextModeDelivers()
    {
        const std::pair<std::string, std::vector<std::int32_t>> rows[] {
            { "capsfilter caps=video/x-raw,width=64", { 640, 64 } }, // not even to be linked
            { "rawvideoparse width=64 height=48 format=yuy2 framerate=30/1", { 640, 640, 64 } },
        };
        for (const auto &[refusal, asked] : rows) {
            const RowName named(refusal.c_str());
            m_asked.clear();
            auto opening = open("videotestsrc is-live=true ! " + refusal, { mode(640), mode(64) });
            QVERIFY(run(*opening, State::Delivers));
            QCOMPARE(m_asked, asked);
            QVERIFY(opening->attempt().mode == mode(64) && opening->mayDoBetter());
            QVERIFY(opening->camera()->frame());
        }
    }

    /// Just plugged in, it breaks off once.
    void aPassingFailureCostsNoMode()
    {
        m_first = fakeDevice({ .opens = "videotestsrc is-live=true ! identity error-after=1" });
        auto opening = open("videotestsrc is-live=true", { mode(640), mode(64) });
        QVERIFY(run(*opening, State::Delivers));
        QCOMPARE(m_asked, (std::vector<std::int32_t> { 640, 640 }));
        QVERIFY(opening->attempt().mode == mode(640) && !opening->mayDoBetter());
    }

    void aSilentModeGivesWayAfterThreeSeconds()
    {
        auto opening = open("appsrc is-live=true", { mode(640), mode(320), mode(64) });
        for (const std::size_t attempts : { 1U, 2U }) {
            QTRY_VERIFY(opening->camera()
                && opening->camera()->startOutcome() == PipelineStart::Outcome::Accepted);
            for (const std::int64_t us : { 3'900'000, 3'000'000 }) { // its answer took time, too
                m_clock.advanceUs(us);
                QCOMPARE(opening->poll(), State::Underway);
                QCOMPARE(m_asked.size(), attempts);
                QVERIFY(opening->camera());
            }
            m_clock.advanceUs(1);
            QCOMPARE(opening->poll(), State::Underway);
            QVERIFY(!opening->camera());
            const auto isNext = [&] {
                static_cast<void>(opening->poll());
                return m_asked.size() > attempts;
            };
            QVERIFY(QTest::qWaitFor(isNext, 20'000));
        }
        QTRY_VERIFY(opening->camera()->startOutcome() == PipelineStart::Outcome::Accepted);
        QCOMPARE(opening->poll(), State::Underway);
        m_clock.advanceUs(4'000'001); // nothing comes after the last: it has the source's patience
        QVERIFY(run(*opening, State::Failed));
        QVERIFY(opening->starved());
        QCOMPARE(m_asked.size(), 3U);
    }

    /// A service that opens the camera and hands nothing over is left for the camera's own file,
    /// which it holds for a while; what may only have been slow gets another chance behind it.
    void aSilentServiceIsLeftAfterTwoSeconds()
    {
        const std::tuple<const char *, int, std::int64_t, DeviceRoad, int> rows[] {
            { "let go of at once", 0, 0, DeviceRoad::Video4Linux, 1 },
            { "held for a while", 3, 0, DeviceRoad::Video4Linux, 4 },
            { "held for good", 1000, CameraOpening::releaseUs, DeviceRoad::System, 2 },
        };
        for (const auto &[name, refusals, passedUs, road, asked] : rows) {
            const RowName named(name);
            const FakeVideo4Linux system(u"/dev/video7"_s, refusals);
            m_asked.clear();
            auto opening = open("appsrc is-live=true", { mode(640) }, DirectRoad::WhenSilent);
            QTRY_VERIFY(opening->camera()->startOutcome() == PipelineStart::Outcome::Accepted);
            for (const std::int64_t us : { 3'900'000, 2'000'000 }) { // its answer took time, too
                m_clock.advanceUs(us);
                QCOMPARE(opening->poll(), State::Underway);
                QVERIFY(opening->camera());
            }
            m_clock.advanceUs(1);
            QCOMPARE(opening->poll(), State::Underway);
            QVERIFY(!opening->camera());
            setOpened(m_device, "videotestsrc is-live=true");
            m_clock.advanceUs(passedUs);
            QVERIFY(run(*opening, State::Delivers));
            QCOMPARE(opening->attempt().road, road);
            QVERIFY(opening->attempt().mode == mode(640));
            QCOMPARE(FakeVideo4Linux::asked(), asked);
        }
    }

    /// It has said why: the other road leads to the same bus.
    void aServiceThatRefusesIsNotPassedBy()
    {
        const FakeVideo4Linux system(u"/dev/video7"_s);
        auto opening = open("videotestsrc is-live=true ! identity error-after=1",
            { mode(640), mode(64) },
            DirectRoad::WhenSilent);
        QVERIFY(run(*opening, State::Failed));
        QCOMPARE(FakeVideo4Linux::asked(), 0);
    }

    /// A device that is still being let go of is not opened, on whatever way it was given up.
    void waitsUntilTheDeviceIsFree()
    {
        using Way = void (*)(StudioFixture &);
        const std::tuple<const char *, Way> ways[] {
            { "bars",
                [](StudioFixture &desk) {
                    desk.studio.sources().setBars(desk.studio.sources().camera(), -1);
                } },
            { "withdrawn", [](StudioFixture &desk) { desk.studio.sources().withdrawCamera(); } },
            { "refused", [](StudioFixture &desk) { desk.frame(4'000'001); } },
            { "another",
                [](StudioFixture &desk) {
                    const DeviceRef other = fakeDevice({ .name = "Otra" });
                    desk.studio.sources().offerCamera(1, describeDevice(other.get()), {});
                    desk.studio.sources().withdrawCamera();
                } },
        };
        for (const auto &[name, giveUp] : ways) {
            const RowName row(name);
            const QTemporaryDir folder; // neither opens nor stops until the pipe is written to
            const QString pipe = folder.filePath(u"pipe"_s);
            QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
            const DeviceRef device = fakeDevice({ .opens = "filesrc location=" + pipe.toStdString()
                    + " ! rawvideoparse width=16 height=16 format=rgb" });
            std::jthread writer; // ends after the desk
            StudioFixture desk;
            const auto free = qScopeGuard([&] { writer = std::jthread(endEachReader, pipe); });
            Sources &sources = desk.studio.sources();
            sources.offerCamera(0, describeDevice(device.get()), {});
            giveUp(desk);
            QVERIFY(!sources.offeredDevice());
            setOpened(device, ""); // would be refused
            const auto offer = [&] { sources.offerCamera(0, describeDevice(device.get()), {}); };
            QCOMPARE(errorOf([&] { return offer(), 0; }), QString());
        }
    }

    /// A camera forgets it when it is unplugged, so it is told anew at each opening.
    void keepsTheRateInPoorLight()
    {
        const DeviceRef device
            = fakeDevice({ .name = "Altar", .properties = "p,api.v4l2.path=(string)/dev/video7" });
        const CaptureDevice camera = describeDevice(device.get());
        const auto told = std::make_shared<Told>();
        StudioFixture desk;
        Sources &sources = desk.studio.sources();
        sources.steadyCameras()
            = SteadyCameras([told](const QString &file, std::uint32_t, std::int32_t value) {
                  const std::lock_guard hold(told->mutex);
                  told->calls << u"%1=%2"_s.arg(file).arg(value);
                  return value != 0; // it cannot be held
              });
        sources.offerCamera(0, camera, {});
        sources.steadyCameras().choose(camera, true);
        QTRY_COMPARE(told->all(), u"/dev/video7=0"_s); // not before it was asked
        sources.offerCamera(0, camera, {});
        const auto twice = u"/dev/video7=0 /dev/video7=0"_s;
        QVERIFY(desk.pollUntil([&] { return told->all() == twice; }));
        sources.steadyCameras().choose(camera, false);
        QVERIFY(desk.pollUntil([&] { return desk.told("Altar no deja mantener el ritmo"); }));
        QVERIFY(desk.pollUntil([&] { return told->all() == twice + u" /dev/video7=1"_s; }));
        QVERIFY(!sources.steadyCameras().isSteady(camera));
        QVERIFY(!setCameraControl(u"/dev/null"_s, 0x009A0903, 0)); // no camera
    }

    void aCameraThatNoThreadCanTellIsToldLater()
    {
        std::atomic<int> calls { 0 };
        SteadyCameras cameras([&calls](const QString &, std::uint32_t, std::int32_t) {
            ++calls;
            return false;
        });
        CaptureDevice camera;
        camera.file = u"/dev/video7"_s;
        camera.name = u"Altar"_s;
        {
            const NoThreads none;
            cameras.choose(camera, true);
            for (int tick = 0; tick < 90; ++tick) {
                QVERIFY(cameras.takeRefused().isEmpty());
            }
        }
        QVERIFY(cameras.takeNoThread() && !cameras.takeNoThread());
        QString refused;
        QTRY_VERIFY(!refused.isEmpty() || !(refused = cameras.takeRefused()).isEmpty());
        QCOMPARE(refused, u"Altar"_s);
        QCOMPARE(calls, 1);
    }

    void tellsWhyTheLastModeFailed()
    {
        auto opening
            = open("videotestsrc is-live=true ! identity error-after=1", { mode(640), mode(64) });
        QVERIFY(run(*opening, State::Failed));
        QVERIFY(!opening->starved());
        QVERIFY(opening->reason().spanish().startsWith(u"Fuente sin señal: "_s));
        QCOMPARE(m_asked.size(), 4U); // each twice

        m_asked.clear();
        m_refuses = true; // it is gone by then
        opening = open("appsrc is-live=true", { mode(640), mode(64) });
        QTRY_COMPARE(opening->camera()->startOutcome(), PipelineStart::Outcome::Accepted);
        QCOMPARE(opening->poll(), State::Underway);
        m_clock.advanceUs(3'000'001);
        QVERIFY(run(*opening, State::Failed));
        QCOMPARE(opening->reason(), Message("Falta"));
        m_refuses = false;
    }

    /// Of 30 that are due; 24 are enough, and all seconds of the last five have to be short.
    void tellsAHiccupFromLackOfLight()
    {
        const std::tuple<std::vector<std::uint64_t>, double, bool> rows[] {
            { { 30, 30, 30, 30, 30, 30 }, 30, false },
            { { 30, 23, 23, 23, 23, 23 }, 23, true },
            { { 23, 23, 23, 23 }, 23, false }, // too short a time
            { { 23, 23, 24, 23, 23 }, 23.2, false },
            { { 0, 0, 30, 30, 30 }, 18, false },
            { { 15, 15, 15, 15, 15, 30 }, 18, false }, // light again
        };
        for (const auto &[seconds, rate, isShort] : rows) {
            const RowName named(QByteArray::number(rate));
            ArrivalRate arrival;
            std::uint64_t arrived = 7;
            std::int64_t nowUs = 1'000'000;
            arrival.look(arrived, nowUs);
            QVERIFY(!arrival.perSecond());
            for (const std::uint64_t each : seconds) {
                arrival.look(arrived += each, nowUs += ArrivalRate::spacingUs);
            }
            QCOMPARE(arrival.perSecond(), rate);
            QCOMPARE(arrival.isShortOf(30), isShort);
        }
    }

    /// Asked for, agreed, coming in; a hint once it has been too little for 5 s.
    void tellsWhatComesIn()
    {
        const DeviceRef device = fakeDevice({ .opens = "videotestsrc num-buffers=9 ! jpegenc" });
        const DeviceMode asked { PictureCoding::Jpeg, {}, { 64, 48 }, { 30, 1 } };
        const MediaPtr camera = m_factory.camera({ 64, 48 }, device.get(), asked);
        CameraArrival arrival;
        QCOMPARE(arrival.poll(nullptr, 0), Message());
        QCOMPARE(arrival.poll(camera.get(), 1)->spanish(), u"Pedido: 64 × 48 · 30 fps · MJPEG"_s);
        const auto ended = [&] { return camera->pollSource(), !camera->active(); };
        QVERIFY(QTest::qWaitFor(ended, 20'000));
        QCOMPARE(camera->arrivedCount(), 9U);

        const MediaPtr bars = m_factory.testBars({ 64, 48 });
        QCOMPARE(arrival.poll(bars.get(), 2), Message());
        std::vector<QString> told;
        for (std::int64_t second = 1; second < 9; ++second) {
            if (const auto text = arrival.poll(camera.get(), second * 1'000'000)) {
                told.push_back(text->spanish());
            }
        }
        const QString mode = u"64 × 48 · 30 fps · MJPEG"_s;
        const QString none
            = u"Pedido: %1. Acordado: %1. Llega: 64 × 48, 0.0 imágenes por segundo."_s;
        QCOMPARE(told,
            (std::vector { u"Pedido: "_s + mode,
                none.arg(mode),
                none.arg(mode) + u" Llegan menos de las acordadas: suele faltar luz."_s }));
    }

    /// The memory of one that went is the next one's: its count does not go on.
    void anotherCameraInTheSamePlaceCountsAnew()
    {
        std::optional<Media> camera;
        const auto run = [&](const char *opens) {
            const DeviceRef device = fakeDevice({ .opens = opens });
            camera.emplace(m_clock, SourceRequest { .size = { 64, 48 }, .device = device.get() });
            return QTest::qWaitFor([&] { return camera->pollSource(), !camera->active(); }, 20'000);
        };
        CameraArrival arrival;
        QVERIFY(run("videotestsrc num-buffers=9"));
        QCOMPARE(arrival.poll(&*camera, 1)->spanish(), u"Pedido: lo que ofrezca"_s);
        QVERIFY(run("videotestsrc num-buffers=1"));
        QVERIFY(!arrival.poll(&*camera, 1'000'001)); // no rate yet
    }

    /// Cameras are looked at once a second; the 200 runs of the clock between two looks make no
    /// list.
    void aRunWithoutALookAllocatesNothing()
    {
        if (__sanitizer_install_malloc_and_free_hooks == nullptr) {
            QSKIP("only sanitizers tell of allocations");
        }
        StudioFixture desk;
        desk.studio.devices().poll();
        QVERIFY(__sanitizer_install_malloc_and_free_hooks(&countAllocation, &ignoreRelease) != 0);
        allocations = 0;
        desk.studio.devices().poll();
        QCOMPARE(std::exchange(allocations, -1), 0);
    }

    /// The principal one first; another that comes or goes does not begin its count anew.
    void tellsWhatComesInFromEachCamera()
    {
        const CaptureDevice altar = describeDevice(fakeDevice({ .name = "Altar" }).get());
        const CaptureDevice coro = describeDevice(fakeDevice({ .name = "Coro" }).get());
        const DeviceRef device = fakeDevice({ .opens = "videotestsrc num-buffers=9" });
        const MediaPtr one = m_factory.camera({ 64, 48 }, device.get(), {});
        const MediaPtr other = m_factory.camera({ 64, 48 }, device.get(), {});
        const auto ended = [&] { return one->pollSource(), !one->active(); };
        QVERIFY(QTest::qWaitFor(ended, 20'000));
        CameraArrivals arrivals;
        const auto told = [&](const std::vector<OpenCamera> &cameras, std::int64_t second) {
            QStringList all;
            for (const ArrivalText &each :
                arrivals.poll(cameras, second * 1'000'000).value_or(std::vector<ArrivalText> {})) {
                const QString name = each.device ? each.device->name : u"-"_s;
                all << name + each.text.spanish().section(u':', 0, 0);
            }
            return all.join(u' ');
        };
        const OpenCamera bars;
        const std::vector<OpenCamera> both { { &altar, other.get() }, { &coro, one.get() } };
        QCOMPARE(told({ bars }, 0), u"-"_s);
        QCOMPARE(told({ bars }, 1), u""_s);
        QCOMPARE(told({ bars, { &coro, one.get() } }, 1), u"- CoroPedido"_s);
        QVERIFY(arrivals.poll({ bars, { &coro, one.get() } }, 2'000'000)); // its rate is known
        const auto now = arrivals.poll(both, 2'000'001);
        QVERIFY(now && now->at(1).text.spanish().contains(u"0.0 imágenes"_s));
        QCOMPARE(told({ both[0] }, 2), u"AltarPedido"_s);
    }

private:
    std::unique_ptr<CameraOpening> open(const std::string &opens,
        const std::vector<DeviceMode> &modes,
        DirectRoad direct = DirectRoad::None)
    {
        m_device
            = fakeDevice({ .properties = "p,api.v4l2.path=(string)/dev/video7", .opens = opens });
        return std::make_unique<CameraOpening>(
            m_clock,
            [this](const CameraAttempt &asked) {
                if (m_refuses && !m_asked.empty()) {
                    throw Error(Message("Falta"));
                }
                m_asked.push_back(asked.mode->size.width);
                const DeviceRef opened = m_first ? std::exchange(m_first, {}) : m_device;
                return m_factory.camera({ 64, 36 }, opened.get(), asked.mode, asked.road);
            },
            modes,
            DeviceHolders {},
            direct);
    }
    /// The clock runs between two attempts alone.
    bool run(CameraOpening &opening, State wanted)
    {
        State state {};
        const auto isOver = [&] {
            m_clock.advanceUs(opening.camera() ? 0 : 100'000);
            return (state = opening.poll()) != State::Underway;
        };
        return QTest::qWaitFor(isOver, 20'000) && state == wanted;
    }

    ManualClock m_clock;
    std::shared_ptr<Retirement> m_retirement = std::make_shared<Retirement>();
    MediaFactory m_factory { m_clock, m_retirement };
    std::vector<std::int32_t> m_asked;
    bool m_refuses = false;
    DeviceRef m_device; ///< of the last opening
    DeviceRef m_first; ///< what the first attempt opens instead, or none
};

NIMBARA_TEST(CameraOpeningTest)
#include "camera_opening_test.moc"
