#pragma once

#include "base/report.h"
#include "studio/edit/stage.h"
#include "studio/programs/pending_take.h"
#include "studio/sources/on_air.h"

#include <array>
#include <optional>
#include <vector>

namespace nimbara {

/// What sends PREVIEW to the programs. Interface thread only.
class ProgramControl {
public:
    ProgramControl(const Clock &clock,
        const MediaFactory &factory,
        Sources &sources,
        Stage &stage,
        OnAir &onAir,
        Report status);

    /// Which set PREVIEW shows and TAKE and OFF AIR act on: 0 streams, anything else the hall.
    void setEditSet(std::int32_t index);

    /// Gives the edited set's current scene to its program, as it is now: at once, or with the
    /// first picture of each file in it, while the program runs on (`PendingTake`). Files play from
    /// their start. When one fails before, that is told and both programs stay as they are. A later
    /// `take` or `offAir` of the same set takes its place. It goes on air as the scene, or the
    /// project, wants (`transitionTo`) from what is seen at that moment.
    void take();

    /// Sends the edited set's program to black (`transitionToBlack`).
    void offAir();

    /// Changes verse layers of what is on air, or on its way there, in both programs at once and
    /// without a fade.
    void amend(const std::vector<SetVerse> &verses);

    /// A scene of the set waits for its files.
    [[nodiscard]] bool isWaiting(SceneSet set) { return pending(set).has_value(); }
    /// What waits to go on air does not.
    void callOff(SceneSet set) { pending(set).reset(); }

    /// The clip of a transition that runs in the set's program; none at other times.
    [[nodiscard]] MediaPtr clip(SceneSet set) const
    {
        return m_clips.at(static_cast<std::size_t>(set)).lock();
    }

    /// Lets what is ready go on air. Call on every run of the frame clock.
    void poll();

private:
    [[nodiscard]] std::optional<PendingTake> &pending(SceneSet set)
    {
        return m_pending[set == SceneSet::Hall ? 1 : 0];
    }
    void advance(std::optional<PendingTake> &take);
    void goOnAir(PendingTake &take);
    void replace(SceneSet set, LiveScene live, bool wasChanging);
    [[nodiscard]] PlayingClip playClip(PendingTake &take);

    const Clock &m_clock;
    const MediaFactory &m_factory;
    Sources &m_sources;
    Stage &m_stage;
    OnAir &m_onAir;
    Report m_status;
    std::array<std::optional<PendingTake>, 2> m_pending; ///< of the streams, of the hall
    std::array<std::weak_ptr<Media>, 2> m_clips; ///< of transitions that run
};

} // namespace nimbara
