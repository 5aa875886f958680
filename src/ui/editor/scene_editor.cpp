#include "ui/editor/scene_editor.h"

#include "base/i18n.h"
#include "document/layer_geometry.h"

#include <QTimer>

#include <algorithm>
#include <utility>

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
    connectTiles();
    connectPanel();
    connectPanelQuestions();
    connectLogins();
    connectScreen();
    connectStyles();
    connectCountdowns();
    connectImages();
    connect(&document(), &Document::changed, this, &SceneEditor::follow);
}

void SceneEditor::connectCanvas()
{
    Canvas &canvas = m_views.canvas;
    canvas.scene = [this] { return document().currentScene(); };
    canvas.outputSize = [this] { return m_studio.stage().previewFrame(); };
    connect(&canvas, &Canvas::placed, this, [this](const Placements &placements) {
        ++m_turns;
        std::vector<Edit> edits;
        for (const auto &[layer, box] : placements) {
            edits.emplace_back(SetField { layer, LayerField::Box, box });
        }
        document().apply(edits, edits.size() > 1 ? "Mover fuentes" : nullptr);
    });
    connect(&canvas, &Canvas::dragBegan, this, [this] { document().beginGesture(); });
    connect(&canvas, &Canvas::dragEnded, this, [this] { document().endGesture(); });
    connect(&canvas, &Canvas::selectionChanged, this, &SceneEditor::showSelection);
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
    connect(tab, &SceneTab::templateChosen, this, &SceneEditor::addTemplate);
    connect(tab, &SceneTab::duplicateScenePressed, this, [this] {
        document().apply(DuplicateScene { scene().id });
    });
    connect(tab, &SceneTab::addSourceChosen, this, guarded(&SceneEditor::addSource));
    connect(tab->layerList(), &LayerList::chosen, this, [this](const LayerSelection &chosen) {
        select(chosen);
    });
    connect(tab, &SceneTab::layerChecked, this, [this](LayerId layer, bool visible) {
        document().apply(setAll(selection().withAll(layer), LayerField::Visible, visible));
    });
    connect(&m_views.controls, &ControlRow::sceneChosen, this, &SceneEditor::showPlace);
}

void SceneEditor::connectTiles()
{
    const SceneTiles *tiles = &m_views.tiles;
    connect(tiles, &SceneTiles::chosen, this, [this](SceneId scene) {
        document().showScene(scene);
    });
    connect(tiles, &SceneTiles::taken, this, [this](SceneId scene) {
        document().showScene(scene);
        m_studio.program().take();
    });
    connect(tiles, &SceneTiles::moved, this, [this](SceneId scene, int place) {
        document().apply(MoveScene { scene, place });
    });
    connect(tiles, &SceneTiles::renamed, this, [this](SceneId scene, const QString &name) {
        document().apply(RenameScene { scene, name });
    });
    ScenePictures *pictures = &m_studio.scenePictures();
    connect(tiles, &SceneTiles::shownChanged, pictures, &ScenePictures::setShown);
    connect(pictures, &ScenePictures::made, tiles, &SceneTiles::showPicture);
}

void SceneEditor::showPlace(int place)
{
    const Scenes &scenes = document().editedScenes();
    if (static_cast<std::size_t>(place) < scenes.size()) {
        document().showScene(scenes[static_cast<std::size_t>(place)]->id);
    }
}

void SceneEditor::connectPanel()
{
    PropertiesPanel *panel = m_views.tab.properties();
    panel->layerOf = [this](LayerId layer) { return findLayer(document().scenes(), layer); };
    connect(panel,
        &PropertiesPanel::edited,
        this,
        [this](LayerId layer, LayerField field, const FieldValue &value) {
            ++m_turns;
            document().apply(SetField { layer, field, value });
        });
    FieldTrial &trial = m_studio.stage().trial;
    connect(panel,
        &PropertiesPanel::tried,
        this,
        [&trial](LayerId layer, LayerField field, const FieldValue &value) {
            trial.show({ layer, field, value });
        });
    connect(panel, &PropertiesPanel::trialEnded, this, [&trial] { trial.end(); });
    connect(panel, &PropertiesPanel::rideBegan, this, [this] { document().beginGesture(); });
    connect(panel, &PropertiesPanel::rideEnded, this, [this] { document().endGesture(); });
    connect(panel, &PropertiesPanel::fitPressed, this, &SceneEditor::fitToFrame);
    connect(panel, &PropertiesPanel::restartVideoPressed, this, [this](LayerId layer) {
        m_guard.run([&] { m_studio.layers().restart(layer); });
    });
    VerseDesk &verses = m_studio.verses();
    connect(panel, &PropertiesPanel::waitingWanted, &verses, &VerseDesk::useWaiting);
    connect(&verses, &VerseDesk::waitingChanged, panel, [&verses, panel](LayerId layer) {
        panel->showWaiting(layer, verses.hasWaiting(layer));
    });
}

/// Not from the frame clock's own run, which comes upon the refusal.
void SceneEditor::connectLogins()
{
    LoginDesk &logins = m_studio.sources().logins();
    const auto ask = [this, &logins](const LoginQuestion &question) {
        const QString text = label(question.isRepeated ? "No se aceptó la contraseña para %1."
                                                       : "%1 pide usuario y contraseña.")
                                 .arg(question.place);
        m_dialogs.login(label("Fuente de red"),
            text,
            question.hasUser ? std::optional(question.user) : std::nullopt,
            [&logins, location = question.location](const std::optional<Login> &login) {
                if (login) {
                    logins.answer(location, *login);
                } else {
                    logins.decline(location);
                }
            });
    };
    connect(&logins, &LoginDesk::wanted, this, ask, Qt::QueuedConnection);
}

void SceneEditor::connectScreen()
{
    ScreenPortal &screen = m_studio.sources().screen();
    connect(m_views.tab.properties(),
        &PropertiesPanel::chooseScreenPressed,
        &screen,
        &ScreenPortal::choose);
    const auto tell
        = [this, &screen] { m_views.tab.showScreenTrouble(nimbara_i18n::tr(screen.trouble())); };
    connect(&screen, &ScreenPortal::troubleChanged, this, tell);
    tell();
}

/// What asks the operator waits until the control's own signal is over: a box runs the event loop,
/// and the control may be gone when the answer comes.
void SceneEditor::connectPanelQuestions()
{
    const PropertiesPanel *panel = m_views.tab.properties();
    connect(panel,
        &PropertiesPanel::colorWanted,
        this,
        &SceneEditor::askColor,
        Qt::QueuedConnection);
    connect(
        panel,
        &PropertiesPanel::changeImagePressed,
        this,
        [this](LayerId layer) { m_guard.run([&] { askImage(layer); }); },
        Qt::QueuedConnection);
}

void SceneEditor::connectStyles()
{
    PropertiesPanel *panel = m_views.tab.properties();
    panel->styleNames = [this] {
        QStringList names;
        for (const TextStyle &style : document().scenes().styles) {
            names << style.name;
        }
        return names;
    };
    connect(panel, &PropertiesPanel::styleChosen, this, [this](LayerId layer, const QString &name) {
        document().apply(FollowStyle { layer, name });
    });
    connect(
        panel,
        &PropertiesPanel::styleKeepWanted,
        this,
        [this](LayerId layer) { m_guard.run([&] { askStyle(layer); }); },
        Qt::QueuedConnection);
    connect(panel, &PropertiesPanel::styleRemoved, this, [this](const QString &name) {
        document().apply(RemoveStyle { name });
        showProperties();
    });
}

void SceneEditor::connectCountdowns()
{
    PropertiesPanel *panel = m_views.tab.properties();
    Countdowns &countdowns = m_studio.stage().countdowns;
    panel->isRunning = [&countdowns](const Layer &layer) { return countdowns.isRunning(layer); };
    const auto change = [this, panel](LayerId id, auto step) {
        if (const Layer *layer = findLayer(document().scenes(), id)) {
            step(*layer);
            panel->refresh(*layer);
        }
    };
    connect(panel, &PropertiesPanel::countdownToggled, this, [change, &countdowns](LayerId id) {
        change(id, [&countdowns](const Layer &layer) { countdowns.toggle(layer); });
    });
    connect(panel, &PropertiesPanel::countdownReset, this, [change, &countdowns](LayerId id) {
        change(id, [&countdowns](const Layer &layer) { countdowns.reset(layer.source); });
    });
    connect(&m_studio, &Studio::healthMeasured, this, [this, panel] { // it may have run out
        const Layer *layer = findLayer(scene(), selected());
        if (layer != nullptr && layer->kind == LayerKind::Clock) {
            panel->refresh(*layer);
        }
    });
}

void SceneEditor::connectImages()
{
    connect(&m_studio.images(), &ImageIntake::added, this, &SceneEditor::offer);
    connect(&m_studio.images(), &ImageIntake::failed, this, [this](const Message &text) {
        m_guard.tell(text);
    });
}

void SceneEditor::follow(const Change &change)
{
    if (change.field && !change.undone) {
        for (const Layer &layer : layersOf(scene(), change.all)) {
            followField(layer, *change.field);
        }
        return;
    }
    if (change.everything) {
        showAll();
        return;
    }
    if (change.scenes || change.current) {
        showSceneList();
    }
    if (change.scenes || change.current || change.layers) {
        keepSelection(change);
        return;
    }
    if (const Layer *layer
        = findLayer(scene(), change.layer)) { // a verse or a picture was written into it
        m_views.tab.showLayer(*layer);
        m_views.tab.properties()->refresh(*layer);
    }
    m_views.canvas.update();
}

/// One field: the cheap case, on every step of a drag.
void SceneEditor::followField(const Layer &layer, LayerField field)
{
    if (field == LayerField::Name || field == LayerField::Visible || field == LayerField::Locked) {
        m_views.tab.showLayer(layer);
        Q_EMIT selectionShown();
    }
    m_views.tab.properties()->refresh(layer);
    m_views.canvas.update();
}

void SceneEditor::keepSelection(const Change &change)
{
    select(selectionAfter(change));
}

/// What an undone step was about, the selected layers that are still there, or the one that stands
/// in their place now. Another scene begins without a selection.
LayerSelection SceneEditor::selectionAfter(const Change &change) const
{
    LayerSelection about = LayerSelection(change.all).in(scene());
    if (change.undone && about.size() > 0) {
        return about;
    }
    const LayerSelection left = selection().in(scene());
    const std::vector<Layer> &layers = scene().layers;
    const bool isDeleted = selection().size() > 0 && left.size() == 0 && change.layers
        && !change.current && !layers.empty();
    return isDeleted ? LayerSelection(layers[std::min(m_place, layers.size() - 1)].id) : left;
}

void SceneEditor::showAll()
{
    showSceneList();
    const std::vector<Layer> &layers = scene().layers;
    select(layers.empty() ? LayerId() : layers.front().id);
}

void SceneEditor::showSceneList()
{
    QStringList names;
    for (const ScenePtr &each : document().editedScenes()) {
        names << each->name;
    }
    m_views.controls.showScenes(names,
        static_cast<int>(document().project().currentPlace(document().editing())));
    m_views.tiles.showScenes(document().editedScenes(), scene().id);
}

void SceneEditor::select(LayerId layer)
{
    m_views.canvas.setSelected(layer);
}

void SceneEditor::select(const LayerSelection &selection)
{
    m_views.canvas.setSelection(selection);
}

void SceneEditor::offer(LayerId layer)
{
    if (!m_views.tab.properties()->isTyping() && m_turns == m_expectedAt) {
        select(layer);
        expectLayer(); // the next one
    }
}

void SceneEditor::showSelection()
{
    m_turns += std::exchange(m_shown, selection()) == selection() ? 0 : 1;
    const std::vector<Layer> &layers = scene().layers;
    const auto rearmost = std::find_if(layers.begin(), layers.end(), [this](const Layer &layer) {
        return selection().contains(layer.id);
    });
    if (rearmost != layers.end()) {
        m_place = static_cast<std::size_t>(rearmost - layers.begin());
    }
    m_views.tab.showLayers(scene(), selection());
    showProperties();
    Q_EMIT selectionShown();
}

void SceneEditor::showProperties()
{
    PropertiesPanel *panel = m_views.tab.properties();
    if (selection().size() > 1) {
        panel->showMany(static_cast<int>(selection().size()));
        return;
    }
    const Layer *layer = findLayer(scene(), selected());
    panel->showLayer(layer);
    if (layer != nullptr) {
        panel->showWaiting(layer->id, m_studio.verses().hasWaiting(layer->id));
    }
}

void SceneEditor::askNewScene()
{
    const SceneSet set = document().editing();
    const auto name = m_dialogs.text(label("Nueva escena"),
        label("Nombre"),
        proposedSceneName(document().scenes(), set));
    if (!name || name->trimmed().isEmpty()) {
        return;
    }
    Scene made = defaultScene(set == SceneSet::Hall);
    made.name = name->trimmed();
    document().apply(AddScene { set, std::move(made) });
}

void SceneEditor::addTemplate(SceneTemplate which)
{
    const SceneSet set = document().editing();
    document().apply(AddScene { set,
        templateScene(which,
            document().scenes(),
            set,
            m_studio.stage().previewFrame(),
            document().project().verseStyle) });
}

void SceneEditor::askRenameScene()
{
    const SceneId asked = scene().id;
    if (const auto name = m_dialogs.text(label("Renombrar"), label("Nombre"), scene().name)) {
        document().apply(RenameScene { asked, *name });
    }
}

void SceneEditor::askDeleteScene()
{
    const SceneId asked = scene().id;
    checkDeletable(document().scenes(), asked);
    const QString question = label("¿Eliminar la escena") + QStringLiteral(" \"") + scene().name
        + QStringLiteral("\"?");
    if (m_dialogs.question(label("Eliminar escena"), question)) {
        document().apply(DeleteScene { asked });
    }
}

void SceneEditor::addSource(SourceEntry entry)
{
    switch (entry) {
    case SourceEntry::Image:
        return addImage();
    case SourceEntry::Video:
        return addVideo();
    case SourceEntry::Network:
        return addNetworkSource();
    case SourceEntry::Subtitle:
        return addSubtitles();
    case SourceEntry::Screen:
        return select(m_studio.layers().addScreenCapture());
    case SourceEntry::Camera:
        return addLayer(LayerKind::Camera);
    case SourceEntry::Text:
        return addLayer(LayerKind::Text);
    case SourceEntry::Color:
        return addLayer(LayerKind::Color);
    case SourceEntry::Verse:
        return addLayer(LayerKind::Verse);
    case SourceEntry::Clock:
        return addLayer(LayerKind::Clock);
    }
}

void SceneEditor::addLayer(LayerKind kind)
{
    Layer layer = kind == LayerKind::Verse ? document().newVerseLayer() : newLayer(kind);
    const LayerId id = layer.id;
    document().apply(AddLayer { scene().id, std::move(layer) });
    select(id);
}

void SceneEditor::addSubtitles()
{
    if (hasSubtitle(scene())) {
        m_studio.status("Esta escena ya tiene una fuente de subtítulos.");
        return;
    }
    addLayer(LayerKind::Subtitle);
}

void SceneEditor::addImage()
{
    const SceneId asked = scene().id;
    const QString path = m_dialogs.openFile(label("Imagen"), QString(), imageFilter());
    if (!path.isEmpty()) {
        expectLayer();
        m_studio.images().add(asked, path);
    }
}

void SceneEditor::addVideo()
{
    const QString path
        = m_dialogs.openFile(label("Video"), QString(), label("Videos (*.webm *.mp4 *.mov *.mkv)"));
    if (!path.isEmpty()) {
        select(m_studio.layers().addVideoFile(path));
    }
}

void SceneEditor::addNetworkSource()
{
    const auto location
        = m_dialogs.text(label("Fuente de red"), label("URL HTTP(S) / RTSP / RTMP"), QString());
    if (location) {
        select(m_studio.layers().addMedia(*location));
    }
}

void SceneEditor::fitToFrame(LayerId id)
{
    if (const Layer *layer = findLayer(document().scenes(), id)) {
        const Box box = fittedBox(layer->kind,
            m_studio.sources().contentSize(*layer),
            m_studio.stage().previewFrame());
        document().apply(SetField { id, LayerField::Box, box });
    }
}

void SceneEditor::askColor(LayerId id, LayerField field, bool withAlpha)
{
    const Layer *layer = findLayer(document().scenes(), id);
    if (layer == nullptr) {
        return;
    }
    const auto current = std::get<QColor>(fieldOf(*layer, field));
    if (const auto chosen = m_dialogs.color(current, withAlpha)) {
        document().apply(SetField { id, field, *chosen });
    }
}

void SceneEditor::askStyle(LayerId id)
{
    const Layer *layer = findLayer(document().scenes(), id);
    if (layer == nullptr) {
        return;
    }
    const QString proposed = layer->style.isEmpty() ? layer->name : layer->style;
    const auto name = m_dialogs.text(label("Guardar como estilo..."), label("Nombre"), proposed);
    if (name && mayKeepStyle(id, name->trimmed())) {
        document().apply(KeepStyle { id, *name });
    }
}

/// Another look under a name that there is already changes every text with that style.
bool SceneEditor::mayKeepStyle(LayerId id, const QString &name)
{
    const Layer *layer = findLayer(document().scenes(), id);
    const TextStyle *style = findStyle(document().scenes(), name);
    if (layer == nullptr || style == nullptr || layer->style == name) {
        return true;
    }
    return m_dialogs.question(label("Guardar estilo"),
        label("Ya hay un estilo “%1”. ¿Cambiarlo, con todos los textos que lo usan?").arg(name));
}

void SceneEditor::askImage(LayerId layer)
{
    const QString path = m_dialogs.openFile(label("Imagen"), QString(), imageFilter());
    if (!path.isEmpty()) {
        m_studio.images().change(layer, path);
    }
}

} // namespace nimbara
