#pragma once

#include "translation/pipeline/reading_block.h"

#include <QString>

#include <cstdint>
#include <deque>

namespace nimbara {

/// Captions that are easy to read: one block after the other, each shown whole and unchanged until
/// the next. A block stays at least 1.5 s, and long enough to be read at 15 characters per second;
/// when what waits would take over 6 s, at 20, until little has waited for half a minute. Without a
/// next one it stays for 8 s. Pure; times are monotonic milliseconds.
class Reading {
public:
    static constexpr std::int64_t leastMs = 1500;
    static constexpr std::int64_t lifetimeMs = 8000;
    static constexpr std::int32_t pace = 15; ///< characters per second
    static constexpr std::int32_t hurriedPace = 20;
    static constexpr std::int64_t hurryAboveMs = 6000; ///< of backlog
    static constexpr std::int64_t calmBelowMs = 2000;
    static constexpr std::int64_t calmAfterMs = 30'000; ///< of so little backlog

    /// A phrase that is to be read behind all others; what was not spoken is left out. Returns
    /// whether there is anything to be read.
    bool add(const QString &phrase);

    /// Shows the next block when it is time, or none. Call it for every frame and behind `add`.
    /// Returns whether the block has changed.
    bool advance(std::int64_t nowMs);

    /// What is to be read now: at most two lines, between them a line break. Empty when nothing is.
    [[nodiscard]] const QString &block() const { return m_block; }

    /// How many phrases have been shown since it was asked last: their first word, their last.
    struct Shown {
        qsizetype begun = 0;
        qsizetype ended = 0;
    };
    Shown takeShown();

    /// How long what waits takes to be read at the usual pace.
    [[nodiscard]] std::int64_t backlogMs() const;

    /// The pace is raised.
    [[nodiscard]] bool isHurried() const { return m_hurried; }

    /// Nothing is shown and nothing waits.
    void clear() { *this = {}; }

private:
    bool step(std::int64_t nowMs);
    void count(qsizetype taken);
    [[nodiscard]] std::int64_t readMs(std::int32_t columns) const;

    QString m_waiting;
    std::deque<qsizetype> m_begins; ///< of the phrases in what waits
    std::deque<qsizetype> m_ends;
    Shown m_shown; ///< see `takeShown`
    QString m_block;
    std::int64_t m_shownMs = 0; ///< when the block came
    std::int64_t m_busyMs = 0; ///< when more than a little waited last
    bool m_hurried = false;
};

} // namespace nimbara
