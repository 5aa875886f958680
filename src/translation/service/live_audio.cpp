#include "translation/service/live_audio.h"

#include "signal/mono.h"

#include <QtEndian>

#include <algorithm>
#include <cmath>

namespace nimbara {

namespace {

constexpr std::int32_t samplesPerMs = 24;
constexpr std::int32_t minCommit = 500 * samplesPerMs;
constexpr std::int32_t minVoiced = 500 * samplesPerMs;
/// No word is shorter; a cough of the line is.
constexpr std::int32_t minWord = 60 * samplesPerMs;

bool endsSentence(const QString &text)
{
    const QString trimmed = text.trimmed();
    return !trimmed.isEmpty() && QStringLiteral(".?!").contains(trimmed.back());
}

} // namespace

bool LiveAudio::push(const AudioBlock &block)
{
    const std::int32_t before = m_voicedSamples;
    for (std::size_t i = 0; i + 1 < block.samples.size(); i += 2) {
        m_decimSum += monoOf(block.samples[i], block.samples[i + 1]);
        if (++m_decimCount == 2) {
            addSample(m_decimSum * 0.5);
            m_decimSum = 0;
            m_decimCount = 0;
        }
    }
    return m_voicedSamples != before;
}

void LiveAudio::addSample(double s)
{
    m_peak = std::max(std::abs(s), m_peak * 0.99996);
    const double target = std::clamp(0.5 / std::max(m_peak, 0.01), 1.0, 12.0);
    m_gain += (target - m_gain) * 0.0005;
    const double out = std::clamp(s * m_gain, -1.0, 1.0);
    m_pcmOut.push_back(static_cast<std::int16_t>(out * 32767));
    ++m_samplesSinceCommit;
    if (s * s <= silenceEnergy) {
        ++m_silentRun;
        ++m_quietRun;
        return;
    }
    ++m_voicedSamples;
    ++m_uncommittedVoice;
    m_silentRun = 0;
    m_quietRun = 0;
    m_speaking = true;
}

QByteArray LiveAudio::takeChunk()
{
    QByteArray bytes(static_cast<qsizetype>(m_pcmOut.size() * sizeof(std::int16_t)), '\0');
    qToLittleEndian<qint16>(m_pcmOut.data(), static_cast<qsizetype>(m_pcmOut.size()), bytes.data());
    m_pcmOut.clear();
    return bytes;
}

bool LiveAudio::endsBySilence() const
{
    return m_speaking && m_silentRun >= 450 * samplesPerMs && m_voicedSamples >= 800 * samplesPerMs;
}

bool LiveAudio::isPhraseEnd(const QString &partialText) const
{
    const bool byPunctuation = m_speaking && m_samplesSinceCommit >= 2000 * samplesPerMs
        && m_silentRun >= 150 * samplesPerMs && endsSentence(partialText);
    const bool byLength = m_samplesSinceCommit >= 7000 * samplesPerMs;
    return endsBySilence() || byPunctuation || byLength;
}

bool LiveAudio::endPhrase()
{
    m_speaking = false;
    m_silentRun = 0;
    if (m_voicedSamples >= minVoiced) {
        return takeCommit();
    }
    m_samplesSinceCommit = 0;
    m_voicedSamples = 0;
    return false;
}

bool LiveAudio::takeCommit()
{
    const bool enough = m_samplesSinceCommit >= minCommit;
    m_samplesSinceCommit = 0;
    m_voicedSamples = 0;
    m_uncommittedVoice = enough ? 0 : m_uncommittedVoice;
    return enough;
}

bool LiveAudio::takeTurnEnd()
{
    const bool ends = endsBySilence();
    if (ends) {
        m_speaking = false;
        m_silentRun = 0;
        m_voicedSamples = 0;
    }
    return ends;
}

bool LiveAudio::hasRest() const
{
    return m_uncommittedVoice >= minWord;
}

bool LiveAudio::takeRest()
{
    const bool isWord = hasRest();
    m_samplesSinceCommit = 0;
    m_voicedSamples = 0;
    m_uncommittedVoice = 0;
    m_speaking = false;
    return isWord;
}

void LiveAudio::forgetSilence()
{
    if (!m_speaking && m_samplesSinceCommit >= 3000 * samplesPerMs) {
        m_samplesSinceCommit = 0;
    }
}

void LiveAudio::reset()
{
    m_pcmOut.clear();
    m_decimSum = 0;
    m_decimCount = 0;
    m_voicedSamples = 0;
    m_silentRun = 0;
    m_quietRun = 0;
    m_uncommittedVoice = 0;
    m_samplesSinceCommit = 0;
    m_speaking = false;
}

} // namespace nimbara
