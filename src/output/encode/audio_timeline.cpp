#include "output/encode/audio_timeline.h"

#include <algorithm>

namespace nimbara {

namespace {

constexpr std::int64_t secondNs = 1'000'000'000;
constexpr std::int64_t longestTrim = 240; // stereo frames (5 ms)

StereoValue frameAt(std::span<const float> values, std::size_t frame)
{
    return { values[2 * frame], values[2 * frame + 1] };
}

} // namespace

AudioTimeline::Piece AudioTimeline::place(std::span<const float> block, std::uint64_t pts)
{
    if (block.size() < audioChannels) {
        return { block, pts };
    }
    if (!m_started) {
        startAt(pts);
    }
    const std::uint64_t end = m_base + m_frames * secondNs / audioRate;
    const std::int64_t distance = static_cast<std::int64_t>(pts - end) * audioRate / secondNs;
    m_values.clear();
    if (distance > longestFill || distance < -longestTrim) {
        startAt(pts);
        m_last = {};
        append(block, true);
    } else if (distance > 0) {
        pts = end;
        m_values.resize(distance * audioChannels);
        m_fade.start(m_last, {});
        m_fade.apply(m_values);
        m_last = frameAt(m_values, distance - 1);
        append(block, true);
    } else if (distance < 0) {
        pts = end;
        const std::size_t ahead
            = std::min<std::size_t>(-distance * audioChannels, block.size() - 2);
        append(block.subspan(ahead), true);
    } else {
        append(block, false);
    }
    m_frames += m_values.size() / audioChannels;
    return { m_values, pts };
}

void AudioTimeline::append(std::span<const float> block, bool faded)
{
    const std::size_t before = m_values.size();
    m_values.insert(m_values.end(), block.begin(), block.end());
    if (faded) {
        m_fade.start(m_last, frameAt(block, 0));
    }
    m_fade.apply(std::span(m_values).subspan(before));
    m_last = frameAt(m_values, m_values.size() / audioChannels - 1);
}

void AudioTimeline::startAt(std::uint64_t pts)
{
    m_started = true;
    m_base = pts;
    m_frames = 0;
}

} // namespace nimbara
