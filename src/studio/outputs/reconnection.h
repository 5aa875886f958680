#pragma once

#include "base/message.h"
#include "output/sink/output.h"

#include <cstdint>
#include <functional>
#include <optional>

namespace nimbara {

/// When a lost destination is tried again: after 1, 2, 3, 5, 8, then 10 s, a tenth by chance added,
/// for three minutes, then every 30 s for ever. Times in µs of one clock.
class Reconnection {
public:
    static constexpr std::int64_t steadyUs = 10'000'000; ///< of media taken: all is well again
    static constexpr std::int64_t busyUs = 120'000'000; ///< that a server may hold the name

    /// `chance` gives 0..1, so that destinations that were lost together do not come back in step.
    explicit Reconnection(std::function<double()> chance = anyChance);

    /// The operator started it, or stopped it: nothing is known of it.
    void forget();
    /// An attempt begins.
    void started(std::int64_t nowUs);
    /// The server takes its media, from now on until it is lost.
    void accepted();
    [[nodiscard]] bool isAccepted() const { return m_isAccepted; }
    /// µs of media that it took in this attempt.
    void took(std::int64_t mediaUs);
    /// It took `steadyUs` in this attempt.
    [[nodiscard]] bool isSteady() const { return m_isSteady; }

    /// It was lost; whether it is tried again. If not, `reason` may tell why, else the failure's
    /// own text does: a slot that was never accepted, a refused key, a bad certificate.
    /// `isReachable`: the server's machine answered just before this attempt, so it is the server
    /// that closed it.
    bool lost(OutputFailure failure, std::int64_t nowUs, bool isReachable = false);
    /// The server closed the last attempts at once, without a word: one that does not know the key
    /// looks like that, but so does one that is starting.
    [[nodiscard]] bool doubtsKey() const { return m_earlyClosings >= mostClosings; }

    [[nodiscard]] bool isWaiting() const { return m_nextUs.has_value(); }
    [[nodiscard]] bool isDue(std::int64_t nowUs) const { return m_nextUs && nowUs >= *m_nextUs; }
    /// The attempt is made at once.
    void hurry(std::int64_t nowUs);
    /// Of the present or next attempt, from 1; 0: none since it was well.
    [[nodiscard]] int attempt() const { return m_attempt; }
    /// What the operator reads while it waits: "Reconectando en 5 s · intento 3".
    [[nodiscard]] Message text(std::int64_t nowUs) const;
    /// Why it is not tried again, or what may be wrong; may be empty.
    [[nodiscard]] const Message &reason() const { return m_reason; }

private:
    static constexpr int mostClosings = 3; ///< in a row, within 5 s of their starts
    static double anyChance();
    void countClosing(std::int64_t nowUs, bool isReachable);
    bool giveUp(const Message &reason);
    bool waitFor(std::int64_t delayUs, std::int64_t nowUs);
    [[nodiscard]] std::int64_t nextDelayUs(std::int64_t nowUs) const;

    std::function<double()> m_chance;
    bool m_everAccepted = false;
    std::int64_t m_startedUs = 0;
    bool m_isAccepted = false; ///< in this attempt
    bool m_isSteady = false;
    std::optional<std::int64_t> m_firstLossUs; ///< since it was well
    std::optional<std::int64_t> m_busySinceUs; ///< the server holds its name
    std::optional<std::int64_t> m_nextUs;
    int m_attempt = 0;
    int m_quickClosings = 0; ///< in a row, of attempts that were accepted
    int m_earlyClosings = 0; ///< in a row, before that
    Message m_reason;
};

} // namespace nimbara
