#pragma once

#include "document/scene.h"
#include "document/scene_templates.h"
#include "ui/editor/layer_list.h"
#include "ui/editor/properties_panel.h"
#include "ui/editor/verse_field.h"
#include "ui/kit/share_splitter.h"

#include <QString>
#include <QWidget>

#include <cstdint>
#include <map>
#include <vector>

class QAction;
class QHBoxLayout;
class QMenu;
class QPushButton;

namespace nimbara {

/// What the menu of "+ Fuente" adds, in its order.
enum class SourceEntry : std::int32_t {
    Camera,
    Image,
    Text,
    Video,
    Network,
    Screen,
    Color,
    Subtitle,
    Verse,
    Clock,
};

/// "Escena y fuentes": the scenes of the edited set, the layers of the scene in PREVIEW and the
/// properties of the selected one.
class SceneTab : public QWidget {
    Q_OBJECT
public:
    explicit SceneTab(QWidget *parent = nullptr);

    /// Writes the layer list anew, front layer first, and marks the selected ones.
    void showLayers(const Scene &scene, const LayerSelection &selected);
    /// Writes one layer's entry anew.
    void showLayer(const Layer &layer);
    /// Marks the layers that others see now, also in the lists to come.
    void showOnAir(std::vector<LayerId> layers, const Scene &scene);
    /// Marks the layers that something is amiss with, and tells what in their tool tips.
    void showTroubles(std::map<LayerId, QString> troubles, const Scene &scene);
    [[nodiscard]] LayerList *layerList() const { return m_layers; }
    [[nodiscard]] VerseField *verseField() const { return m_verse; }
    /// Opens the menu of scenes to start from.
    [[nodiscard]] QPushButton *templatesButton() const { return m_templates; }
    [[nodiscard]] QPushButton *passagesButton() const { return m_passages; }
    [[nodiscard]] PropertiesPanel *properties() const { return m_properties; }
    /// Between the list and the properties.
    [[nodiscard]] ShareSplitter *splitter() const { return m_splitter; }

    /// Why the screen cannot be captured; the menu says so. Empty: it can.
    void showScreenTrouble(const QString &reason);

Q_SIGNALS:
    void newScenePressed();
    /// A scene is wanted that starts from the template.
    void templateChosen(nimbara::SceneTemplate which);
    void renameScenePressed();
    void duplicateScenePressed();
    void deleteScenePressed();
    void addSourceChosen(nimbara::SourceEntry entry);
    void moveLayerPressed(int delta);
    void deleteLayerPressed();
    void verseRequested(const QString &reference);
    /// The list of the service's passages is wanted.
    void passagesPressed();
    /// A page of the verse on (1) or back (−1).
    void pageStepped(int step);
    /// The operator checked or unchecked a layer.
    void layerChecked(nimbara::LayerId layer, bool visible);

private:
    QWidget *makeSceneColumn();
    QHBoxLayout *makeHeading();
    QMenu *makeSourceMenu();
    QMenu *makeTemplateMenu();
    void connectList();

    void write(QListWidgetItem &item, const Layer &layer) const;

    LayerList *m_layers;
    std::vector<LayerId> m_onAir;
    std::map<LayerId, QString> m_troubles;
    VerseField *m_verse;
    QPushButton *m_passages = nullptr;
    QAction *m_screenEntry = nullptr; ///< of the menu of sources
    QPushButton *m_templates = nullptr;
    PropertiesPanel *m_properties;
    ShareSplitter *m_splitter;
};

} // namespace nimbara
