#pragma once

#include "studio/studio.h"
#include "ui/editor/canvas.h"
#include "ui/editor/control_row.h"
#include "ui/editor/scene_tab.h"
#include "ui/editor/scene_tiles.h"
#include "ui/kit/dialogs.h"
#include "ui/kit/error_guard.h"

#include <QObject>

namespace nimbara {

/// Turns what the operator does in the scene tab, the scene list and on the canvas into edits of
/// the document, and shows what changes there, whoever changed it. A question to the operator names
/// what it is about before it is asked: the answer comes later. Interface thread only.
class SceneEditor : public QObject {
    Q_OBJECT
public:
    struct Views {
        Canvas &canvas;
        SceneTab &tab;
        ControlRow &controls;
        SceneTiles &tiles;
    };

    SceneEditor(Studio &studio, Dialogs &dialogs, const ErrorGuard &guard, Views views);

    /// Shows everything, and selects the rearmost layer of the scene in PREVIEW.
    void showAll();
    void select(LayerId layer);
    void select(const LayerSelection &selection);
    /// Shows the scene at that place of the edited set in PREVIEW, if there is one.
    void showPlace(int place);
    /// A layer has been asked for that may take its time.
    void expectLayer() { m_expectedAt = m_turns; }
    /// Selects the layer that was expected, unless the operator types or has gone on to other work.
    void offer(LayerId layer);
    /// The current one of the selected layers.
    [[nodiscard]] LayerId selected() const { return m_views.canvas.selected(); }
    [[nodiscard]] const LayerSelection &selection() const { return m_views.canvas.selection(); }

    /// The three ways to bring in a file or a stream; each asks the operator. They throw `Error`;
    /// a picture that cannot be decoded is told of later.
    void addImage();
    void addVideo();
    void addNetworkSource();

Q_SIGNALS:
    /// Other layers are selected, or they are other than they were.
    void selectionShown();

private:
    void connectCanvas();
    void connectTab();
    void connectTiles();
    void connectPanel();
    void connectPanelQuestions();
    void connectLogins();
    void connectScreen();
    void connectStyles();
    void connectCountdowns();
    void connectImages();

    void follow(const Change &change);
    void followField(const Layer &layer, LayerField field);
    void keepSelection(const Change &change);
    [[nodiscard]] LayerSelection selectionAfter(const Change &change) const;
    void showSceneList();
    void showSelection();
    void showProperties();

    void addSource(SourceEntry entry);
    void addLayer(LayerKind kind);
    void addSubtitles();
    void askNewScene();
    void addTemplate(SceneTemplate which);
    void askRenameScene();
    void askDeleteScene();
    void fitToFrame(LayerId layer);
    void askColor(LayerId layer, LayerField field, bool withAlpha);
    void askStyle(LayerId layer);
    bool mayKeepStyle(LayerId layer, const QString &name);
    void askImage(LayerId layer);

    [[nodiscard]] Document &document() const { return m_studio.document(); }
    [[nodiscard]] const Scene &scene() const { return *document().currentScene(); }

    Studio &m_studio;
    Dialogs &m_dialogs;
    const ErrorGuard &m_guard;
    Views m_views;
    LayerSelection m_shown; ///< what was last shown as selected
    int m_turns = 0; ///< counts what the operator selects and edits
    int m_expectedAt = 0; ///< the turn that a late layer belongs to
    std::size_t m_place = 0; ///< where the rearmost selected layer stood when it was last seen
};

} // namespace nimbara
