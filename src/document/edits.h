#pragma once

#include "document/layer_fields.h"
#include "document/scene.h"
#include "signal/frame.h"

#include <QHash>
#include <QString>

#include <optional>
#include <variant>
#include <vector>

/// Everything that changes the scenes, as values. Applying one makes new scenes and leaves the old
/// ones as they are; what an edit names and is gone is an ordinary case that changes nothing.
namespace nimbara {

/// Appends a scene to the set.
struct AddScene {
    SceneSet set = SceneSet::Streams;
    Scene scene;
};
/// Gives the scene the trimmed name; an empty one changes nothing.
struct RenameScene {
    SceneId scene;
    QString name;
};
/// Inserts a copy named "… copia" after the scene. Its layers play the same sources.
struct DuplicateScene {
    SceneId scene;
    SceneId copy = SceneId::make();
};
/// Refused with `Error` "Debe quedar al menos una escena" for the last one of its set.
struct DeleteScene {
    SceneId scene;
};
/// Puts the scene at the place in its set, counted without it; beyond the last one is last.
struct MoveScene {
    SceneId scene;
    std::int32_t place = 0;
};
/// How the scene goes on air; none: as the project says. The length is brought into range.
struct SetSceneTransition {
    SceneId scene;
    std::optional<Transition> transition;
};
/// Appends the layer, in front of all others; an unnamed one is named after its kind and its place
/// ("Texto 3"). Refused with `Error` "Esta escena ya tiene una fuente de subtítulos." for a second
/// subtitle layer.
struct AddLayer {
    SceneId scene;
    Layer layer;
};
struct DeleteLayer {
    LayerId layer;
};
/// Exchanges the layer with the one `delta` places further to the front, if there is one.
struct MoveLayer {
    LayerId layer;
    std::int32_t delta = 0;
};
/// Puts layers of one scene, in the order they have there, in front of that many of the others,
/// counted from the rear; beyond the last one is the very front.
struct PlaceLayers {
    std::vector<LayerId> layers;
    std::int32_t place = 0;
};
/// A layer that follows a named style takes it and its other followers along, where the field
/// belongs to the look.
struct SetField {
    LayerId layer;
    LayerField field = LayerField::Name;
    FieldValue value;
};
/// Another picture file, with its name; the box stays.
struct SetImage {
    LayerId layer;
    QString path;
};
/// A passage in the second Bible of a layer; empty where that has none.
struct SecondText {
    QString text;
    QString reference;

    bool operator==(const SecondText &) const = default;
};
/// A verse that was looked up, or another page of it. Changes verse layers alone.
struct SetVerse {
    LayerId layer;
    QString text;
    QString reference;
    std::optional<QString> name;
    std::int32_t page = 0;
    SecondText second {};

    bool operator==(const SetVerse &) const = default;
};

/// Files that were found elsewhere, old absolute path → new one: every layer that names one
/// follows.
struct ReplaceFiles {
    QHash<QString, QString> files;
};

/// Named looks of text layers: see `styleKept`, `styleFollowed` and `styleRemoved`.
struct KeepStyle {
    LayerId layer;
    QString name;
};
struct FollowStyle {
    LayerId layer;
    QString name; ///< empty: none
};
struct RemoveStyle {
    QString name;
};

using Edit = std::variant<AddScene,
    RenameScene,
    DuplicateScene,
    DeleteScene,
    MoveScene,
    SetSceneTransition,
    AddLayer,
    DeleteLayer,
    MoveLayer,
    PlaceLayers,
    SetField,
    SetImage,
    SetVerse,
    ReplaceFiles,
    KeepStyle,
    FollowStyle,
    RemoveStyle>;

/// The scenes after the edit; the very same ones when it changes nothing. Throws `Error` as above.
SceneSets applied(const SceneSets &scenes, const Edit &edit);

/// A scene that stands alone, such as one on air, with those of its verse layers changed; the very
/// same one when nothing changes. None stays none.
ScenePtr amended(const ScenePtr &scene, const std::vector<SetVerse> &verses);

/// What the edit of a verse makes of a verse layer.
void setVerse(Layer &layer, const SetVerse &verse);

/// The edit's name in the steps of undo: a key of the text table.
const char *stepName(const Edit &edit);

/// What edits are about, as far as they name it.
struct EditSubject {
    SceneId scene; ///< of the last one
    std::vector<LayerId> layers; ///< each once
    std::optional<LayerField> field; ///< one field alone
    bool transition = false; ///< the scene's transition alone

    [[nodiscard]] LayerId lastLayer() const { return layers.empty() ? LayerId() : layers.back(); }
    bool operator==(const EditSubject &) const = default;
};
EditSubject subjectOf(const std::vector<Edit> &edits);

/// The name proposed for a new scene: "Escena" and the number of scenes of the set plus one.
QString proposedSceneName(const SceneSets &scenes, SceneSet set);

/// Throws as `DeleteScene`. To be asked before the operator is.
void checkDeletable(const SceneSets &scenes, SceneId scene);

/// An image layer with the picture, named after the file, its box in the shape of the picture.
/// `profile`: the output size of the scene's set.
Layer imageLayer(const QString &path, FrameSize image, FrameSize profile);

/// A full-frame video layer of a file or network location. It is named after the file, or after the
/// location, without user name, password and query, when that is not a local file.
Layer videoLayer(const QString &location);

} // namespace nimbara
