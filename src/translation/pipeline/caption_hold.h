#pragma once

#include "translation/pipeline/caption.h"

#include <QString>

#include <cstdint>
#include <deque>
#include <optional>

namespace nimbara {

/// Captions that wait for a while before they are shown, so that the operator can change or drop
/// them; they leave in the order in which they came. What answers late names its caption by `id`,
/// and nothing happens when that has left. Pure; times are monotonic milliseconds.
class CaptionHold {
public:
    static constexpr std::int64_t longestMs = 10'000;
    /// An edit keeps its caption, and those behind it, no longer than this.
    static constexpr std::int64_t editMs = 30'000;

    struct Held {
        std::int64_t id = 0; ///< of no other caption; from 1
        Caption caption;
        std::int64_t phraseTimeMs = 0; ///< since the epoch; 0 when unknown
        std::int64_t sinceMs = 0;
        std::optional<std::int64_t> editedMs {}; ///< when it was first begun to be edited
        bool wasLeft = false; ///< it goes as it was: its edit took too long
    };

    /// For those that wait already, too: 0 to `longestMs`.
    void setDelay(std::int64_t ms);
    [[nodiscard]] std::int64_t delayMs() const { return m_delayMs; }

    void add(const Caption &caption, std::int64_t phraseTimeMs, std::int64_t nowMs);

    /// The next one first.
    [[nodiscard]] const std::deque<Held> &waiting() const { return m_waiting; }

    /// The operator edits this caption: it stays until the edit ends. There is one edit at a time.
    void edit(std::int64_t id, std::int64_t nowMs);
    /// Ends its edit without a change.
    void leave(std::int64_t id);
    /// Ends its edit; without a text the caption is dropped.
    void change(std::int64_t id, const QString &text);
    void drop(std::int64_t id);

    /// The next caption, once it has waited long enough.
    std::optional<Held> take(std::int64_t nowMs);
    /// All of them, whatever they wait for.
    std::deque<Held> takeAll();
    void clear() { takeAll(); }

private:
    [[nodiscard]] std::deque<Held>::iterator find(std::int64_t id);

    std::int64_t m_delayMs = 0;
    std::int64_t m_lastId = 0;
    std::int64_t m_edited = 0; ///< 0: none
    std::deque<Held> m_waiting;
};

} // namespace nimbara
