#pragma once

#include "studio/studio.h"
#include "ui/editor/canvas.h"
#include "ui/editor/control_row.h"
#include "ui/editor/scene_tab.h"
#include "ui/kit/dialogs.h"
#include "ui/kit/error_guard.h"

#include <QObject>

#include <cstdint>
#include <tuple>

namespace nimbara {

/// Turns what the operator does in the scene tab, the scene list and on the canvas into scene
/// operations, and shows the result in all three. Interface thread only.
class SceneEditor : public QObject {
    Q_OBJECT
public:
    struct Views {
        Canvas &canvas;
        SceneTab &tab;
        ControlRow &controls;
    };

    SceneEditor(Studio &studio, Dialogs &dialogs, const ErrorGuard &guard, Views views);

    /// Shows the scenes of the edited set and the layers of the current one, and selects a layer.
    void showScenes(std::int32_t selected);
    /// Brings the properties up to date: built anew for another layer, else only its position.
    void refreshProps();
    /// A layer was written from elsewhere: shows the layer list anew, and the properties when they
    /// are that layer's. Typing into another layer's goes on.
    void showWritten(std::int32_t layer);
    /// Selects a layer that was added or found elsewhere.
    void showLayer(std::int32_t layer);
    /// The selected layer's index, or none (-1).
    [[nodiscard]] std::int32_t selected() const { return m_views.canvas.selected(); }

    /// The three ways to bring in a file or a stream; each asks the operator. They throw `Error`;
    /// a picture that cannot be decoded is told of later.
    void addImage();
    void addVideo();
    void addNetworkSource();

private:
    void connectTab();
    void connectProperties();
    void connectCanvas();
    void addSource(SourceEntry entry);
    void addSubtitles();
    void askNewScene();
    void askRenameScene();
    void askDeleteScene();
    void moveSelected(int delta);
    void deleteSelected();
    void changeImageOfSelected();
    void connectImages();
    void restartVideoOfSelected();
    void select(std::int32_t layer);
    [[nodiscard]] Scene &scene();
    [[nodiscard]] Layer *selectedLayer();
    [[nodiscard]] std::optional<FrameSize> contentSize(const Layer &layer) const;

    /// What the panel was built for: set, scene and layer, and how often the scene had changed its
    /// shape by then.
    struct PanelKey {
        std::tuple<SceneSet, std::int32_t, std::int32_t> layer;
        std::uint64_t shape;
        bool operator==(const PanelKey &) const = default;
    };
    [[nodiscard]] PanelKey panelKey();

    Studio &m_studio;
    Dialogs &m_dialogs;
    const ErrorGuard &m_guard;
    Views m_views;
    std::uint64_t m_shape = 0; ///< grows whenever layers or scenes come, go or change places
    std::optional<PanelKey> m_panelKey;
};

} // namespace nimbara
