#pragma once

#include "signal/sound_delay.h"
#include "signal/step_fade.h"

#include <QString>
#include <QVariantMap>

#include <cstdint>
#include <span>

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

    /// Leaves what is due in the place of the interleaved values that have arrived. `muted`:
    /// nothing is heard, at once. Where that or another offset makes a step, it is faded.
    void apply(std::span<float> values, bool muted);

    /// What has arrived and is not heard yet is heard no more.
    void clear() { m_delay.silence(); }

private:
    void take(int ms);

    QVariantMap m_offsets;
    QString m_identity;
    int m_ms = 0;
    SoundDelay m_delay;
    bool m_isMuted = false;
    bool m_stepExpected = false;
    StereoValue m_last {}; ///< heard
    StepFade m_fade;
};

} // namespace nimbara
