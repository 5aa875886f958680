#include "translation/pipeline/quiet_voice.h"

#include "signal/mono.h"

#include <algorithm>

namespace nimbara {

namespace {

constexpr std::int32_t rate = 16000;
constexpr int windowSamples = rate / 20; ///< 50 ms
constexpr std::size_t stretchWindows = 100; ///< 5 s
constexpr int quietStretches = 4;
/// With so little voice in a stretch no phrase comes of it on either road; with so much one does.
constexpr std::int32_t littleVoice = rate * 7 / 20;
constexpr std::int32_t enoughVoice = rate;
/// Between words so many windows are as quiet as the room; speech is ten times as loud in a quarter
/// of them. What is lower than that least energy, −65 dBFS, is nobody's microphone.
constexpr std::size_t noiseWindow = stretchWindows * 15 / 100;
constexpr std::ptrdiff_t speechWindows = stretchWindows / 4;
constexpr double speechOverNoise = 10;
constexpr double leastEnergy = 3.2e-7;

} // namespace

bool QuietVoice::push(const AudioBlock &block)
{
    const bool before = m_isQuiet;
    for (std::size_t i = 0; i + 1 < block.samples.size(); i += 2) {
        m_sum += monoOf(block.samples[i], block.samples[i + 1]);
        if (++m_count == 3) {
            addSample(m_sum / 3);
            m_sum = 0;
            m_count = 0;
        }
    }
    return m_isQuiet != before;
}

void QuietVoice::addSample(double v)
{
    const double energy = v * v;
    m_energy += energy;
    m_voiced += energy > silenceEnergy ? 1 : 0;
    if (++m_samples == windowSamples) {
        endWindow();
    }
}

void QuietVoice::endWindow()
{
    m_windows.push_back(m_energy / windowSamples);
    m_energy = 0;
    m_samples = 0;
    if (m_voiced >= enoughVoice) {
        clear();
    } else if (m_windows.size() == stretchWindows) {
        endStretch();
    }
}

void QuietVoice::endStretch()
{
    if (m_voiced >= littleVoice) {
        m_quietStretches = 0;
    } else if (hasSound()) {
        ++m_quietStretches;
    } else {
        m_quietStretches = std::max(m_quietStretches - 1, 0);
    }
    m_isQuiet = m_isQuiet || m_quietStretches >= quietStretches;
    m_windows.clear();
    m_voiced = 0;
}

/// The noise is that of the stretch: a microphone that is switched on in it is no voice.
bool QuietVoice::hasSound() const
{
    std::vector<double> energies = m_windows;
    const auto noise = energies.begin() + noiseWindow;
    std::nth_element(energies.begin(), noise, energies.end());
    const double loud = std::max(*noise * speechOverNoise, leastEnergy);
    return std::count_if(energies.begin(), energies.end(), [loud](double energy) {
        return energy > loud;
    }) >= speechWindows;
}

void QuietVoice::clear()
{
    *this = {};
}

} // namespace nimbara
