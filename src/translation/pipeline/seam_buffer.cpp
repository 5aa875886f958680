#include "translation/pipeline/seam_buffer.h"

#include "signal/mono.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace nimbara {

namespace {

std::int64_t framesOf(const AudioBlock &block)
{
    return static_cast<std::int64_t>(block.samples.size() / audioChannels);
}

bool isVoiced(const AudioBlock &block, std::int64_t frame)
{
    const auto at = static_cast<std::size_t>(frame) * audioChannels;
    const double mono = monoOf(block.samples[at], block.samples[at + 1]);
    return mono * mono > silenceEnergy;
}

} // namespace

void SeamBuffer::add(const AudioBlock &block)
{
    if (framesOf(block) == 0) {
        return;
    }
    m_blocks.push_back(block);
    for (std::int64_t frame = 0; frame < framesOf(block); ++frame) {
        ++m_end;
        if (isVoiced(block, frame)) {
            m_quietFrom = m_end;
        } else if (m_end - m_quietFrom >= shortestGap) {
            m_gapEnd = m_end;
        }
    }
    while (m_end - m_begin > longest) {
        dropUntil(m_begin + framesOf(m_blocks.front()));
    }
}

void SeamBuffer::endPhrase()
{
    const std::int64_t before = m_phraseEnds.empty() ? m_begin : m_phraseEnds.back();
    const bool isWord = m_gapEnd > before && m_end - m_gapEnd <= longestWord;
    m_phraseEnds.push_back(isWord ? m_gapEnd : m_end);
}

void SeamBuffer::phraseDone()
{
    if (m_phraseEnds.empty()) {
        dropUntil(m_end);
        return;
    }
    dropUntil(m_phraseEnds.front());
    m_phraseEnds.pop_front();
}

std::deque<AudioBlock> SeamBuffer::take()
{
    std::int64_t silent = 0;
    for (const AudioBlock &block : m_blocks) {
        std::int64_t frame = 0;
        while (frame < framesOf(block) && !isVoiced(block, frame)) {
            ++frame;
        }
        silent += frame;
        if (frame < framesOf(block)) {
            break;
        }
    }
    dropUntil(m_begin + silent - lead);
    std::deque<AudioBlock> blocks = std::move(m_blocks);
    clear();
    return blocks;
}

void SeamBuffer::dropUntil(std::int64_t position)
{
    while (!m_blocks.empty() && m_begin < position) {
        std::vector<float> &samples = m_blocks.front().samples;
        const std::int64_t count = std::min(position - m_begin, framesOf(m_blocks.front()));
        m_begin += count;
        if (count == framesOf(m_blocks.front())) {
            m_blocks.pop_front();
        } else {
            samples.erase(samples.begin(), samples.begin() + count * audioChannels);
        }
    }
}

} // namespace nimbara
