#include "bench.h"
#include "studio/programs/program_pictures.h"
#include "translation/pipeline/caption_text.h"

#include <array>
#include <cstdio>
#include <random>
#include <string>

namespace {

using namespace nimbara;
using namespace nimbara::bench;

constexpr int spacing = 4; ///< seconds between two captions
constexpr int captionsPerMinute = 60 / spacing;

/// Ninety minutes of captions, no two alike, in the hall and in the streams.
class Sermon {
public:
    Sermon()
    {
        Document &document = m_stage.document;
        document.apply(AddLayer { document.currentScene()->id, newLayer(LayerKind::Subtitle) });
        m_streams = liveOf(document.currentScene());
        m_hall = liveOf(document.current(SceneSet::Hall));
        m_stage.captions.separator = separatorText(m_captions.separator());
    }

    /// What the frame costs in which the next caption arrives, from its text to the three pictures.
    double nextMs()
    {
        m_nowMs += spacing * 1000;
        const QString text = sentence();
        return timeMs([&] {
            m_captions.clearOld(m_nowMs);
            m_captions.addCaption(text, m_nowMs);
            m_stage.captions.phrases = m_captions.captionPhrases();
            m_shown = { m_pictures.preview(m_stage, m_streams, nullptr),
                m_pictures.streams(m_stage, m_streams, nullptr),
                m_pictures.hall(m_stage, m_hall, nullptr) };
        });
    }

private:
    QString sentence()
    {
        static const std::array words { "grace",
            "and",
            "peace",
            "of",
            "the",
            "Lord",
            "world",
            "he",
            "gave",
            "light",
            "that",
            "whoever",
            "believes",
            "shall",
            "live" };
        QString text;
        for (auto left = 3 + m_random() % 18; left > 0; --left) {
            text += QLatin1String(words.at(m_random() % words.size()));
            text += QLatin1Char(' ');
        }
        return text + QString::number(m_nowMs);
    }

    static LiveScene liveOf(const ScenePtr &scene)
    {
        return { scene, std::vector<LiveLayer>(scene->layers.size()) };
    }

    std::mt19937 m_random { 5 };
    SystemClock m_clock;
    Stage m_stage { m_clock };
    LiveScene m_streams;
    LiveScene m_hall;
    CaptionText m_captions;
    ProgramPictures m_pictures;
    std::array<QImage, 3> m_shown; ///< held until the next ones, as the monitors do
    std::int64_t m_nowMs = 0;
};

std::string tellCaptions()
{
    Sermon sermon;
    const double first = sermon.nextMs(); // looks for the font, too
    std::array<std::vector<double>, 9> stretches; // of ten minutes each
    double memoryAt10 = 0;
    for (auto &stretch : stretches) {
        for (int i = 0; i < 10 * captionsPerMinute; ++i) {
            stretch.push_back(sermon.nextMs());
        }
        memoryAt10 = memoryAt10 == 0 ? residentMiB() : memoryAt10;
    }
    std::vector<double> all;
    for (const auto &stretch : stretches) {
        all.insert(all.end(), stretch.begin(), stretch.end());
    }
    std::array<char, 240> text {};
    std::snprintf(text.data(),
        text.size(),
        "90 minutes of captions\tframe %.1f ms at first, %.1f ms in the first ten, %.1f ms in "
        "the last ten, longest %.1f ms\tmemory %.0f MiB at 10 min, %.0f MiB at the end",
        first,
        median(stretches.front()),
        median(stretches.back()),
        *std::max_element(all.begin(), all.end()),
        memoryAt10,
        residentMiB());
    return text.data();
}

} // namespace

NIMBARA_BENCH_CASE("captions", tellCaptions)
