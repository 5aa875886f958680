#include "output/device_sound.h"
#include "output/mix/program_audio.h"
#include "support/test_registry.h"

using namespace nimbara;
using namespace nimbara::testing;

class ProgramAudioTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void mixes()
    {
        for (const auto &[name, sound, voice, levels, mixed] :
            { std::tuple { "sum", 0.5F, 0.25F, MixLevels { 100, 100 }, 0.75F },
                { "levels", 0.5F, 0.5F, { 50, 10 }, 0.3F },
                { "voice alone", 0.5F, 0.25F, { 0, 100 }, 0.25F },
                { "no voice", 0.5F, 0.25F, { 100, 0 }, 0.5F },
                { "too loud", 0.8F, 0.8F, { 100, 100 }, 1.0F },
                { "too low", -0.8F, -0.8F, { 100, 100 }, -1.0F } }) {
            const RowName named(name);
            const std::vector<float> sounds(programBlockValues, sound);
            const std::vector<float> voices(100, voice); // then the voice is over
            const ProgramBlock block = mixProgramBlock(sounds, voices, levels);
            QCOMPARE(block.front(), mixed);
            QCOMPARE(block[99], mixed);
            const ProgramBlock alone = mixProgramBlock(sounds, {}, { levels.source, 0 });
            QVERIFY(std::equal(block.begin() + 100, block.end(), alone.begin() + 100));
        }
    }

    void drainsBothQueuesOnce()
    {
        ProgramAudio audio;
        AudioFifo voice(10 * AudioFifo::defaultLimit);
        const GainState gain;
        const MixLevels levels;
        QCOMPARE(audio.next({}, gain, voice, levels), ProgramBlock {}); // no source, no voice

        AudioFifo input;
        const std::vector<float> half(programBlockValues + 10, 0.5F);
        input.push(half);
        voice.push(half);
        const ProgramBlock block = audio.next({ &input }, gain, voice, levels);
        QCOMPARE(input.size(), 10U);
        QCOMPARE(voice.size(), 10U);
        QCOMPARE(block.back(), 1.0F);
    }

    /// Gain, mute and levels may jump at any time: the sound goes over, and is the new one at the
    /// end of the block.
    void fadesItsSteps()
    {
        ProgramAudio audio;
        AudioFifo media;
        AudioFifo voice;
        float last = 0;
        const auto next = [&](const GainState &gain, const MixLevels &levels) {
            media.push(std::vector<float>(programBlockValues, 0.8F));
            const ProgramBlock block = audio.next({ nullptr, &media }, gain, voice, levels);
            for (std::size_t i = 0; i < block.size(); i += 2) {
                const float step = std::abs(block[i] - std::exchange(last, block[i]));
                if (step > 0.01F) {
                    return -1.0F;
                }
            }
            return last;
        };
        QCOMPARE(next({}, {}), 0.8F);
        QCOMPARE(next({ false, 0.0 }, {}), 0.0F);
        QCOMPARE(next({ false, 2.0 }, {}), 1.0F);
        QCOMPARE(next({ true, 2.0 }, {}), 0.0F);
        QCOMPARE(next({ false, 2.0 }, { 50, 100 }), 0.5F); // clamped before the level
    }

    /// A clip ends in the middle of a block: behind its last value the input of that moment is
    /// heard.
    void givesTheInputBack()
    {
        constexpr int block = 1600;
        constexpr int end = 4 * block + 700;
        const testing::DeviceSound device;
        ProgramAudio audio;
        AudioFifo input;
        AudioFifo media;
        AudioFifo voice;
        float last = 0;
        for (int frame = 0; frame < 7 * block; ++frame) {
            static ProgramBlock sound;
            if (frame % block == 0) {
                input.push(device.block(frame, block).samples);
                const int rest = std::clamp(end - frame, 0, block);
                media.push(std::vector<float>(std::size_t { audioChannels } * rest, 0.25F));
                sound = audio.next({ &input, &media, true }, {}, voice, {});
            }
            const float *values = &sound.at(2 * (frame % block));
            QVERIFY(std::abs(values[0] - std::exchange(last, values[0])) < 0.05F);
            if (frame < end && frame >= 480) {
                QCOMPARE(values[1], 0.25F);
            } else if (frame >= end + 480) {
                QCOMPARE(testing::DeviceSound::age(values[1], frame), 0);
            }
        }
    }

    /// Neither its beginning nor its end costs the rest a value, and no level but its own counts.
    void aClipIsHeardOverTheRest()
    {
        constexpr MixLevels quiet { 50, 100 };
        ProgramAudio audio;
        AudioFifo input;
        AudioFifo clip;
        AudioFifo voice;
        const auto next = [&](AudioFifo *over, const GainState &gain) {
            input.push(std::vector<float>(programBlockValues, 0.5F));
            clip.push(std::vector<float>(programBlockValues, 0.6F));
            return audio.next({ &input, nullptr, false, over }, gain, voice, quiet);
        };
        const auto all = [](const ProgramBlock &block, float value) {
            return std::all_of(block.begin(), block.end(), [value](float each) {
                return std::abs(each - value) < 1e-6F;
            });
        };
        next(nullptr, {});
        QVERIFY(all(next(nullptr, {}), 0.25F));
        const ProgramBlock begins = next(&clip, {});
        QVERIFY(std::abs(begins[0] - 0.25F) < 0.01F); // no click
        QCOMPARE(begins.back(), 0.85F);
        QVERIFY(all(next(&clip, { false, 2.0 }), 0.85F)); // the gain is in the input already
        QCOMPARE(next(&clip, { true, 1.0 }).back(), 0.25F); // muted
        QCOMPARE(next(&clip, {}).back(), 0.85F);
        const ProgramBlock ends = next(nullptr, {}); // in the middle of its sound
        QVERIFY(std::abs(ends[0] - 0.85F) < 0.01F);
        QCOMPARE(ends.back(), 0.25F);
        QVERIFY(all(next(nullptr, {}), 0.25F));
        QVERIFY(input.empty());
    }
};

NIMBARA_TEST(ProgramAudioTest)
#include "program_audio_test.moc"
