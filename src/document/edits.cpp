#include "document/edits.h"

#include "base/error.h"
#include "base/i18n.h"
#include "base/secret_texts.h"
#include "document/layer_geometry.h"
#include "document/local_files.h"
#include "document/text_styles.h"

#include <QFileInfo>
#include <QUrl>

#include <algorithm>
#include <iterator>
#include <utility>

namespace nimbara {

using nimbara_i18n::tr;

namespace {

using Offset = Scenes::difference_type;

QString fileNameOf(const QString &path)
{
    return QFileInfo(path).fileName();
}

/// Puts a scene in place of the one that stands there.
SceneSets with(SceneSets scenes, const ScenePlace &place, Scene scene)
{
    scenes.of(place.set)[place.scene] = std::make_shared<const Scene>(std::move(scene));
    return scenes;
}

/// Changes one layer's scene. A change that leaves the scene as it is gives the very same scenes.
template <typename Change>
SceneSets changedLayer(const SceneSets &scenes, LayerId id, Change change)
{
    const auto place = placeOf(scenes, id);
    if (!place) {
        return scenes;
    }
    const Scene &old = *scenes.of(place->set)[place->scene];
    Scene scene = old;
    change(scene, place->layer);
    return scene == old ? scenes : with(scenes, { place->set, place->scene }, std::move(scene));
}

void addTo(Scene &scene, Layer layer)
{
    if (layer.kind == LayerKind::Subtitle && hasSubtitle(scene)) {
        throw Error(QStringLiteral("Esta escena ya tiene una fuente de subtítulos."));
    }
    if (layer.name.isEmpty()) {
        layer.name
            = displayName(layer.kind) + QLatin1Char(' ') + QString::number(scene.layers.size() + 1);
    }
    scene.layers.push_back(std::move(layer));
}

void place(Scene &scene, const PlaceLayers &edit)
{
    std::vector<Layer> moved;
    std::vector<Layer> others;
    for (Layer &layer : scene.layers) {
        const bool isMoved
            = std::find(edit.layers.begin(), edit.layers.end(), layer.id) != edit.layers.end();
        (isMoved ? moved : others).push_back(std::move(layer));
    }
    const auto place = std::clamp(Offset { edit.place }, Offset { 0 }, std::ssize(others));
    others.insert(others.begin() + place,
        std::make_move_iterator(moved.begin()),
        std::make_move_iterator(moved.end()));
    scene.layers = std::move(others);
}

/// Applies each kind of edit.
struct Application {
    const SceneSets &scenes;

    SceneSets operator()(const AddScene &edit) const
    {
        SceneSets result = scenes;
        result.of(edit.set).push_back(std::make_shared<const Scene>(edit.scene));
        return result;
    }
    SceneSets operator()(const RenameScene &edit) const
    {
        const auto place = placeOf(scenes, edit.scene);
        const QString name = edit.name.trimmed();
        if (!place || name.isEmpty()) {
            return scenes;
        }
        Scene scene = *scenes.of(place->set)[place->scene];
        return std::exchange(scene.name, name) == name ? scenes
                                                       : with(scenes, *place, std::move(scene));
    }
    SceneSets operator()(const DuplicateScene &edit) const
    {
        const auto place = placeOf(scenes, edit.scene);
        if (!place) {
            return scenes;
        }
        SceneSets result = scenes;
        Scene copy = *scenes.of(place->set)[place->scene];
        copy.id = edit.copy;
        copy.name += QLatin1Char(' ') + tr("copia");
        for (Layer &layer : copy.layers) {
            layer.id = LayerId::make();
        }
        Scenes &set = result.of(place->set);
        set.insert(set.begin() + static_cast<Offset>(place->scene) + 1,
            std::make_shared<const Scene>(std::move(copy)));
        return result;
    }
    SceneSets operator()(const DeleteScene &edit) const
    {
        const auto place = placeOf(scenes, edit.scene);
        if (!place) {
            return scenes;
        }
        checkDeletable(scenes, edit.scene);
        SceneSets result = scenes;
        Scenes &set = result.of(place->set);
        set.erase(set.begin() + static_cast<Offset>(place->scene));
        return result;
    }
    SceneSets operator()(const MoveScene &edit) const
    {
        const auto place = placeOf(scenes, edit.scene);
        if (!place) {
            return scenes;
        }
        SceneSets result = scenes;
        Scenes &set = result.of(place->set);
        const auto from = set.begin() + static_cast<Offset>(place->scene);
        const ScenePtr moved = *from;
        set.erase(from);
        set.insert(set.begin() + std::clamp(Offset { edit.place }, Offset { 0 }, std::ssize(set)),
            moved);
        return result;
    }
    SceneSets operator()(const SetSceneTransition &edit) const
    {
        const auto place = placeOf(scenes, edit.scene);
        if (!place) {
            return scenes;
        }
        Scene scene = *scenes.of(place->set)[place->scene];
        const auto before = std::exchange(scene.transition, edit.transition);
        if (scene.transition) {
            scene.transition = withinRange(*scene.transition);
        }
        return scene.transition == before ? scenes : with(scenes, *place, std::move(scene));
    }
    SceneSets operator()(const AddLayer &edit) const
    {
        const auto place = placeOf(scenes, edit.scene);
        if (!place) {
            return scenes;
        }
        Scene scene = *scenes.of(place->set)[place->scene];
        addTo(scene, withKnownStyle(scenes, edit.layer));
        return with(scenes, *place, std::move(scene));
    }
    SceneSets operator()(const DeleteLayer &edit) const
    {
        return changedLayer(scenes, edit.layer, [](Scene &scene, std::size_t layer) {
            scene.layers.erase(scene.layers.begin() + static_cast<Offset>(layer));
        });
    }
    SceneSets operator()(const MoveLayer &edit) const
    {
        return changedLayer(scenes, edit.layer, [&edit](Scene &scene, std::size_t layer) {
            const auto other = static_cast<Offset>(layer) + edit.delta;
            if (other >= 0 && other < static_cast<Offset>(scene.layers.size())) {
                std::swap(scene.layers[layer], scene.layers[static_cast<std::size_t>(other)]);
            }
        });
    }
    SceneSets operator()(const PlaceLayers &edit) const
    {
        const auto known = std::find_if(edit.layers.begin(),
            edit.layers.end(),
            [this](LayerId layer) { return placeOf(scenes, layer).has_value(); });
        return known == edit.layers.end()
            ? scenes
            : changedLayer(scenes, *known, [&edit](Scene &scene, std::size_t) {
                  place(scene, edit);
              });
    }
    SceneSets operator()(const SetField &edit) const
    {
        const SceneSets changed
            = changedLayer(scenes, edit.layer, [&edit](Scene &scene, std::size_t layer) {
                  setField(scene.layers[layer], edit.field, edit.value);
              });
        return isLook(edit.field) ? lookSpread(changed, edit.layer) : changed;
    }
    SceneSets operator()(const SetImage &edit) const
    {
        return changedLayer(scenes, edit.layer, [&edit](Scene &scene, std::size_t layer) {
            scene.layers[layer].path = edit.path;
            scene.layers[layer].name = fileNameOf(edit.path);
        });
    }
    SceneSets operator()(const SetVerse &edit) const
    {
        return changedLayer(scenes, edit.layer, [&edit](Scene &scene, std::size_t place) {
            Layer &layer = scene.layers[place];
            if (layer.kind == LayerKind::Verse) {
                setVerse(layer, edit);
            }
        });
    }
    SceneSets operator()(const ReplaceFiles &edit) const
    {
        SceneSets result = scenes;
        for (const SceneSet set : bothSets) {
            for (ScenePtr &each : result.of(set)) {
                Scene scene = *each;
                for (Layer &layer : scene.layers) {
                    const auto found = edit.files.constFind(localFile(layer));
                    if (found != edit.files.cend()) {
                        setLocalFile(layer, *found);
                    }
                }
                if (scene != *each) {
                    each = std::make_shared<const Scene>(std::move(scene));
                }
            }
        }
        return result;
    }
    SceneSets operator()(const KeepStyle &edit) const
    {
        return styleKept(scenes, edit.layer, edit.name);
    }
    SceneSets operator()(const FollowStyle &edit) const
    {
        return styleFollowed(scenes, edit.layer, edit.name);
    }
    SceneSets operator()(const RemoveStyle &edit) const { return styleRemoved(scenes, edit.name); }
};

struct StepName {
    const char *operator()(const AddScene &) const { return "Nueva escena"; }
    const char *operator()(const RenameScene &) const { return "Renombrar"; }
    const char *operator()(const DuplicateScene &) const { return "Duplicar"; }
    const char *operator()(const DeleteScene &) const { return "Eliminar escena"; }
    const char *operator()(const MoveScene &) const { return "Cambiar orden"; }
    const char *operator()(const SetSceneTransition &) const { return "Transición de la escena"; }
    const char *operator()(const AddLayer &) const { return "Añadir fuente"; }
    const char *operator()(const DeleteLayer &) const { return "Eliminar fuente"; }
    const char *operator()(const MoveLayer &) const { return "Cambiar orden"; }
    const char *operator()(const PlaceLayers &) const { return "Cambiar orden"; }
    const char *operator()(const SetField &edit) const { return stepName(edit.field); }
    const char *operator()(const SetImage &) const { return "Cambiar imagen"; }
    const char *operator()(const SetVerse &) const { return "Versículo"; }
    const char *operator()(const ReplaceFiles &) const { return "Buscar archivos"; }
    const char *operator()(const KeepStyle &) const { return "Guardar estilo"; }
    const char *operator()(const FollowStyle &) const { return "Estilo"; }
    const char *operator()(const RemoveStyle &) const { return "Eliminar estilo"; }
};

struct Subject {
    EditSubject operator()(const AddScene &edit) const { return { edit.scene.id, {}, {} }; }
    EditSubject operator()(const RenameScene &edit) const { return { edit.scene, {}, {} }; }
    EditSubject operator()(const DuplicateScene &edit) const { return { edit.copy, {}, {} }; }
    EditSubject operator()(const DeleteScene &edit) const { return { edit.scene, {}, {} }; }
    EditSubject operator()(const MoveScene &edit) const { return { edit.scene, {}, {} }; }
    EditSubject operator()(const SetSceneTransition &edit) const
    {
        return { edit.scene, {}, {}, true };
    }
    EditSubject operator()(const AddLayer &edit) const
    {
        return { edit.scene, { edit.layer.id }, {} };
    }
    EditSubject operator()(const DeleteLayer &edit) const { return { {}, { edit.layer }, {} }; }
    EditSubject operator()(const MoveLayer &edit) const { return { {}, { edit.layer }, {} }; }
    EditSubject operator()(const PlaceLayers &edit) const { return { {}, edit.layers, {} }; }
    EditSubject operator()(const SetField &edit) const
    {
        return { {}, { edit.layer }, edit.field };
    }
    EditSubject operator()(const SetImage &edit) const { return { {}, { edit.layer }, {} }; }
    EditSubject operator()(const SetVerse &edit) const { return { {}, { edit.layer }, {} }; }
    EditSubject operator()(const ReplaceFiles &) const { return {}; }
    EditSubject operator()(const KeepStyle &edit) const { return { {}, { edit.layer }, {} }; }
    EditSubject operator()(const FollowStyle &edit) const { return { {}, { edit.layer }, {} }; }
    EditSubject operator()(const RemoveStyle &) const { return {}; }
};

} // namespace

SceneSets applied(const SceneSets &scenes, const Edit &edit)
{
    return std::visit(Application { scenes }, edit);
}

ScenePtr amended(const ScenePtr &scene, const std::vector<SetVerse> &verses)
{
    if (!scene) {
        return scene;
    }
    SceneSets alone;
    alone.of(SceneSet::Streams) = { scene };
    for (const SetVerse &verse : verses) {
        alone = applied(alone, verse);
    }
    return alone.of(SceneSet::Streams).front();
}

void setVerse(Layer &layer, const SetVerse &verse)
{
    layer.text = verse.text;
    layer.reference = verse.reference;
    layer.name = verse.name.value_or(layer.name);
    layer.page = verse.page;
    layer.secondText = verse.second.text;
    layer.secondReference = verse.second.reference;
}

const char *stepName(const Edit &edit)
{
    return std::visit(StepName {}, edit);
}

EditSubject subjectOf(const std::vector<Edit> &edits)
{
    EditSubject all;
    for (const Edit &edit : edits) {
        const EditSubject one = std::visit(Subject {}, edit);
        all.scene = one.scene;
        const bool isFirst = &edit == &edits.front();
        all.field = isFirst || all.field == one.field ? one.field : std::nullopt;
        all.transition = one.transition && (isFirst || all.transition);
        for (const LayerId layer : one.layers) {
            if (std::find(all.layers.begin(), all.layers.end(), layer) == all.layers.end()) {
                all.layers.push_back(layer);
            }
        }
    }
    return all;
}

QString proposedSceneName(const SceneSets &scenes, SceneSet set)
{
    return tr("Escena") + QLatin1Char(' ') + QString::number(scenes.of(set).size() + 1);
}

void checkDeletable(const SceneSets &scenes, SceneId scene)
{
    const auto place = placeOf(scenes, scene);
    if (place && scenes.of(place->set).size() < 2) {
        throw Error(QStringLiteral("Debe quedar al menos una escena"));
    }
}

Layer imageLayer(const QString &path, FrameSize image, FrameSize profile)
{
    Layer layer = newLayer(LayerKind::Image);
    layer.name = fileNameOf(path);
    layer.path = path;
    setBox(layer, newImageBox(image, profile));
    return layer;
}

Layer videoLayer(const QString &location)
{
    Layer layer = newLayer(LayerKind::Video);
    const QUrl url(location, QUrl::TolerantMode);
    if (url.isLocalFile()) {
        layer.name = fileNameOf(url.toLocalFile());
    } else { // names are shown, logged and saved: nothing secret, also no key in the path
        const bool isBare = url.userInfo().isEmpty() && !url.hasQuery();
        layer.name = withoutSecrets(isBare
                ? location
                : url.toString(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment));
    }
    layer.uri = location;
    return layer;
}

} // namespace nimbara
