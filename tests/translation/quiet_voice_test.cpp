#include "support/test_registry.h"
#include "translation/pipeline/quiet_voice.h"
#include "translation/signal.h"

#include <random>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

/// So many seconds of noise at one level and, where `voice` is above 0, four syllables a second.
AudioBlock sound(int seconds, double noise, double voice)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<float> value(-1, 1);
    Stretches stretches;
    for (int syllable = 0; syllable < seconds * 4; ++syllable) {
        stretches.append({ { 150, noise + voice }, { 100, noise } });
    }
    AudioBlock block = signal(stretches);
    for (float &each : block.samples) {
        each *= value(random);
    }
    return block;
}

} // namespace

class QuietVoiceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// A microphone that gave no captions was told of to nobody.
    void isToldAndNothingElseIs()
    {
        constexpr double low = 0.005; // at its loudest below what counts as voice, −44 dBFS
        constexpr double room = 0.0005;
        const std::tuple<const char *, std::vector<AudioBlock>, bool> rows[] {
            { "a low voice", { sound(20, room, low) }, true },
            { "for less time", { sound(15, room, low), sound(20, room, 0) }, false },
            { "with pauses",
                { sound(10, room, low), sound(5, room, 0), sound(15, room, low) },
                true },
            { "a voice", { sound(25, room, 0.1) }, false },
            { "both in turn", { sound(15, room, low), sound(5, room, 0.1) }, false },
            { "the voice comes", { sound(25, room, low), sound(5, room, 0.1) }, false },
            { "a word of it", { sound(25, room, low), sound(1, room, 0.1) }, true },
            { "a pause", { sound(5, room, 0.1), sound(30, room, 0) }, false },
            { "a loud room", { sound(30, low, 0) }, false },
            { "silence", { sound(25, 0, 0) }, false },
            { "a switch", { sound(12, 0, 0), sound(20, low, 0) }, false },
            { "a crackle of the line", { sound(30, 0, 0.0005) }, false },
        };
        for (const auto &[name, parts, isQuiet] : rows) {
            const RowName named(name);
            QuietVoice heard;
            bool told = false;
            for (const AudioBlock &part : parts) {
                inPieces(part, 480, [&](const AudioBlock &block) {
                    told = heard.push(block) ? !told : told;
                });
            }
            QCOMPARE(heard.isQuiet(), isQuiet);
            QCOMPARE(told, isQuiet);
        }
    }
};

NIMBARA_TEST(QuietVoiceTest)
#include "quiet_voice_test.moc"
