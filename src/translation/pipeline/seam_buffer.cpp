#include "translation/pipeline/seam_buffer.h"

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

std::size_t framesOf(const AudioBlock &block)
{
    return block.samples.size() / audioChannels;
}

} // namespace

void SeamBuffer::add(const AudioBlock &block)
{
    m_pieces.push_back({ block });
    m_frames += framesOf(block);
    while (m_frames > longest) {
        dropFirst();
    }
}

void SeamBuffer::endPhrase()
{
    if (!m_pieces.empty()) {
        m_pieces.back().endsPhrase = true;
    }
}

void SeamBuffer::phraseDone()
{
    bool ended = false;
    while (!m_pieces.empty() && !ended) {
        ended = m_pieces.front().endsPhrase;
        dropFirst();
    }
}

std::deque<AudioBlock> SeamBuffer::take()
{
    std::deque<AudioBlock> blocks;
    for (Piece &piece : m_pieces) {
        blocks.push_back(std::move(piece.block));
    }
    clear();
    return blocks;
}

void SeamBuffer::clear()
{
    m_pieces.clear();
    m_frames = 0;
}

void SeamBuffer::dropFirst()
{
    m_frames -= framesOf(m_pieces.front().block);
    m_pieces.pop_front();
}

} // namespace nimbara
