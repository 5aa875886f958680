#pragma once

#include "document/scene.h"

#include <QString>

#include <cstdint>

/// The operations behind the buttons of the scene tab, without their dialogs. All act on the edited
/// set and its current scene, never on a program. Interface thread only.
///
/// A source whose last layer goes away is destroyed on a background task by its own deleter
/// (`MediaFactory`), so dropping a layer is all that it takes; a program that still shows a copy
/// keeps the source alive.
///
/// Operations on layers take and return the selected layer index, −1 for none.
namespace nimbara {

/// The name proposed for a new scene: "Escena" and the number of scenes plus one.
QString proposedSceneName(const SceneSets &sets);

/// Appends a default scene of the edited set with the trimmed name, and makes it current. A name
/// that is empty after trimming changes nothing and gives false.
bool newScene(SceneSets &sets, const QString &name);

/// Gives the current scene the trimmed name; an empty one changes nothing and gives false.
bool renameScene(SceneSets &sets, const QString &name);

/// Inserts a copy named "… copia" after the current scene, and makes it current. Its layers share
/// their images and sources with the first ones.
void duplicateScene(SceneSets &sets);

/// Throws `Error` "Debe quedar al menos una escena" when the edited set has fewer than two scenes.
/// To be asked before the operator is.
void checkSceneDeletable(const SceneSets &sets);

/// The question to ask before a scene is deleted, translated.
QString deleteSceneQuestion(SceneSets &sets);

/// Removes the current scene; the one before it becomes current, or the new first one. Throws as
/// `checkSceneDeletable`, changing nothing.
void deleteScene(SceneSets &sets);

/// An image layer with the picture, named after the file, its box in the shape of the picture.
/// `profile`: the output size of the edited set.
Layer imageLayer(const QString &path, FramePtr image, FrameSize profile);

/// A full-frame video layer of a file or network location, which need not be open yet. It is named
/// after the file, or after the location when that is not a local file.
Layer videoLayer(const QString &location, MediaPtr source);

/// A full-frame screen-capture layer.
Layer screenLayer(MediaPtr source);

/// Gives the selected layer another picture, path and name; its box stays. False without a layer.
bool changeImage(Scene &scene, std::int32_t selected, const QString &path, FramePtr image);

/// Exchanges the selected layer with the one `delta` places further to the front. Returns where it
/// is now: unchanged when there is no such place.
std::int32_t moveLayer(Scene &scene, std::int32_t selected, std::int32_t delta);

/// Shows or hides a layer. False when there is no such layer or nothing changed.
bool setLayerVisible(Scene &scene, std::int32_t index, bool visible);

/// Removes the selected layer. Returns the new selection: the layer now at its place, else the last
/// one, else −1.
std::int32_t deleteLayer(Scene &scene, std::int32_t selected);

} // namespace nimbara
