#pragma once

#include "base/background_task.h"
#include "base/message.h"
#include "output/encode/encoders.h"

#include <functional>
#include <vector>

namespace nimbara {

/// Which encoder the pictures of streams get: the platform's, where it may be trusted, else the
/// portable one. Interface thread only, which never waits.
class H264Encoders {
public:
    /// Whether the encoder does what it should. Runs on a background task.
    using Trial = std::function<bool(const EncoderChoice &)>;

    H264Encoders();
    explicit H264Encoders(Trial trial)
        : m_trial(std::move(trial))
    {
    }

    /// Tries those of the platform that need it, in the background; the first one that passes is
    /// used from then on. Once: a second call does nothing.
    void tryOut();
    /// Takes what the trial found. Whether `text` has changed since the last call.
    bool poll();

    /// The platform's where it may be trusted (at first), or the portable one always.
    void setAutomatic(bool on);
    [[nodiscard]] bool isAutomatic() const { return m_isAutomatic; }
    /// It failed at work: not again in this run of the program.
    void distrust(const EncoderChoice &choice);

    /// For the next encoder.
    [[nodiscard]] const EncoderChoice &choice() const;
    /// Which one that is and why, for the operator.
    [[nodiscard]] Message text() const;
    /// One of the platform's failed at work.
    [[nodiscard]] bool hasFailed() const { return !m_distrusted.empty(); }

private:
    [[nodiscard]] bool isTrusted(const EncoderChoice &choice) const;

    Trial m_trial;
    BackgroundTask<const EncoderChoice *> m_task;
    bool m_hasTried = false; ///< there was one to try
    const EncoderChoice *m_passed = nullptr;
    std::vector<const EncoderChoice *> m_distrusted;
    bool m_isAutomatic = true;
    bool m_hasChanged = false; ///< since it was polled
};

} // namespace nimbara
