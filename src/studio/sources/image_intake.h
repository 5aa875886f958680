#pragma once

#include "base/background_task.h"
#include "studio/edit/stage.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <list>

namespace nimbara {

/// Brings picture files into layers. A large picture takes seconds to decode, so that happens on a
/// background task while the programs go on; `poll` puts the picture where it was asked for, or
/// drops it when that place is gone. Interface thread only.
class ImageIntake {
public:
    explicit ImageIntake(Stage &stage)
        : m_stage(stage)
    {
    }
    ImageIntake(const ImageIntake &) = delete;
    ImageIntake &operator=(const ImageIntake &) = delete;
    ImageIntake(ImageIntake &&) = delete;
    ImageIntake &operator=(ImageIntake &&) = delete;
    /// Gives decoders a moment to finish.
    ~ImageIntake();

    /// A new image layer in front of the edited set's current scene.
    void add(const QString &path);
    /// Another picture for a layer of that scene; its box stays. Does nothing without such a layer.
    void change(std::int32_t layer, const QString &path);

    [[nodiscard]] bool isDecoding() const { return !m_decoding.empty(); }
    /// Takes over what has been decoded. Call on every run of the frame clock; never waits.
    void poll();

    /// The layer at this index of the scene in PREVIEW is new. Never empty.
    std::function<void(std::int32_t layer)> onAdded = [](std::int32_t) {};
    /// The layer at this index of the scene in PREVIEW has another picture. Never empty.
    std::function<void(std::int32_t layer)> onChanged = [](std::int32_t) {};
    /// A picture could not be decoded and nothing changed; the operator's text, untranslated.
    /// Never empty.
    std::function<void(const QString &text)> onFailed = [](const QString &) {};

private:
    static constexpr std::int32_t newLayer = -1;

    /// Where a picture was asked for. Scenes and layers come, go and move while it is decoded, so
    /// they are known by what they showed as well.
    struct Place {
        std::uint64_t project = 0;
        SceneSet set = SceneSet::Streams;
        std::int32_t scene = 0;
        QString sceneName;
        std::size_t sceneCount = 0;
        std::int32_t layer = newLayer;
        QString layerPath;
        FramePtr layerImage;
    };
    struct Decoding {
        Place place;
        QString path;
        BackgroundTask<FramePtr> task;
    };

    [[nodiscard]] Place placeOf(std::int32_t layer);
    void decode(Place place, const QString &path);
    void deliver(const Place &place, const QString &path, FramePtr image);
    [[nodiscard]] Scene *find(const Place &place);
    [[nodiscard]] bool isInPreview(const Scene &scene);

    Stage &m_stage;
    std::list<Decoding> m_decoding;
};

} // namespace nimbara
