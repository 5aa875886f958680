#include "ui/editor/scene_editor.h"

#include "base/i18n.h"
#include "document/scene_ops.h"

#include <QTimer>

namespace nimbara {

namespace {

QString label(const char *spanish)
{
    return nimbara_i18n::tr(spanish);
}

QString imageFilter()
{
    return label("Imágenes (*.png *.jpg *.jpeg *.bmp *.webp)");
}

} // namespace

SceneEditor::SceneEditor(Studio &studio, Dialogs &dialogs, const ErrorGuard &guard, Views views)
    : m_studio(studio)
    , m_dialogs(dialogs)
    , m_guard(guard)
    , m_views(views)
{
    connectCanvas();
    connectTab();
    connectProperties();
    connectImages();
}

void SceneEditor::connectCanvas()
{
    Canvas &canvas = m_views.canvas;
    canvas.scene = [this] { return &scene(); };
    canvas.onGeometryChanged = [this] { refreshProps(); };
    canvas.onSelectionChanged = [this] {
        m_views.tab.showLayers(scene(), m_views.canvas.selected());
        refreshProps();
    };
}

void SceneEditor::connectTab()
{
    const SceneTab *tab = &m_views.tab;
    const auto guarded = [this](auto operation) {
        return [this, operation](
                   auto... words) { m_guard.run([&] { (this->*operation)(words...); }); };
    };
    connect(tab, &SceneTab::newScenePressed, this, guarded(&SceneEditor::askNewScene));
    connect(tab, &SceneTab::renameScenePressed, this, guarded(&SceneEditor::askRenameScene));
    connect(tab, &SceneTab::deleteScenePressed, this, guarded(&SceneEditor::askDeleteScene));
    connect(tab, &SceneTab::duplicateScenePressed, this, [this] {
        duplicateScene(m_studio.stage().scenes);
        showScenes(-1);
    });
    connect(tab, &SceneTab::addSourceChosen, this, guarded(&SceneEditor::addSource));
    connect(tab, &SceneTab::moveLayerPressed, this, &SceneEditor::moveSelected);
    connect(tab, &SceneTab::deleteLayerPressed, this, &SceneEditor::deleteSelected);
    connect(tab, &SceneTab::layerSelected, this, &SceneEditor::select);
    connect(tab, &SceneTab::layerChecked, this, [this](int index, bool visible) {
        if (setLayerVisible(scene(), index, visible)) {
            m_views.tab.showLayers(scene(), m_views.canvas.selected());
        }
    });
    connect(&m_views.controls, &ControlRow::sceneChosen, this, [this](int index) {
        SceneSets &scenes = m_studio.stage().scenes;
        scenes.setCurrentIndex(scenes.editing(), index);
        ++m_shape;
        select(-1);
    });
}

void SceneEditor::connectProperties()
{
    PropertiesPanel *panel = m_views.tab.properties();
    panel->layer = [this] { return selectedLayer(); };
    panel->contentSize = [this](const Layer &layer) { return contentSize(layer); };
    panel->profileSize = [this] { return m_studio.stage().streamFrame(); };
    panel->askColor = [this](const QColor &current, bool withAlpha) {
        return m_dialogs.color(current, withAlpha);
    };
    connect(panel, &PropertiesPanel::nameEdited, this, [this] {
        if (const Layer *layer = selectedLayer()) {
            m_views.tab.showLayerName(*layer, m_views.canvas.selected());
        }
    });
    connect(panel, &PropertiesPanel::layerEdited, this, [this] { m_views.canvas.update(); });
    connect(panel, &PropertiesPanel::changeImagePressed, this, [this] {
        m_guard.run([this] { changeImageOfSelected(); });
    });
    connect(panel, &PropertiesPanel::restartVideoPressed, this, [this] {
        m_guard.run([this] { restartVideoOfSelected(); });
    });
}

void SceneEditor::connectImages()
{
    ImageIntake &images = m_studio.images();
    images.onAdded = [this](std::int32_t layer) {
        // Decoding took its time: the operator may have gone on to another layer's text.
        if (m_views.tab.properties()->isTyping()) {
            m_views.tab.showLayers(scene(), m_views.canvas.selected());
        } else {
            showLayer(layer);
        }
    };
    images.onChanged = [this](std::int32_t layer) { showWritten(layer); };
    images.onFailed = [this](const QString &text) {
        // From the frame timer: the box must not hold up the tick that found the failure.
        QTimer::singleShot(0, this, [this, text] { m_guard.tell(text); });
    };
}

Scene &SceneEditor::scene()
{
    return m_studio.stage().scenes.currentScene();
}

Layer *SceneEditor::selectedLayer()
{
    const std::int32_t index = m_views.canvas.selected();
    Scene &current = scene();
    const bool exists = index >= 0 && index < static_cast<std::int32_t>(current.layers.size());
    return exists ? &current.layers[static_cast<std::size_t>(index)] : nullptr;
}

std::optional<FrameSize> SceneEditor::contentSize(const Layer &layer) const
{
    FramePtr frame = layer.image;
    if (layer.kind == LayerKind::Camera) {
        frame = m_studio.sources().cameraFrame();
    } else if (layer.source) {
        frame = layer.source->frame();
    }
    return frame ? std::optional(frame->size()) : std::nullopt;
}

void SceneEditor::showScenes(std::int32_t selected)
{
    ++m_shape;
    SceneSets &scenes = m_studio.stage().scenes;
    static_cast<void>(scenes.currentScene());
    QStringList names;
    for (const Scene &each : scenes.editedScenes()) {
        names << each.name;
    }
    m_views.controls.showScenes(names, scenes.currentIndex(scenes.editing()));
    select(selected);
}

void SceneEditor::select(std::int32_t layer)
{
    m_views.canvas.setSelected(layer);
}

SceneEditor::PanelKey SceneEditor::panelKey()
{
    const SceneSets &scenes = m_studio.stage().scenes;
    return { { scenes.editing(), scenes.currentIndex(scenes.editing()), m_views.canvas.selected() },
        m_shape };
}

void SceneEditor::refreshProps()
{
    const PanelKey key = panelKey();
    if (m_panelKey == key) {
        m_views.tab.properties()->refreshPosition();
        return;
    }
    const bool sameLayer = m_panelKey && m_panelKey->layer == key.layer;
    m_panelKey = key;
    m_views.tab.properties()->rebuild(sameLayer);
}

void SceneEditor::showWritten(std::int32_t layer)
{
    m_views.tab.showLayers(scene(), m_views.canvas.selected());
    if (layer == m_views.canvas.selected()) {
        ++m_shape;
        refreshProps();
    }
}

void SceneEditor::showLayer(std::int32_t layer)
{
    ++m_shape;
    select(layer);
}

void SceneEditor::askNewScene()
{
    SceneSets &scenes = m_studio.stage().scenes;
    const auto name
        = m_dialogs.text(label("Nueva escena"), label("Nombre"), proposedSceneName(scenes));
    if (name && newScene(scenes, *name)) {
        showScenes(-1);
    }
}

void SceneEditor::askRenameScene()
{
    const auto name = m_dialogs.text(label("Renombrar"), label("Nombre"), scene().name);
    if (name && renameScene(m_studio.stage().scenes, *name)) {
        showScenes(m_views.canvas.selected());
    }
}

void SceneEditor::askDeleteScene()
{
    SceneSets &scenes = m_studio.stage().scenes;
    checkSceneDeletable(scenes);
    if (m_dialogs.question(label("Eliminar escena"), deleteSceneQuestion(scenes))) {
        deleteScene(scenes);
        showScenes(-1);
    }
}

void SceneEditor::addSource(SourceEntry entry)
{
    SceneSets &scenes = m_studio.stage().scenes;
    std::int32_t added = -1;
    switch (entry) {
    case SourceEntry::Image:
        addImage();
        return;
    case SourceEntry::Video:
        addVideo();
        return;
    case SourceEntry::Network:
        addNetworkSource();
        return;
    case SourceEntry::Subtitle:
        addSubtitles();
        return;
    case SourceEntry::Screen:
        added = m_studio.layers().addScreenCapture();
        break;
    case SourceEntry::Camera:
        added = scenes.addLayer(newLayer(LayerKind::Camera));
        break;
    case SourceEntry::Text:
        added = scenes.addLayer(newLayer(LayerKind::Text));
        break;
    case SourceEntry::Color:
        added = scenes.addLayer(newLayer(LayerKind::Color));
        break;
    case SourceEntry::Verse:
        added = scenes.addLayer(newLayer(LayerKind::Verse));
        break;
    }
    ++m_shape;
    select(added);
}

void SceneEditor::addSubtitles()
{
    if (hasSubtitle(scene())) {
        m_studio.status(label("Esta escena ya tiene una fuente de subtítulos."));
        return;
    }
    const std::int32_t added = m_studio.stage().scenes.addLayer(newLayer(LayerKind::Subtitle));
    ++m_shape;
    select(added);
}

void SceneEditor::addImage()
{
    const QString path = m_dialogs.openFile(label("Imagen"), QString(), imageFilter());
    if (!path.isEmpty()) {
        m_studio.images().add(path);
    }
}

void SceneEditor::addVideo()
{
    const QString path
        = m_dialogs.openFile(label("Video"), QString(), label("Videos (*.webm *.mp4 *.mov *.mkv)"));
    if (!path.isEmpty()) {
        const std::int32_t added = m_studio.layers().addVideoFile(path);
        ++m_shape;
        select(added);
    }
}

void SceneEditor::addNetworkSource()
{
    const auto location
        = m_dialogs.text(label("Fuente de red"), label("URL HTTP(S) / RTSP / RTMP"), QString());
    if (location) {
        const std::int32_t added = m_studio.layers().addMedia(*location);
        ++m_shape;
        select(added);
    }
}

void SceneEditor::moveSelected(int delta)
{
    const std::int32_t place = moveLayer(scene(), m_views.canvas.selected(), delta);
    ++m_shape;
    select(place);
}

void SceneEditor::deleteSelected()
{
    const std::int32_t next = deleteLayer(scene(), m_views.canvas.selected());
    ++m_shape;
    select(next);
}

void SceneEditor::changeImageOfSelected()
{
    if (selectedLayer() == nullptr) {
        return;
    }
    const QString path = m_dialogs.openFile(label("Imagen"), QString(), imageFilter());
    if (path.isEmpty()) {
        return;
    }
    m_studio.images().change(m_views.canvas.selected(), path);
}

void SceneEditor::restartVideoOfSelected()
{
    if (Layer *layer = selectedLayer()) {
        const Stage &stage = m_studio.stage();
        layer->source = m_studio.mediaFactory().media(stage.streamFrame(), layer->uri);
    }
}

} // namespace nimbara
