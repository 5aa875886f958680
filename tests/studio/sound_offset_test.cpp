#include "studio/sources/clap_meter.h"
#include "studio/studio_fixture.h"
#include "support/error_of.h"
#include "support/fake_device.h"
#include "support/test_registry.h"

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr std::int64_t periodUs = FrameSchedule::periodUs;

FramePtr grey(int brightness)
{
    auto frame = std::make_shared<Frame>(64, 48);
    std::fill(frame->pixels.begin(), frame->pixels.end(), static_cast<std::uint8_t>(brightness));
    return frame;
}

/// A camera that sees a flash of light every five seconds, over some noise, and a microphone that
/// hears a beep with it, earlier by so many frames of sound.
std::optional<int> measure(ClapMeter &meter, std::int64_t earlyFrames, bool isSeen)
{
    std::optional<int> early;
    QObject::connect(&meter, &ClapMeter::measured, &meter, [&](auto ms) { early = ms; });
    meter.begin();
    for (std::int64_t place = 0; meter.isUnderWay(); ++place) {
        const bool flashes = isSeen && place % 150 >= 90 && place % 150 < 94;
        ProgramBlock sound {};
        for (std::int64_t frame = 0; frame < 1600; ++frame) {
            const std::int64_t into = (place * 1600 + frame + earlyFrames) % 240'000 - 90 * 1600;
            const bool beeps = into >= 0 && into < 4800;
            sound.at(static_cast<std::size_t>(2 * frame))
                = beeps ? 0.5F : 0.004F * static_cast<float>(frame % 3);
        }
        meter.look(place * periodUs, grey(flashes ? 200 : 60 + static_cast<int>(place % 3)), sound);
    }
    return early;
}

} // namespace

class SoundOffsetTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void findsHowFarAClapLiesApart()
    {
        for (const int early : { 0, 7, 180, -120, 650, 1900, -480 }) {
            const RowName row(QByteArray::number(early));
            ClapMeter meter;
            const std::optional<int> found = measure(meter, early * 48, true);
            QVERIFY(found && std::abs(*found - early) <= 3);
        }
        ClapMeter blind;
        QVERIFY(!measure(blind, 0, false));
    }

    void delaysTheSoundOfEachDevice()
    {
        SoundOffset offset;
        const auto heard = [&](float value, bool muted = false) {
            std::vector<float> values(960, value); // 10 ms
            offset.apply(values, muted);
            return std::pair(values.at(480), values.back()); // behind a fade, and the last
        };
        offset.use(u"console"_s);
        QCOMPARE(heard(1), std::pair(1.0F, 1.0F));
        offset.set(15);
        QCOMPARE(heard(2), std::pair(0.0F, 0.0F));
        QCOMPARE(heard(3), std::pair(2.0F, 2.0F));
        QCOMPARE(heard(4), std::pair(3.0F, 3.0F));
        offset.set(10);
        QCOMPARE(heard(5), std::pair(4.0F, 4.0F)); // the oldest is left out
        QCOMPARE(heard(6, true), std::pair(0.0F, 0.0F));
        QCOMPARE(heard(7), std::pair(0.0F, 0.0F)); // nothing of before
        QCOMPARE(heard(8), std::pair(7.0F, 7.0F));

        offset.use({});
        QCOMPARE(offset.ms(), 0);
        for (const int wrong : { -501, 2001 }) {
            QCOMPARE(errorOf([&] { return offset.set(wrong), 0; }),
                u"Desfase fuera de −500 a 2000 ms"_s);
        }
        offset.use(u"card"_s);
        offset.set(-300);
        QCOMPARE(offset.pictureDelayUs(), 300'000);
        QCOMPARE(heard(9), std::pair(9.0F, 9.0F));
        SoundOffset next;
        next.restore(offset.offsets());
        next.use(u"console"_s);
        QCOMPARE(next.ms(), 10);
        next.use(u"card"_s);
        QCOMPARE(next.ms(), -300);
    }

    /// Below 0 the cameras wait, and only as long as that input is in use.
    void camerasWaitForTheSound()
    {
        StudioFixture desk;
        const CaptureDevice camera = describeDevice(
            fakeDevice({ .opens = "videotestsrc is-live=true pattern=ball" }).get());
        desk.studio.sources().offerCamera(0, camera, {});
        QVERIFY(desk.pollUntil([&] { return desk.studio.sources().cameraDevice().has_value(); }));
        desk.studio.audio().setOffset(-400);
        const MediaPtr media = desk.studio.sources().camera();
        QVERIFY(desk.pollUntil([&] { return media->frameCount() > 1; }));
        const FramePtr shown = media->frame();
        const std::uint64_t seen = media->frameCount();
        QVERIFY(desk.pollUntil([&] { return media->frameCount() > seen + 3; }));
        QCOMPARE(media->frame(), shown);
        desk.clock.advanceUs(400'001);
        QVERIFY(media->frame() != shown);
        const FramePtr last = media->frame();
        desk.studio.audio().setCapture(nullptr); // the clock stands
        QVERIFY(desk.pollUntil([&] { return media->frame() != last; }));
    }
};

NIMBARA_TEST(SoundOffsetTest)
#include "sound_offset_test.moc"
