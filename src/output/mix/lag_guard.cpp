#include "output/mix/lag_guard.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace nimbara {

namespace {

constexpr std::size_t windowBlocks = 12; // 0.4 s: two windows see any lag within a second
constexpr std::size_t stretchMargin = 240; // 5 ms: not one stretch per block

StereoValue frameAt(std::span<const float> values, std::size_t frame)
{
    return { values[2 * frame], values[2 * frame + 1] };
}

} // namespace

void LagGuard::take(AudioFifo *fifo, std::span<float> into)
{
    const std::size_t frames = into.size() / audioChannels;
    if (frames == 0) {
        return;
    }
    if (fifo != m_source) {
        changeSource(fifo, frames);
    }
    const auto splice = fifo != nullptr ? plannedSplice(*fifo, frames) : std::nullopt;
    if (splice) {
        splicing::read(*fifo, *splice, into);
        m_fade.apply(into);
        startWindow();
    } else {
        readPlain(fifo, into);
    }
    m_last = frameAt(into, frames - 1);
}

LagGuard::Report LagGuard::takeReport()
{
    return std::exchange(m_report, {});
}

void LagGuard::changeSource(AudioFifo *fifo, std::size_t blockFrames)
{
    m_source = fifo;
    m_seam = true;
    m_gap = longestGap + 1;
    startWindow();
    if (fifo != nullptr && fifo->size() / audioChannels > blockFrames + maxLag) {
        fifo->drop(fifo->size() - (blockFrames + targetLag) * audioChannels);
    }
}

std::optional<splicing::Splice> LagGuard::plannedSplice(const AudioFifo &fifo,
    std::size_t blockFrames)
{
    const std::size_t depth = fifo.size() / audioChannels;
    if (m_excess > 0 && depth > blockFrames && blockFrames >= splicing::fadeFrames) {
        const auto splice = splicing::bestCut(fifo, std::min(m_excess, depth - blockFrames));
        m_report.dropped += splice.skip;
        return splice;
    }
    const std::size_t most = splicing::mostStretch(blockFrames);
    const std::size_t missing = blockFrames - std::min(depth, blockFrames);
    if (!m_flowing || m_seam || missing == 0 || missing > most) {
        return std::nullopt;
    }
    const auto splice
        = splicing::bestStretch(fifo, blockFrames, std::min(missing + stretchMargin, most), most);
    m_report.stretched -= splice.skip;
    return splice;
}

void LagGuard::readPlain(AudioFifo *fifo, std::span<float> into)
{
    std::size_t taken = 0;
    if (fifo != nullptr) {
        taken = fifo->pop(into) / audioChannels;
    } else {
        std::fill(into.begin(), into.end(), 0.0F);
    }
    const auto sound = into.first(taken * audioChannels);
    const auto silence = into.subspan(sound.size());
    if (taken > 0 && (!m_flowing || m_seam)) {
        m_fade.start(m_last, frameAt(sound, 0));
    }
    m_fade.apply(sound);
    if (!silence.empty() && (m_flowing || taken > 0)) {
        m_fade.start(taken > 0 ? frameAt(sound, taken - 1) : m_last, {});
    }
    m_fade.apply(silence);
    m_flowing = fifo != nullptr && silence.empty();
    m_seam = false;
    countGap(taken, silence.size() / audioChannels);
    if (m_flowing) {
        observe(fifo->size() / audioChannels);
    } else {
        startWindow();
    }
}

void LagGuard::countGap(std::size_t soundFrames, std::size_t silentFrames)
{
    if (soundFrames > 0) {
        m_report.silent += m_gap <= longestGap ? m_gap : 0;
        m_gap = 0;
    }
    m_gap += silentFrames;
}

void LagGuard::observe(std::size_t rest)
{
    m_smallestRest = std::min(m_smallestRest, rest);
    if (++m_windowBlocks < windowBlocks) {
        return;
    }
    const std::size_t smallest = m_smallestRest;
    startWindow();
    m_excess = smallest > maxLag ? smallest - targetLag : 0;
}

void LagGuard::startWindow()
{
    m_windowBlocks = 0;
    m_smallestRest = std::numeric_limits<std::size_t>::max();
    m_excess = 0;
}

} // namespace nimbara
