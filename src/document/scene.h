#pragma once

#include "document/ids.h"
#include "document/layer.h"
#include "document/transition.h"

#include <QString>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace nimbara {

/// A name and its layers, back to front: layer 0 is drawn first.
struct Scene {
    SceneId id = SceneId::make(); ///< a copy keeps it; a second scene like this one needs another
    QString name;
    std::vector<Layer> layers;
    std::optional<Transition> transition; ///< when it goes on air; none: the project's

    bool operator==(const Scene &) const = default;
};

/// A scene as projects hold it: immutable and shared. An edit makes another one, so that who holds
/// this one (undo, a program on air, a file being written) keeps it as it was, on any thread, and
/// "did it change" is a comparison of pointers.
using ScenePtr = std::shared_ptr<const Scene>;
using Scenes = std::vector<ScenePtr>;

/// A scene of layers that are already there.
ScenePtr makeScene(const QString &name, std::vector<Layer> layers);

/// The two independent scene collections and the programs that they feed.
enum class SceneSet : std::int32_t {
    Streams = 0, ///< "Redes"
    Hall = 1, ///< "Pantallas de sala"
};
inline constexpr std::array bothSets { SceneSet::Streams, SceneSet::Hall };

/// A look that several text layers of the project share.
struct TextStyle {
    QString name; ///< unique in its project
    Layer look; ///< what `lookingAs` takes of it; without ids

    bool operator==(const TextStyle &) const = default;
};

/// Both collections and the styles of their texts, as a value that shares its scenes. Equal when
/// they hold the very same scenes.
struct SceneSets {
    static constexpr std::size_t mostStyles = 100;

    std::array<Scenes, 2> sets;
    std::vector<TextStyle> styles; ///< by the time that they were made

    [[nodiscard]] Scenes &of(SceneSet set) { return sets.at(static_cast<std::size_t>(set)); }
    [[nodiscard]] const Scenes &of(SceneSet set) const
    {
        return sets.at(static_cast<std::size_t>(set));
    }
    bool operator==(const SceneSets &) const = default;
};

/// Where a scene stands.
struct ScenePlace {
    SceneSet set = SceneSet::Streams;
    std::size_t scene = 0;
};
/// Where a layer stands.
struct LayerPlace {
    SceneSet set = SceneSet::Streams;
    std::size_t scene = 0;
    std::size_t layer = 0;
};

/// Found by id; none when it is gone.
std::optional<ScenePlace> placeOf(const SceneSets &scenes, SceneId id);
std::optional<LayerPlace> placeOf(const SceneSets &scenes, LayerId id);
const Layer *findLayer(const Scene &scene, LayerId id);
const Layer *findLayer(const SceneSets &scenes, LayerId id);

/// The style of that name; none when there is none.
const TextStyle *findStyle(const SceneSets &scenes, const QString &name);

/// The scene that an empty set gets: a camera (streams), or background and subtitles (hall).
Scene defaultScene(bool isHall);

/// Whether the scene has a subtitle layer, visible or not. Edits add one at most.
bool hasSubtitle(const Scene &scene);

} // namespace nimbara
