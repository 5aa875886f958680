#pragma once

#include "document/edits.h"
#include "media/sources/media_factory.h"
#include "studio/sources/sources.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace nimbara {

/// A scene on its way to a program, as it was when the operator sent it: its files are opened anew
/// and play from their start, and it is ready once each visible one has its first picture, and the
/// pictures of visible images are decoded.
/// Interface thread only; nothing in it waits.
class PendingTake {
public:
    /// µs; a file that has no picture by then goes on air without.
    static constexpr std::int64_t patienceUs = 1'000'000;

    /// `frame`: of the streams; `canvas`: of the set's program, on which the files are shown.
    /// `transition`: how it goes on air. `nowUs`: the clock's time. Throws `Error` with the
    /// operator's text when a file cannot be opened.
    PendingTake(const MediaFactory &factory,
        FrameSize frame,
        FrameSize canvas,
        const Project &project,
        SceneSet set,
        const Transition &transition,
        std::int64_t nowUs);

    /// Reads the files; true once the scene may go on air. Throws `Error` with the operator's text
    /// when one of them fails before. An image that cannot be decoded keeps nothing waiting.
    bool isReady(std::int64_t nowUs, const PictureShelf &shelf);

    /// The clip of its transition, which plays from now on; none without one, or where it fails:
    /// then `transition` is a cut.
    [[nodiscard]] MediaPtr playClip();

    /// The scene with what its layers show. From now on its layers in the project play the new
    /// files too, unless they were given others meanwhile.
    [[nodiscard]] LiveScene goLive(Sources &sources);

    /// Other verses for its verse layers.
    void amend(const std::vector<SetVerse> &verses) { m_scene = amended(m_scene, verses); }

    [[nodiscard]] SceneSet set() const { return m_set; }
    /// Of the project at the operator's sending.
    [[nodiscard]] const QString &title() const { return m_title; }
    [[nodiscard]] bool band() const { return m_band; }
    [[nodiscard]] const Transition &transition() const { return m_transition; }
    [[nodiscard]] const TransitionClip &clip() const { return m_clip; }
    /// The clip of the transition could not be played.
    [[nodiscard]] bool isWithoutClip() const { return m_isWithoutClip; }

private:
    /// A file that several layers may share.
    struct File {
        Layer layer;
        MediaPtr media;
        bool isAwaited = false;
    };
    [[nodiscard]] File *fileOf(const Layer &layer);
    void openClip(const MediaFactory &factory, FrameSize canvas);
    bool isClipReady(bool play);
    void giveFilesTo(LiveScene &live);

    SceneSet m_set;
    ScenePtr m_scene;
    QString m_title;
    bool m_band;
    Transition m_transition;
    TransitionClip m_clip;
    MediaPtr m_clipMedia;
    bool m_isWithoutClip = false;
    std::int64_t m_sinceUs;
    std::vector<File> m_files;
};

} // namespace nimbara
