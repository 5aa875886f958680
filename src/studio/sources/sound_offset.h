#pragma once

#include "signal/audio_block.h"
#include "signal/sound_delay.h"

#include <QString>
#include <QVariantMap>

#include <cstdint>

namespace nimbara {

/// How much later than it arrives the sound of the audio input is heard, kept for each device.
/// Sound cannot be heard before it arrives: below 0 the pictures of the cameras wait instead.
/// Interface thread only.
class SoundOffset {
public:
    static constexpr int least = -500; ///< ms
    static constexpr int most = 2000; ///< ms

    /// By the device's identity (`CaptureDevice::identity`).
    void restore(const QVariantMap &offsets) { m_offsets = offsets; }
    [[nodiscard]] const QVariantMap &offsets() const { return m_offsets; }

    /// Takes the offset that is kept for the device in use; empty: no device, which has none.
    void use(const QString &identity);
    /// ms, for the device in use, and kept for it. Throws `Error` outside of `least` to `most`.
    void set(int ms);
    [[nodiscard]] int ms() const { return m_ms; }
    /// How long the pictures of cameras wait, in µs.
    [[nodiscard]] std::int64_t pictureDelayUs() const { return m_ms < 0 ? -1000LL * m_ms : 0; }

    /// Leaves what is due in the place of what has arrived. `muted`: nothing is heard, at once.
    void apply(AudioBlock &block, bool muted);

private:
    void take(int ms);

    QVariantMap m_offsets;
    QString m_identity;
    int m_ms = 0;
    SoundDelay m_delay;
};

} // namespace nimbara
