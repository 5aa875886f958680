#include "studio/sources/sound_offset.h"

#include "base/error.h"

#include <algorithm>

namespace nimbara {

void SoundOffset::use(const QString &identity)
{
    m_identity = identity;
    take(std::clamp(identity.isEmpty() ? 0 : m_offsets.value(identity).toInt(), least, most));
}

void SoundOffset::set(int ms)
{
    if (ms < least || ms > most) {
        throw Error(QStringLiteral("Desfase fuera de −500 a 2000 ms"));
    }
    if (!m_identity.isEmpty()) {
        m_offsets.insert(m_identity, ms);
    }
    take(ms);
}

void SoundOffset::take(int ms)
{
    m_ms = ms;
    m_delay.setLength(static_cast<std::size_t>(std::max(ms, 0)) * audioRate / 1000);
}

void SoundOffset::apply(AudioBlock &block, bool muted)
{
    m_delay.apply(block.samples);
    if (muted) {
        m_delay.silence();
        std::fill(block.samples.begin(), block.samples.end(), 0.0F);
    }
}

} // namespace nimbara
