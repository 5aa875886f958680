#pragma once

#include "compositor/scene/canvas_pool.h"
#include "document/scene.h"

#include <QImage>
#include <QString>

#include <cstdint>
#include <utility>

namespace nimbara {

/// What is on air: the stream program with its title, the hall program, and the stream's fade. A
/// program holds the scene as it was at TAKE: no edit reaches it.
///
/// Times are monotonic microseconds. Interface thread only.
class ProgramState {
public:
    static constexpr std::int64_t fadeUs = 400'000;

    /// None while it is black.
    [[nodiscard]] const ScenePtr &streams() const { return m_streams; }
    [[nodiscard]] const QString &title() const { return m_title; }
    [[nodiscard]] bool band() const { return m_band; }
    [[nodiscard]] const ScenePtr &hall() const { return m_hall; }

    [[nodiscard]] bool fadeEnabled() const { return m_fadeEnabled; }
    /// Counts from the next TAKE or OFF AIR on; a running fade goes on.
    void setFadeEnabled(bool enabled) { m_fadeEnabled = enabled; }
    /// 0..1; 1 when no fade runs.
    [[nodiscard]] double fadeProgress() const { return m_fadeProgress; }

    /// TAKE of the streams. `onAir`: the old stream program composed now, without a running fade's
    /// overlay; the new one fades in over it, or cuts when the fade is disabled.
    void
    takeStreams(ScenePtr scene, QString title, bool band, const QImage &onAir, std::int64_t nowUs);

    /// OFF AIR of the streams: black and no title, with the same fade.
    void offAirStreams(const QImage &onAir, std::int64_t nowUs);

    /// TAKE of the hall: a cut.
    void takeHall(ScenePtr scene);

    /// OFF AIR of the hall: a cut to black.
    void offAirHall();

    /// Shows a scene in place of the one on air, without a fade; a running one goes on.
    void amendStreams(ScenePtr scene) { m_streams = std::move(scene); }
    void amendHall(ScenePtr scene) { m_hall = std::move(scene); }

    /// The stream program black at once, no title and no fade: the stream profile changed.
    void clearStreams();

    /// The same of both programs: a project was opened.
    void clear();

    /// The picture that goes out at `nowUs`: `picture`, the new stream program, itself when no fade
    /// runs, else another picture with what was on air over it. `picture` is never modified.
    [[nodiscard]] QImage fade(const QImage &picture, std::int64_t nowUs);

private:
    void startFade(const QImage &onAir, std::int64_t nowUs);

    ScenePtr m_streams;
    QString m_title;
    bool m_band = false;
    ScenePtr m_hall;
    bool m_fadeEnabled = true;
    double m_fadeProgress = 1;
    std::int64_t m_fadeStart = 0;
    QImage m_fadePicture;
    CanvasPool m_canvases;
};

} // namespace nimbara
