#include "output/mix/input_writer.h"

#include <utility>

namespace nimbara {

namespace {

constexpr std::uint64_t seamNs = 2'000'000; // blocks that are nearer than this follow each other

} // namespace

std::span<float> InputWriter::faded(const AudioBlock &block)
{
    if (block.samples.size() < audioChannels) {
        return {};
    }
    m_values = block.samples;
    const bool missing = m_nextPts != 0 && block.pts > m_nextPts + seamNs;
    if (std::exchange(m_stepExpected, false) || missing) {
        m_fade.start(m_last, { m_values[0], m_values[1] });
    }
    m_fade.apply(m_values);
    m_last = { m_values[m_values.size() - 2], m_values.back() };
    const std::uint64_t frames = m_values.size() / audioChannels;
    m_nextPts = block.pts == 0 ? 0 : block.pts + frames * 1'000'000'000 / audioRate;
    return m_values;
}

} // namespace nimbara
