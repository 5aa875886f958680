#pragma once

#include <QString>

#include <cstdint>
#include <optional>

namespace nimbara {

/// How the picture of one scene gives way to the next one's. Left, right, up and down tell where
/// what moves moves to.
enum class TransitionKind : std::int32_t {
    Cut,
    Fade,
    SlideLeft, ///< the new picture pushes the old one out of the frame
    SlideRight,
    SlideUp,
    SlideDown,
    WipeLeft, ///< both stand still, and the edge between them passes over the frame
    WipeRight,
    WipeUp,
    WipeDown,
    Clip, ///< a clip with transparency plays over a cut (`TransitionClip`)
};
inline constexpr std::int32_t transitionKinds = 11;

/// A transition with its length.
struct Transition {
    static constexpr std::int32_t shortestMs = 100;
    static constexpr std::int32_t longestMs = 3000;
    static constexpr std::int32_t usualMs = 400;

    TransitionKind kind = TransitionKind::Fade;
    std::int32_t ms = usualMs; ///< means nothing for a cut and a clip

    bool operator==(const Transition &) const = default;
};
inline constexpr Transition plainCut { TransitionKind::Cut, Transition::usualMs };

/// The clip that plays over a cut.
struct TransitionClip {
    static constexpr std::int32_t latestCutMs = 5000;
    static constexpr std::int32_t usualCutMs = 500;

    QString path; ///< of a local file, absolute; empty: none
    std::int32_t cutMs = usualCutMs; ///< when the new scene is below it, counted from its start

    bool operator==(const TransitionClip &) const = default;
};

/// The same with its time brought into range.
Transition withinRange(const Transition &transition);
TransitionClip withinRange(const TransitionClip &clip);

/// The word of project files ("slide-left"), and back; none for an unknown word.
QString wordOfTransition(TransitionKind kind);
std::optional<TransitionKind> transitionFromWord(const QString &word);

} // namespace nimbara
