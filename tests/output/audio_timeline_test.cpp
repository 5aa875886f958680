#include "output/device_sound.h"
#include "output/encode/audio_timeline.h"
#include "support/test_registry.h"

#include <QTest>

using namespace nimbara;
using namespace nimbara::testing;
using nimbara::testing::DeviceSound;

namespace {

constexpr std::uint64_t frameNs = 1'000'000'000 / audioRate + 1;

/// Takes the pieces of a time line as an encoder does: it counts frames.
class Encoder {
public:
    /// False when the piece does not start where the one before ended.
    bool take(const AudioTimeline::Piece &piece)
    {
        const std::uint64_t expected = frames * 1'000'000'000 / audioRate;
        const bool fits = piece.pts + frameNs > expected && piece.pts < expected + frameNs;
        for (std::size_t i = 0; i < piece.values.size(); i += 2) {
            steepest = std::max(steepest, std::abs(piece.values[i] - m_previous));
            m_previous = piece.values[i];
        }
        frames += piece.values.size() / audioChannels;
        return fits;
    }

    std::uint64_t frames = 0;
    float steepest = 0;

private:
    float m_previous = 0;
};

} // namespace

class AudioTimelineTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void staysWithTheScheduleForHours()
    {
        AudioTimeline line;
        Encoder encoder;
        const std::vector<float> silence(3200);
        for (std::uint64_t tick = 0; tick < 30ULL * 3600; ++tick) {
            QVERIFY(encoder.take(line.place(silence, tick * 33'333'000)));
        }
        QVERIFY(encoder.frames < 30ULL * 3600 * 1600); // some were left out
    }

    void fillsHolesWithoutClicks()
    {
        const std::vector<std::tuple<const char *, quint64>> rows {
            { "one frame slot", quint64 { 33'333'000 } },
            { "1 s", quint64 { 1'000'000'000 } },
            { "10 s", quint64 { 10'000'000'000 } },
            { "1 ms", quint64 { 1'000'000 } },
        };
        for (const auto &[name, holeNs] : rows) {
            const RowName named(name);
            const DeviceSound sound;
            AudioTimeline line;
            Encoder encoder;
            for (std::int64_t tick = 0; tick < 60; ++tick) {
                const std::uint64_t pts
                    = static_cast<std::uint64_t>(tick) * 33'333'000 + (tick >= 30 ? holeNs : 0);
                QVERIFY(encoder.take(line.place(sound.block(tick * 1600, 1600).samples, pts)));
            }
            QVERIFY(encoder.steepest <= sound.steepest() * 1.1F + 0.006F);
        }
    }

    void leavesALongHoleOpen()
    {
        AudioTimeline line;
        const std::vector<float> block(3200, 0.5F);
        line.place(block, 0);
        const std::uint64_t late = 40'000'000'000;
        const auto piece = line.place(block, late);
        QCOMPARE(piece.pts, late);
        QCOMPARE(piece.values.size(), block.size());
    }
};

NIMBARA_TEST(AudioTimelineTest)
#include "audio_timeline_test.moc"
