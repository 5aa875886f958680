#pragma once

#include "compositor/scene/program_transition.h"
#include "document/scene.h"

#include <QImage>
#include <QString>

#include <array>
#include <cstdint>
#include <utility>

namespace nimbara {

/// What is on air: the stream program with its title, the hall program, and how each passes from
/// one scene to the next. A program holds the scene as it was at TAKE: no edit reaches it.
///
/// Times are monotonic microseconds. Interface thread only.
class ProgramState {
public:
    /// None while it is black.
    [[nodiscard]] const ScenePtr &streams() const { return m_streams; }
    [[nodiscard]] const QString &title() const { return m_title; }
    [[nodiscard]] bool band() const { return m_band; }
    [[nodiscard]] const ScenePtr &hall() const { return m_hall; }

    /// A transition runs.
    [[nodiscard]] bool isChanging(SceneSet set) const { return changeOf(set).isRunning(); }
    /// What the transition comes from is still seen.
    [[nodiscard]] bool showsOrigin(SceneSet set) const { return changeOf(set).showsOrigin(); }
    /// What went with the stream scene that a transition comes from.
    [[nodiscard]] const QString &leftTitle() const { return m_leftTitle; }
    [[nodiscard]] bool leftBand() const { return m_leftBand; }
    /// The scene that the transition comes from, composed anew (`ProgramTransition::comeFrom`).
    void comeFrom(SceneSet set, const QImage &picture)
    {
        m_changes.at(static_cast<std::size_t>(set)).comeFrom(picture);
    }

    [[nodiscard]] bool fadeEnabled() const { return m_fadeEnabled; }
    /// Off: whatever transition is asked for, it is a cut. Counts from the next TAKE or OFF AIR on;
    /// what runs goes on.
    void setFadeEnabled(bool enabled) { m_fadeEnabled = enabled; }

    /// TAKE of the streams.
    void takeStreams(ScenePtr scene,
        QString title,
        bool band,
        const Transition &transition,
        std::int64_t nowUs,
        PlayingClip clip = {});

    /// OFF AIR of the streams: black and no title.
    void offAirStreams(const Transition &transition, std::int64_t nowUs);

    /// TAKE of the hall; OFF AIR with none.
    void takeHall(ScenePtr scene,
        const Transition &transition,
        std::int64_t nowUs,
        PlayingClip clip = {});

    /// Shows a scene in place of the one on air, at once; a transition that runs goes on.
    void amendStreams(ScenePtr scene) { m_streams = std::move(scene); }
    void amendHall(ScenePtr scene) { m_hall = std::move(scene); }

    /// The stream program black at once, no title and no transition: the stream profile changed.
    void clearStreams();

    /// The same of both programs: a project was opened.
    void clear();

    /// The pictures that go out at `nowUs` (`ProgramTransition`) of the programs as composed.
    [[nodiscard]] QImage showStreams(const QImage &picture, std::int64_t nowUs)
    {
        return m_changes[0].show(picture, nowUs);
    }
    [[nodiscard]] QImage showHall(const QImage &picture, std::int64_t nowUs)
    {
        return m_changes[1].show(picture, nowUs);
    }

private:
    [[nodiscard]] const ProgramTransition &changeOf(SceneSet set) const
    {
        return m_changes.at(static_cast<std::size_t>(set));
    }

    ScenePtr m_streams;
    QString m_title;
    bool m_band = false;
    QString m_leftTitle;
    bool m_leftBand = false;
    ScenePtr m_hall;
    bool m_fadeEnabled = true;
    std::array<ProgramTransition, 2> m_changes; ///< of the streams, of the hall
};

} // namespace nimbara
