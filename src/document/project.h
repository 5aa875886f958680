#pragma once

#include "base/term.h"
#include "document/profile.h"
#include "document/scene.h"

#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace nimbara {

/// A passage of a service.
struct KeptPassage {
    QString reference; ///< to look it up, "Juan 3:16-18"
    QString words; ///< the first ones of its text

    bool operator==(const KeptPassage &) const = default;
};

/// All that a project file holds, as a plain value without anything live. A copy is cheap and
/// shares the scenes, so that it may be kept, compared and written on any thread.
struct Project {
    static constexpr std::int32_t maxGain = 200;
    static constexpr std::int32_t minVideoKbits = 500;
    static constexpr std::int32_t maxVideoKbits = 20'000;
    static constexpr std::int32_t usualVideoKbits = 6000;
    static constexpr qsizetype maxTitle = 500;
    static constexpr qsizetype maxTerms = 1000;
    static constexpr qsizetype maxTermLength = 200; ///< of each of its texts
    static constexpr std::size_t maxPassages = 500;

    StreamProfile profile = StreamProfile::Landscape;
    SceneSets scenes; ///< neither set is empty after `fromJson` and in the document
    std::array<SceneId, 2> current; ///< of each set: the scene that PREVIEW shows
    bool band = false; ///< the title-band switch
    QString title; ///< the lower-third title; at most 500 characters after reading
    std::int32_t gain = 100; ///< input gain in percent, 0..200
    std::int32_t videoKbits = usualVideoKbits; ///< of streams and recordings, kbit/s
    Terms terms; ///< the glossary; at most 1000 after reading
    std::vector<KeptPassage> passages; ///< of the service, in order; at most `maxPassages`
    std::optional<Layer> verseStyle; ///< the look of new verse layers (`verseStyleOf`)
    Transition transition; ///< of scenes without one of their own
    TransitionClip transitionClip; ///< of those that play one
    bool hallTransitions = false; ///< `transition` is the hall's too; else that cuts

    /// With the very same scenes.
    bool operator==(const Project &) const = default;

    [[nodiscard]] const Scenes &streams() const { return scenes.of(SceneSet::Streams); }
    [[nodiscard]] const Scenes &hall() const { return scenes.of(SceneSet::Hall); }

    /// The place of the set's current scene; the first one when its id is of none.
    [[nodiscard]] std::size_t currentPlace(SceneSet set) const;
    void setCurrentPlace(SceneSet set, std::size_t place);
};

/// Whether the two differ in anything but the scenes that PREVIEW shows: whether there is work to
/// be saved.
bool differ(const Project &a, const Project &b);

/// How the scene goes on air: by a fade where it wants a clip and the project has none.
Transition transitionTo(const Project &project, SceneSet set, const Scene &scene);
/// How the program of the set goes black: by a fade, or a cut where the project cuts.
Transition transitionToBlack(const Project &project, SceneSet set);

/// A project with the default scene in each set.
Project newProject();

} // namespace nimbara
