#pragma once

#include "document/layer.h"

#include <QString>

#include <array>
#include <cstdint>
#include <vector>

namespace nimbara {

/// A name and its layers, back to front: layer 0 is drawn first.
struct Scene {
    QString name;
    std::vector<Layer> layers;

    bool operator==(const Scene &) const = default;
};

/// The two independent scene collections and the programs that they feed.
enum class SceneSet : std::int32_t {
    Streams = 0, ///< "Redes"
    Hall = 1, ///< "Pantallas de sala"
};

/// The scene that an empty set gets: a camera (streams), or background and subtitles (hall).
Scene defaultScene(bool isHall);

/// Whether the scene has a subtitle layer, visible or not. Operations add one at most.
bool hasSubtitle(const Scene &scene);

/// Names an unnamed layer after its kind and its place ("Texto 3"), and appends it to the scene, in
/// front of all others. Returns its index. Throws `Error` "Esta escena ya tiene una fuente de
/// subtítulos." for a second subtitle layer, changing nothing.
std::int32_t addLayer(Scene &scene, Layer layer);

/// Both sets, the current scene of each and the set that PREVIEW edits. A set never stays empty
/// once its current scene was asked for.
class SceneSets {
public:
    [[nodiscard]] SceneSet editing() const { return m_editing; }
    void setEditing(SceneSet set) { m_editing = set; }
    [[nodiscard]] bool editingHall() const { return m_editing == SceneSet::Hall; }

    [[nodiscard]] std::vector<Scene> &scenes(SceneSet set);
    [[nodiscard]] const std::vector<Scene> &scenes(SceneSet set) const;
    /// The scenes of the set being edited.
    [[nodiscard]] std::vector<Scene> &editedScenes() { return scenes(m_editing); }

    [[nodiscard]] std::int32_t currentIndex(SceneSet set) const;
    void setCurrentIndex(SceneSet set, std::int32_t index);

    /// The current scene of the edited set, by reference. An empty set gets its default scene, and
    /// the current index is clamped to the set and stored back.
    [[nodiscard]] Scene &currentScene();

    /// `nimbara::addLayer` to the current scene.
    std::int32_t addLayer(Layer layer);

private:
    struct Set {
        std::vector<Scene> scenes;
        std::int32_t current = 0;
    };
    [[nodiscard]] Set &set(SceneSet which) { return m_sets.at(static_cast<std::size_t>(which)); }
    [[nodiscard]] const Set &set(SceneSet which) const
    {
        return m_sets.at(static_cast<std::size_t>(which));
    }

    std::array<Set, 2> m_sets;
    SceneSet m_editing = SceneSet::Streams;
};

} // namespace nimbara
