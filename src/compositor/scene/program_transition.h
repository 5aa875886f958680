#pragma once

#include "compositor/scene/canvas_pool.h"
#include "document/transition.h"
#include "signal/frame.h"

#include <QImage>

#include <cstdint>
#include <functional>

namespace nimbara {

/// A clip that plays over a cut.
struct PlayingClip {
    std::function<FramePtr()> picture; ///< of this moment, straight alpha; none before the first
    std::function<bool()> isOver;
    std::int64_t cutUs = 0; ///< when the new scene is below it, counted from the start
};

/// The passing of one program from what it shows to the next scene. Times are monotonic
/// microseconds. Interface thread only.
class ProgramTransition {
public:
    /// Sets out from the picture shown last, be it in the middle of another transition; black when
    /// none was. A cut ends the one that runs.
    /// `clip`: of that kind; let go when it is over, or plays for `longestClipUs`.
    void start(const Transition &transition, std::int64_t nowUs, PlayingClip clip = {});
    static constexpr std::int64_t longestClipUs = 10'000'000;

    /// Nothing runs, and nothing was shown.
    void reset();

    [[nodiscard]] bool isRunning() const { return m_isRunning; }
    /// What it comes from is still seen: behind the cut of a clip it is not.
    [[nodiscard]] bool showsOrigin() const { return m_isRunning && !m_isPastCut; }
    /// What the running one comes from looks like this now; until this is told it stands still.
    void comeFrom(const QImage &picture);

    /// The picture that goes out at `nowUs`: `picture`, the program as composed, itself when
    /// nothing runs, else another one. `picture` is in opaque RGBA byte order and is never
    /// modified.
    [[nodiscard]] QImage show(const QImage &picture, std::int64_t nowUs);

private:
    [[nodiscard]] bool goesOn(std::int64_t elapsedUs) const;
    [[nodiscard]] QImage between(const QImage &picture, std::int64_t elapsedUs);
    [[nodiscard]] QImage alike(const QImage &shown, const QImage &picture);

    Transition m_transition;
    PlayingClip m_clip;
    std::int64_t m_startUs = 0;
    bool m_isRunning = false;
    bool m_isPastCut = false; ///< of the clip
    QImage m_from;
    QImage m_shown; ///< last
    CanvasPool m_canvases;
};

} // namespace nimbara
