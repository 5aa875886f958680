#pragma once

#include "scene/scene.h"

#include <QListWidget>
#include <QWidget>

#include <cstdint>
#include <functional>

class QVBoxLayout;

namespace nimbara {

/// "Escena y fuentes": the scenes of the edited set and the layers of the scene in PREVIEW.
class SceneTab : public QWidget {
    Q_OBJECT
public:
    explicit SceneTab(QWidget *parent = nullptr);

    /// Refills the layer list, front layer first, and marks the selected one.
    void showLayers(const Scene &scene, std::int32_t selected);

Q_SIGNALS:
    /// The operator selected a layer in the list.
    void layerSelected(int index);
    /// The operator checked or unchecked a layer.
    void layerChecked(int index, bool visible);

private:
    QVBoxLayout *makeSceneColumn();
    QVBoxLayout *makePropertiesColumn();
    void itemChanged(const QListWidgetItem *item);

    QListWidget *m_layers;
};

} // namespace nimbara
