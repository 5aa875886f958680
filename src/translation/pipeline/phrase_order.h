#pragma once

#include <QString>

#include <cstdint>
#include <map>
#include <optional>

namespace nimbara {

/// Hands out sequence numbers to phrases and gives their translations back strictly in that order,
/// whatever the order in which they arrive. Pure; times are milliseconds since the epoch.
class PhraseOrder {
public:
    /// A missing phrase holds up the ones behind it no longer than this.
    static constexpr std::int64_t patienceMs = 7000;

    struct Released {
        QString text; ///< trimmed; empty for a phrase that gave nothing
        std::int64_t phraseTimeMs = 0; ///< 0 when unknown
    };

    /// The number of a new phrase that ended at `phraseTimeMs`; the first is 0.
    std::int32_t take(std::int64_t phraseTimeMs);

    /// The translation of a phrase. One that comes after its phrase was skipped is dropped.
    void store(std::int32_t sequence, const QString &text);

    /// Gives up the next phrase when later ones wait for it and it is too late. Returns whether it
    /// did; at most one phrase per call.
    bool skipLate(std::int64_t nowMs);

    /// The phrase is late for no fault of its own: it may take as long again from now on.
    /// Nothing happens when it was skipped.
    void waitFrom(std::int32_t sequence, std::int64_t nowMs)
    {
        if (isAwaited(sequence)) {
            m_waitFrom[sequence] = nowMs;
        }
    }

    /// The same for all that are under way.
    void waitAllFrom(std::int64_t nowMs)
    {
        for (const auto &[sequence, ended] : m_phraseTimes) {
            waitFrom(sequence, nowMs);
        }
    }

    /// The phrase whose turn it is.
    [[nodiscard]] std::int32_t awaited() const { return m_nextRelease; }

    /// The phrase has not been skipped.
    [[nodiscard]] bool isAwaited(std::int32_t sequence) const { return sequence >= m_nextRelease; }

    /// The next phrase in order; none while it is missing.
    std::optional<Released> next();

    /// Begins anew at 0.
    void clear() { *this = {}; }

private:
    std::int32_t m_nextSequence = 0;
    std::int32_t m_nextRelease = 0;
    std::map<std::int32_t, QString> m_results;
    std::map<std::int32_t, std::int64_t> m_phraseTimes;
    std::map<std::int32_t, std::int64_t> m_waitFrom; ///< of phrases that got more time
};

} // namespace nimbara
