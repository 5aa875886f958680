#include "document/transition.h"

#include <algorithm>
#include <array>

namespace nimbara {

namespace {

constexpr std::array<const char *, transitionKinds> words { "cut",
    "fade",
    "slide-left",
    "slide-right",
    "slide-up",
    "slide-down",
    "wipe-left",
    "wipe-right",
    "wipe-up",
    "wipe-down",
    "clip" };

} // namespace

Transition withinRange(const Transition &transition)
{
    return { transition.kind,
        std::clamp(transition.ms, Transition::shortestMs, Transition::longestMs) };
}

TransitionClip withinRange(const TransitionClip &clip)
{
    return { clip.path, std::clamp(clip.cutMs, 0, TransitionClip::latestCutMs) };
}

QString wordOfTransition(TransitionKind kind)
{
    return QString::fromLatin1(words.at(static_cast<std::size_t>(kind)));
}

std::optional<TransitionKind> transitionFromWord(const QString &word)
{
    const auto found = std::find_if(words.begin(), words.end(), [&word](const char *each) {
        return word == QLatin1String(each);
    });
    return found == words.end() ? std::nullopt
                                : std::optional(static_cast<TransitionKind>(found - words.begin()));
}

} // namespace nimbara
