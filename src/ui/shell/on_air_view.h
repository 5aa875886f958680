#pragma once

#include "studio/studio.h"

#include <QElapsedTimer>
#include <QObject>

class QWidget;

namespace nimbara {

class ControlRow;
class Monitors;
class ProjectRow;
class SceneTab;
class SceneTiles;

/// Shows what others see and hear right now, wherever the operator looks: on the monitors, in the
/// lists of scenes and layers, in the window's title and icon, and for how long it has gone on.
/// Interface thread only.
class OnAirView : public QObject {
    Q_OBJECT
public:
    struct Views {
        Monitors &monitors;
        SceneTab &tab;
        SceneTiles &tiles;
        ControlRow &controls;
        ProjectRow &project;
    };

    OnAirView(Studio &studio, QWidget &window, Views views);

    /// Call on every frame; it costs next to nothing while nothing changes.
    void follow();
    /// Call when an output started, stopped or was lost.
    void followOutputs();
    /// Call once a second.
    void showTime();

private:
    void followDocument(const Change &change);
    void markScenes();
    void markLayers();
    [[nodiscard]] bool isOnAir() const;

    Studio &m_studio;
    QWidget &m_window;
    Views m_views;
    ScenePtr m_streams; ///< as shown
    ScenePtr m_hall;
    QString m_outputs; ///< as the title tells them
    QElapsedTimer m_service; ///< since something went on air; invalid while nothing is
};

} // namespace nimbara
