#include "translation/pipeline/segmenter.h"

#include "signal/mono.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

namespace nimbara {

namespace {

constexpr std::size_t samplesPerMs = 16;
constexpr std::size_t window = 160; ///< 10 ms
constexpr std::size_t quietWindows = 6; ///< length of the quiet place that is looked for
constexpr std::size_t searchWindows = 150; ///< how far back it is looked for
constexpr double minMeanEnergy = 0.00002;
/// No word has less voice; a cough of the line has.
constexpr std::ptrdiff_t minWord = 60 * samplesPerMs;
/// Of the silence around a word so much stays.
constexpr std::ptrdiff_t around = 200 * samplesPerMs;
/// The API hears words in nothing shorter.
constexpr std::size_t minFlush = 300 * samplesPerMs;

double energyOf(std::int16_t sample)
{
    const double v = sample / 32767.0;
    return v * v;
}

bool isVoiced(std::int16_t sample)
{
    return energyOf(sample) > silenceEnergy;
}

} // namespace

std::vector<PhraseSamples> Segmenter::push(const AudioBlock &block)
{
    std::vector<PhraseSamples> phrases;
    for (std::size_t i = 0; i + 1 < block.samples.size(); i += 2) {
        m_chunkSum += monoOf(block.samples[i], block.samples[i + 1]);
        if (++m_chunkCount < 3) {
            continue;
        }
        addSample(m_chunkSum / 3);
        m_chunkSum = 0;
        m_chunkCount = 0;
        const Cut cut = decide();
        if (cut == Cut::None) {
            continue;
        }
        if (cut == Cut::Discard) {
            m_segment.clear();
            rebuild();
            m_silentRun = 0;
            continue;
        }
        const bool atPause = cut == Cut::AtPause;
        PhraseSamples phrase = cutAt(atPause ? m_segment.size() : quietestPoint(), atPause);
        if (isSpeech(phrase)) {
            phrases.push_back(std::move(phrase));
        }
    }
    return phrases;
}

void Segmenter::addSample(double v)
{
    m_segment.push_back(static_cast<std::int16_t>(v * 32767));
    const double energy = v * v;
    m_windowSum += energy;
    if (energy <= silenceEnergy) {
        ++m_silentRun;
    } else {
        m_speechSeen = true;
        m_silentRun = 0;
        ++m_voiced;
    }
    if (m_segment.size() % window == 0) {
        m_windowEnergies.push_back(m_windowSum / window);
        m_windowSum = 0;
    }
}

Segmenter::Cut Segmenter::decide() const
{
    const std::size_t length = m_segment.size();
    const auto silent = static_cast<std::size_t>(m_silentRun);
    if (!m_speechSeen) {
        return length >= 2000 * samplesPerMs ? Cut::Discard : Cut::None;
    }
    if ((length >= 3000 * samplesPerMs && silent >= 350 * samplesPerMs)
        || (length >= 1200 * samplesPerMs && silent >= 700 * samplesPerMs)) {
        return Cut::AtPause;
    }
    return length >= 5000 * samplesPerMs ? Cut::AtQuietest : Cut::None;
}

/// The middle of the quietest 60 ms of the last 1.5 s, the earliest of equals.
std::size_t Segmenter::quietestPoint() const
{
    const std::size_t count = m_windowEnergies.size();
    std::size_t position = m_segment.size();
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t g = count > searchWindows ? count - searchWindows : 0;
         g + quietWindows <= count;
         ++g) {
        const auto first = m_windowEnergies.begin() + static_cast<std::ptrdiff_t>(g);
        const double sum = std::accumulate(first, first + quietWindows, 0.0);
        if (sum < least) {
            least = sum;
            position = (g + quietWindows / 2) * window;
        }
    }
    return position;
}

PhraseSamples Segmenter::cutAt(std::size_t position, bool atPause)
{
    const auto cut = m_segment.begin() + static_cast<std::ptrdiff_t>(position);
    PhraseSamples rest(cut, m_segment.end());
    m_segment.erase(cut, m_segment.end());
    PhraseSamples phrase = std::exchange(m_segment, std::move(rest));
    rebuild();
    if (atPause) {
        m_speechSeen = false;
        m_silentRun = 0;
    }
    return phrase;
}

/// Derives the counts from the samples of the segment. The silent run stays: it may have begun
/// before them.
void Segmenter::rebuild()
{
    m_windowEnergies.clear();
    m_windowSum = 0;
    m_voiced = 0;
    for (std::size_t i = 0; i < m_segment.size(); ++i) {
        const double energy = energyOf(m_segment[i]);
        m_windowSum += energy;
        m_voiced += energy > silenceEnergy ? 1 : 0;
        if ((i + 1) % window == 0) {
            m_windowEnergies.push_back(m_windowSum / window);
            m_windowSum = 0;
        }
    }
    m_windowSum = 0;
    m_speechSeen = m_voiced > 0;
}

PhraseSamples Segmenter::flush()
{
    const PhraseSamples segment = std::exchange(m_segment, {});
    clear();
    if (std::count_if(segment.begin(), segment.end(), isVoiced) < minWord) {
        return {};
    }
    const auto first = std::find_if(segment.begin(), segment.end(), isVoiced);
    const auto last = std::find_if(segment.rbegin(), segment.rend(), isVoiced).base();
    PhraseSamples phrase(first - std::min(around, first - segment.begin()),
        last + std::min(around, segment.end() - last));
    phrase.resize(std::max(phrase.size(), minFlush));
    return phrase;
}

void Segmenter::clear()
{
    *this = {};
}

bool Segmenter::isSpeech(std::span<const std::int16_t> samples)
{
    double sum = 0;
    std::size_t voiced = 0;
    for (const std::int16_t sample : samples) {
        const double energy = energyOf(sample);
        sum += energy;
        voiced += energy > silenceEnergy ? 1 : 0;
    }
    const auto count = static_cast<double>(samples.size());
    return !samples.empty() && sum / count > minMeanEnergy && voiced * 5 >= samples.size();
}

} // namespace nimbara
