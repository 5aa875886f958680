#include "support/test_registry.h"
#include "translation/pipeline/segmenter.h"
#include "translation/pipeline/wav.h"
#include "translation/signal.h"

#include <limits>
#include <random>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

using Lengths = QList<int>; // in samples of 16 kHz

Lengths lengths(const std::vector<PhraseSamples> &phrases)
{
    Lengths found;
    for (const PhraseSamples &phrase : phrases) {
        found.append(static_cast<int>(phrase.size()));
    }
    return found;
}

/// Words in one breath and the pause behind them; no two samples of 16 kHz are alike, both channels
/// are.
AudioBlock breath(std::mt19937 &random)
{
    const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
    Stretches stretches;
    for (int syllables = 3 + below(80); syllables > 0; --syllables) {
        stretches.append({ 80 + below(200), 0.02 + 0.004 * below(100) });
        stretches.append({ below(120), 0.003 });
    }
    stretches.append({ below(2) == 0 ? below(400) : 300 + below(4000), 0.001 * below(12) });
    AudioBlock block = signal(stretches);
    for (std::size_t i = 0; i < block.samples.size(); i += 2) {
        block.samples[i] *= 0.5F + static_cast<float>(below(1000)) / 1000;
        block.samples[i + 1] = block.samples[i];
    }
    return block;
}

/// What the segmenter hears, by plain arithmetic; both channels are alike.
PhraseSamples heardBy(const AudioBlock &block)
{
    PhraseSamples heard;
    for (auto at = block.samples.begin(); at != block.samples.end(); at += 6) {
        const double sum
            = static_cast<double>(at[0]) + static_cast<double>(at[2]) + static_cast<double>(at[4]);
        heard.push_back(static_cast<std::int16_t>(sum / 3 * 32767));
    }
    return heard;
}

/// Samples that count as voice.
std::ptrdiff_t voiced(std::span<const std::int16_t> samples)
{
    return std::count_if(samples.begin(), samples.end(), [](std::int16_t sample) {
        return sample / 32767.0 * sample / 32767.0 > 0.00004;
    });
}

} // namespace

class SegmenterTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cuts()
    {
        const double voice = 0.1;
        const Stretches latest { { 3000, voice },
            { 60, 0.01 },
            { 940, voice },
            { 60, 0.02 },
            { 940, voice } };
        const std::tuple<const char *, Stretches, Lengths> rows[] {
            { "silence", { { 10000, 0 } }, {} },
            { "hum below the threshold", { { 10000, 0.0063 } }, {} },
            { "two silent seconds", { { 2000, 0 }, { 1500, voice }, { 700, 0 } }, { 35200 } },
            { "a little less", { { 1999, 0 }, { 1200, voice }, { 700, 0 } }, { 3549 * 16 } },
            { "1.2 s and a pause of 700 ms", { { 1200, voice }, { 700, 0 } }, { 30400 } },
            { "of 699 ms", { { 1200, voice }, { 699, 0 }, { 1, voice } }, {} },
            { "a short phrase waits for 1.2 s", { { 400, voice }, { 1600, 0 } }, { 19200 } },
            { "3 s and a pause of 350 ms", { { 3200, voice }, { 350, 0 } }, { 56800 } },
            { "which may begin before 3 s", { { 2640, voice }, { 360, 0 } }, { 48000 } },
            { "5 s, at the quietest 60 ms",
                { { 4000, voice }, { 60, 0.01 }, { 1640, voice }, { 700, 0 } },
                { 64480, 37920 } },
            { "of the last 1.5 s", latest, { 64480 } },
            { "the earliest of equals", { { 5000, voice } }, { 56480 } },
            { "one sample in five is voice", { { 240, voice }, { 960, 0 } }, { 19200 } },
            { "less is no phrase, the next is",
                { { 239, voice }, { 961, 0 }, { 1200, voice }, { 700, 0 } },
                { 30400 } },
        };
        for (const auto &[name, stretches, expected] : rows) {
            const RowName named(name);
            QCOMPARE(lengths(Segmenter().push(signal(stretches))), expected);
        }
    }

    /// A word alone in a long silence was lost, and so was a short one.
    void flushKeepsWhatWasSaid()
    {
        const std::tuple<Stretches, int> rows[] {
            { { { 500, 0.1 } }, 8000 },
            { { { 59, 0.1 } }, 0 }, // no word
            { { { 150, 0.1 } }, 4800 }, // 300 ms are heard
            { { { 1800, 0 }, { 250, 0.1 }, { 300, 0 } }, 650 * 16 },
            { { { 1900, 0 } }, 0 },
        };
        for (const auto &[stretches, samples] : rows) {
            Segmenter segmenter;
            segmenter.push(signal(stretches));
            QCOMPARE(static_cast<int>(segmenter.flush().size()), samples);
            QVERIFY(segmenter.flush().empty());
            QCOMPARE(lengths(segmenter.push(signal({ { 1200, 0.1 }, { 700, 0 } }))),
                Lengths { 30400 });
        }
    }

    void survivesBadSamples()
    {
        AudioBlock block = signal({ { 1200, 5.0 }, { 700, 0 } });
        block.samples[0] = std::numeric_limits<float>::quiet_NaN();
        block.samples[7] = -std::numeric_limits<float>::infinity();
        block.samples.push_back(0.5F); // half a frame
        const auto phrases = Segmenter().push(block);
        QCOMPARE(lengths(phrases), Lengths { 30400 });
        QCOMPARE(phrases[0][100], std::int16_t { 32767 });
    }

    /// Twenty minutes.
    void cutsASermon()
    {
        std::mt19937 random(7);
        Segmenter segmenter;
        Segmenter whole; // takes each sound at once
        PhraseSamples heard;
        std::vector<PhraseSamples> phrases;
        while (heard.size() < std::size_t { 20 } * 60 * 16000) {
            const AudioBlock sound = breath(random);
            std::vector<PhraseSamples> cut;
            inPieces(sound, 1024, [&](const AudioBlock &piece) {
                std::ranges::move(segmenter.push(piece), std::back_inserter(cut));
            });
            QVERIFY2(cut == whole.push(sound), "blocks of any length give the same phrases");
            std::ranges::copy(heardBy(sound), std::back_inserter(heard));
            std::ranges::move(cut, std::back_inserter(phrases));
        }
        auto end = heard.begin(); // of the phrase before
        std::ptrdiff_t lost = 0;
        for (const PhraseSamples &phrase : phrases) {
            QVERIFY(phrase.size() <= std::size_t { 5 } * 16000);
            const auto found = std::search(end, heard.end(), phrase.begin(), phrase.end());
            QVERIFY2(found != heard.end(),
                "a phrase is a piece of the sound, after the one before");
            const std::ptrdiff_t voice = voiced({ end, found });
            QVERIFY2(voice * 5 <= found - end, "what is left out is mostly silence");
            lost += voice;
            end = found + static_cast<std::ptrdiff_t>(phrase.size());
        }
        lost += voiced({ end, heard.end() });
        QVERIFY(phrases.size() > 200);
        QVERIFY2(lost * 50 < voiced(heard), "only a word alone in a long silence is left out");
        segmenter.flush();
        QVERIFY2(segmenter.push(signal({ { 180'000, 0.005 } })).empty(), "nobody speaks");
    }

    void writesWavFiles()
    {
        QCOMPARE(wavFile(std::vector<std::int16_t> { 1, -2, 0x1234 }),
            QByteArray::fromHex("52494646 2a000000 57415645 666d7420 10000000 0100 0100 803e0000"
                                "007d0000 0200 1000 64617461 06000000 0100 feff 3412"));
    }
};

NIMBARA_TEST(SegmenterTest)
#include "segmenter_test.moc"
