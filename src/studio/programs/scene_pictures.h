#pragma once

#include "compositor/scene/composer.h"
#include "studio/edit/stage.h"
#include "studio/sources/sources.h"

#include <QImage>
#include <QObject>
#include <QStringList>

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace nimbara {

/// Small pictures of the scenes of the set being edited. They are made in the time that the frames
/// leave over: one per frame slot at most, none while the machine is late. A scene that was edited
/// has a new one soon, one that moves has one about every `periodUs`, and one that stands still has
/// none. Interface thread only.
class ScenePictures : public QObject {
    Q_OBJECT
public:
    static constexpr std::int64_t periodUs = 1'000'000; ///< between two of a scene that moves
    static constexpr std::int64_t restUs = 200'000; ///< after a late frame
    static constexpr std::int64_t needUs = 10'000; ///< of a slot that must be left for one
    static constexpr std::int32_t height = 180; ///< pixels; texts can still be told apart

    /// Both must outlive it.
    ScenePictures(const Stage &stage, const Sources &sources);
    ~ScenePictures() override;

    /// Whether anybody looks; nobody at first. None are made otherwise.
    void setShown(bool shown) { m_isShown = shown; }
    [[nodiscard]] bool isShown() const { return m_isShown; }

    /// A frame was made. `late`: after its slot, or slots were left out.
    void frameMade(std::int64_t nowUs, bool late);
    /// There is time until the next frame is due.
    void useTime(std::int64_t nowUs, std::int64_t nextFrameUs);

Q_SIGNALS:
    /// In the shape of the set's program; opaque.
    void made(nimbara::SceneId scene, const QImage &picture);

private:
    /// What a scene's picture was made of.
    struct Made {
        ScenePtr scene;
        FrameSize size;
        std::vector<std::weak_ptr<const Frame>> pictures; ///< weak: a frame is large
        QStringList clocks; ///< what its clock layers read
        std::int64_t lookedUs = 0;
    };

    [[nodiscard]] FrameSize size() const;
    [[nodiscard]] ScenePtr nextScene(std::int64_t nowUs, FrameSize size) const;
    void look(const ScenePtr &scene, FrameSize size, std::int64_t nowUs);

    const Stage &m_stage;
    const Sources &m_sources;
    PaintCache m_cache; ///< of its own: the programs' is for the programs
    std::map<SceneId, Made> m_made;
    SceneSet m_set = SceneSet::Streams; ///< that `m_made` is of
    bool m_isShown = false;
    bool m_slotIsFree = false;
    std::int64_t m_restUntilUs = 0;
};

} // namespace nimbara
