#include "translation/pipeline/voice.h"

#include <QtEndian>

namespace nimbara {

std::vector<float> voiceSamples(const QByteArray &pcm)
{
    std::vector<float> samples;
    samples.reserve(static_cast<std::size_t>(pcm.size()) / 2 * 4);
    for (qsizetype i = 0; i + 1 < pcm.size(); i += 2) {
        const auto sample = qFromLittleEndian<qint16>(pcm.constData() + i);
        samples.insert(samples.end(), 4, static_cast<float>(sample) / 32768.0F);
    }
    return samples;
}

std::int64_t voiceUs(const QByteArray &pcm)
{
    return pcm.size() / 2 * 1'000'000 / 24000;
}

void queueVoice(AudioFifo &voiceQueue, const QByteArray &pcm)
{
    voiceQueue.clear();
    voiceQueue.push(voiceSamples(pcm));
}

} // namespace nimbara
