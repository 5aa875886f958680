#include "studio/sources/layer_cameras.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"
#include "support/virtual_device.h"

#include <random>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

const QStringList names { u"Altar"_s, u"Coro"_s };

VirtualDevice camera(qsizetype which)
{
    return VirtualDevice::camera(names[which], names[which], which == 0 ? u"red"_s : u"blue"_s);
}

/// As a layer names it.
QString textOf(qsizetype which)
{
    DeviceIdentity identity;
    identity.name = names[which];
    identity.node = u"node.name="_s + names[which];
    return identityText(identity);
}

/// Two cameras that layers name, and a principal one that may have a device.
struct Cameras {
    ManualClock clock;
    MediaFactory factory { clock, std::make_shared<Retirement>() };
    std::optional<CaptureDevice> principal;
    QStringList told;
    SteadyCameras steady;
    CameraModes modes;
    CameraOpenings openings { clock,
        factory,
        [] {
            return FrameSize { 640, 480 };
        },
        steady,
        modes,
        [](const Message &) {} };
    LayerCameras cameras { clock,
        openings,
        [this](const CaptureDevice &device) { return principal && isSame(*principal, device); },
        [this](const Message &text) { told << text.spanish(); } };
    std::vector<QString> named { textOf(0), textOf(1) };

    template <typename Condition> bool pollUntil(Condition condition)
    {
        return QTest::qWaitFor(
            [&] {
                clock.advanceUs(10'000);
                cameras.poll(named);
                return condition();
            },
            60'000);
    }
    /// Its own picture comes in, and never another.
    bool shows(qsizetype which)
    {
        const MediaPtr media = cameras.find(textOf(which));
        const FramePtr frame = media ? media->frame() : nullptr;
        if (!frame) {
            return false;
        }
        const QColor colour = imageView(*frame).pixelColor(frame->width / 2, frame->height / 2);
        m_confused = m_confused || (colour.red() > colour.blue()) != (which == 0);
        return true;
    }
    [[nodiscard]] bool confused() const { return m_confused; }

private:
    bool m_confused = false;
};

/// Once the system lists so many cameras of that name.
std::vector<CaptureDevice> listed(const QString &name, std::size_t count)
{
    DeviceDiscovery search;
    std::vector<CaptureDevice> found;
    const auto areThere = [&] {
        if (!search.running()) {
            search.start();
        }
        if (auto present = search.poll()) {
            found = std::move(present->video);
            std::erase_if(found, [&](const CaptureDevice &each) { return each.name != name; });
        }
        return found.size() == count;
    };
    static_cast<void>(QTest::qWaitFor(areThere, 60'000));
    return found;
}

} // namespace

class LayerCamerasTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// What is plugged in and out in any order never shows in the place of the other.
    void eachShowsItsOwn()
    {
        std::array<std::optional<VirtualDevice>, 2> devices { camera(0), camera(1) };
        Cameras desk;
        QVERIFY(desk.pollUntil([&] { return desk.shows(0) && desk.shows(1); }));
        std::mt19937 random(5);
        for (int event = 0; event < 4; ++event) {
            const auto which = static_cast<qsizetype>(random() % 2);
            const RowName row(QByteArray::number(event));
            auto &device = devices.at(static_cast<std::size_t>(which));
            if (device) {
                device.reset();
            } else {
                device = camera(which);
            }
            QVERIFY(desk.pollUntil([&] { return desk.shows(which) == device.has_value(); }));
            QVERIFY(!desk.confused());
        }
    }

    void isOpenWhileItIsNamed()
    {
        const VirtualDevice altar = camera(0);
        Cameras desk;
        QVERIFY(desk.pollUntil([&] { return desk.shows(0); }));
        QVERIFY(desk.cameras.slate(textOf(1)) && !desk.cameras.find(textOf(1))); // away
        DeviceIdentity other = identityFrom(textOf(0));
        other.vendor = u"x"_s; // as another layer remembers it
        desk.named.push_back(identityText(other));
        QVERIFY(desk.pollUntil([&] { return desk.cameras.find(desk.named.back()) != nullptr; }));
        QCOMPARE(desk.cameras.find(desk.named.back()), desk.cameras.find(textOf(0)));
        const std::weak_ptr<Media> open = desk.cameras.find(textOf(0));
        desk.named = { desk.named.back() }; // the layer that opened it goes
        desk.cameras.poll(desk.named);
        QCOMPARE(desk.cameras.find(desk.named.back()), open.lock());
        QVERIFY(open.lock());
        desk.named.clear();
        QVERIFY(desk.pollUntil([&] { return open.expired(); }));
    }

    /// The open camera goes from hand to hand.
    void thePrincipalCameraTakesItAndGivesItBack()
    {
        const VirtualDevice altar = camera(0);
        Cameras desk;
        QVERIFY(desk.pollUntil([&] { return desk.shows(0); }));
        desk.principal = *desk.cameras.device(textOf(0));
        const MediaPtr handed = desk.cameras.handOver(*desk.principal, std::nullopt);
        QVERIFY(handed && handed->active());
        const std::int64_t later = desk.clock.monotonicUs() + 2 * LayerCameras::spacingUs;
        QVERIFY(desk.pollUntil([&] { return desk.clock.monotonicUs() > later; }));
        QVERIFY(!desk.cameras.find(textOf(0))); // nor opened a second time
        const CaptureDevice device = *std::exchange(desk.principal, std::nullopt);
        QVERIFY(desk.cameras.takeOver(device, std::nullopt, handed));
        QCOMPARE(desk.cameras.find(textOf(0)), handed);
        QVERIFY(desk.pollUntil([&] { return desk.shows(0); }));
        const auto leaving = desk.cameras.release(*desk.cameras.device(textOf(0)));
        QVERIFY(!desk.cameras.find(textOf(0)) && !areGone(leaving)); // held here
    }

    /// The operator's choice is asked for when it is applied, once, and shared in that mode alone.
    void isOpenInTheModeThatWasChosen()
    {
        const VirtualDevice altar = camera(0);
        Cameras desk;
        desk.named.pop_back();
        QVERIFY(desk.pollUntil([&] { return desk.shows(0); }));
        const CaptureDevice device = *desk.cameras.device(textOf(0));
        const DeviceMode mode = device.modes.at(0);
        desk.modes.choose(device, mode);
        std::vector<OpenCamera> open;
        desk.cameras.addOpen(open);
        QVERIFY(open.size() == 1 && open[0].media == desk.cameras.find(textOf(0)).get());
        QVERIFY(!desk.cameras.handOver(device, mode));
        desk.cameras.applyModes();
        QVERIFY(!desk.cameras.find(textOf(0)));
        QVERIFY(desk.pollUntil([&] { return desk.shows(0); }));
        const MediaPtr anew = desk.cameras.find(textOf(0));
        QVERIFY(anew->wantedMode() == mode);
        desk.cameras.applyModes();
        QCOMPARE(desk.cameras.find(textOf(0)), anew);
        QVERIFY(!desk.cameras.handOver(device, std::nullopt));
        QCOMPARE(desk.cameras.handOver(device, mode), anew);
        QVERIFY(desk.cameras.takeOver(device, mode, anew));
        desk.cameras.applyModes();
        QCOMPARE(desk.cameras.find(textOf(0)), anew);
    }

    /// Of two alike the operator has to say which.
    void isAskedWhichOfTwo()
    {
        const VirtualDevice one = VirtualDevice::camera(u"uno"_s, u"Coro"_s, u"blue"_s);
        std::optional two { VirtualDevice::camera(u"dos"_s, u"Coro"_s, u"blue"_s) };
        const auto both = listed(u"Coro"_s, 2);
        QCOMPARE(both.size(), 2U);
        Cameras desk;
        QVERIFY(desk.pollUntil([&] { return !desk.told.isEmpty(); }));
        QCOMPARE(desk.told,
            QStringList {
                u"Hay varias cámaras como Coro: elige cuál en las propiedades de la capa."_s });
        QVERIFY(!desk.cameras.device(textOf(1)));

        // The principal camera is no other's, though it is the only one left.
        desk.principal = both[both[0].marks.node.contains(u"uno") ? 0 : 1];
        two.reset();
        QCOMPARE(listed(u"Coro"_s, 1).size(), 1U);
        const std::int64_t later = desk.clock.monotonicUs() + 3 * LayerCameras::spacingUs;
        QVERIFY(desk.pollUntil([&] { return desk.clock.monotonicUs() > later; }));
        QVERIFY(!desk.cameras.device(textOf(1)));
    }
};

NIMBARA_TEST(LayerCamerasTest)

#include "layer_cameras_test.moc"
