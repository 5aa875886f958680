#include "studio/sources/sound_offset.h"

#include "base/error.h"

#include <algorithm>
#include <utility>

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
    m_stepExpected = m_stepExpected || ms != m_ms;
    m_ms = ms;
    m_delay.setLength(static_cast<std::size_t>(std::max(ms, 0)) * audioRate / 1000);
}

void SoundOffset::apply(std::span<float> values, bool muted)
{
    if (values.empty()) {
        return;
    }
    const bool isCut = !std::exchange(m_isMuted, muted) && muted;
    if (muted && m_delay.length() > 0) {
        std::fill(values.begin(), values.end(), 0.0F);
        if (isCut) {
            m_delay.silence();
            m_stepExpected = true;
        }
    }
    m_delay.apply(values);
    if (std::exchange(m_stepExpected, false)) {
        m_fade.start(m_last, { values[0], values[1] });
    }
    m_fade.apply(values);
    m_last = { values[values.size() - 2], values.back() };
}

} // namespace nimbara
