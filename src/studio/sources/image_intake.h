#pragma once

#include "base/background_task.h"
#include "base/message.h"
#include "studio/edit/stage.h"
#include "studio/sources/picture_shelf.h"

#include <QObject>
#include <QString>

#include <cstdint>
#include <list>

namespace nimbara {

/// Brings picture files into layers. A large picture takes seconds to decode, so that happens on a
/// background task while the programs go on; `poll` gives the picture to what it was asked for,
/// wherever that is by then, or drops it when that is gone. Interface thread only.
class ImageIntake : public QObject {
    Q_OBJECT
public:
    ImageIntake(Stage &stage, PictureShelf &shelf)
        : m_stage(stage)
        , m_shelf(shelf)
    {
    }
    ImageIntake(const ImageIntake &) = delete;
    ImageIntake &operator=(const ImageIntake &) = delete;
    ImageIntake(ImageIntake &&) = delete;
    ImageIntake &operator=(ImageIntake &&) = delete;
    /// Gives decoders a moment to finish.
    ~ImageIntake() override;

    /// A new image layer in front of the scene.
    void add(SceneId scene, const QString &path);
    /// Another picture for an image layer; its box stays. Of two changes the later one counts.
    void change(LayerId layer, const QString &path);

    [[nodiscard]] bool isDecoding() const { return !m_decoding.empty(); }
    /// Takes over what has been decoded. Call on every run of the frame clock; never waits.
    void poll();

Q_SIGNALS:
    /// The layer is new.
    void added(nimbara::LayerId layer);
    /// A picture could not be decoded and nothing changed.
    void failed(const nimbara::Message &reason);

private:
    /// Where a picture was asked for: a scene for a new layer, or a layer.
    struct Place {
        SceneId scene;
        LayerId layer;
    };
    struct Decoding {
        Place place;
        QString path;
        BackgroundTask<FramePtr> task;
    };

    void decode(const Place &place, const QString &path);
    void deliver(const Place &place, const QString &path, const FramePtr &image);

    Stage &m_stage;
    PictureShelf &m_shelf;
    std::list<Decoding> m_decoding;
};

} // namespace nimbara
