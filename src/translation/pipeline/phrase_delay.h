#pragma once

#include <QList>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace nimbara {

/// When a phrase went through each stage, in milliseconds since the epoch.
struct PhraseTimes {
    std::int64_t spoken = 0; ///< its last voiced sample
    std::int64_t heard = 0; ///< its end was found
    std::int64_t transcribed = 0;
    std::int64_t asked = 0; ///< its translation was asked for
    std::int64_t translated = 0;
    std::int64_t passed = 0; ///< it was held back no longer
    std::int64_t shown = 0; ///< the picture that shows its last word
};

/// The stages behind the speaker's last word.
enum class DelayStage { Heard, Transcribed, Asked, Translated, Held, Shown };
constexpr std::size_t delayStages = 6;

/// How late the captions are. Pure; times are milliseconds since the epoch.
class DelayMeter {
public:
    static constexpr std::int64_t windowMs = 5LL * 60 * 1000; ///< what the figures tell of
    static constexpr std::int64_t lateMs = 60'000; ///< is held against it
    static constexpr qsizetype curvePoints = 30; ///< of ten seconds each

    struct Figures {
        std::size_t phrases = 0;
        std::int64_t medianMs = 0;
        std::int64_t p90Ms = 0;
        /// The median of each stage alone, by `DelayStage`.
        std::array<std::int64_t, delayStages> stageMs {};
        /// The median of the last minute is more than a second above that of the window.
        bool grows = false;
    };

    /// A phrase is on the screens.
    void add(const PhraseTimes &times);

    /// Of the last five minutes.
    [[nodiscard]] Figures figures(std::int64_t nowMs) const;
    /// Of the whole run.
    [[nodiscard]] Figures whole() const;
    /// The medians of the last five minutes by ten seconds, oldest first; −1 where nothing was
    /// shown.
    [[nodiscard]] QList<std::int64_t> curve(std::int64_t nowMs) const;

    void clear() { m_phrases.clear(); }

private:
    struct Phrase {
        std::int64_t shownMs;
        std::array<std::int64_t, delayStages> stageMs;
        std::int64_t totalMs;
    };
    [[nodiscard]] std::vector<Phrase> between(std::int64_t fromMs, std::int64_t toMs) const;
    static Figures figuresOf(const std::vector<Phrase> &phrases);

    std::vector<Phrase> m_phrases; ///< of the run, in their order
};

} // namespace nimbara
