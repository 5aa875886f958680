#include "studio/sources/image_intake.h"

#include "base/error.h"
#include "compositor/scene/load_image.h"

#include <algorithm>

namespace nimbara {

namespace {

constexpr std::chrono::milliseconds farewell { 1000 };

} // namespace

ImageIntake::~ImageIntake()
{
    for (const Decoding &decoding : m_decoding) {
        if (!decoding.task.isReady(farewell)) {
            return;
        }
    }
}

void ImageIntake::add(SceneId scene, const QString &path)
{
    decode({ scene, {} }, path);
}

void ImageIntake::change(LayerId layer, const QString &path)
{
    // An earlier choice for the layer has been thought better of.
    m_decoding.remove_if(
        [layer](const Decoding &decoding) { return decoding.place.layer == layer; });
    if (findLayer(m_stage.document.scenes(), layer) != nullptr) {
        decode({ {}, layer }, path);
    }
}

void ImageIntake::decode(const Place &place, const QString &path)
{
    Decoding decoding { place, path, {} };
    decoding.task.start([path] { return loadImage(path); });
    m_decoding.push_back(std::move(decoding));
}

void ImageIntake::poll()
{
    for (auto decoding = m_decoding.begin(); decoding != m_decoding.end();) {
        if (!decoding->task.isReady()) {
            ++decoding;
            continue;
        }
        Decoding done = std::move(*decoding);
        decoding = m_decoding.erase(decoding);
        try {
            deliver(done.place, done.path, done.task.take());
        } catch (const std::exception &error) {
            Q_EMIT failed(errorMessage(error));
        }
    }
}

void ImageIntake::deliver(const Place &place, const QString &path, const FramePtr &image)
{
    Document &document = m_stage.document;
    if (place.layer) {
        const Layer *layer = findLayer(document.scenes(), place.layer);
        if (layer != nullptr && layer->kind == LayerKind::Image) {
            m_shelf.put(path, image);
            document.apply(SetImage { place.layer, path });
        }
        return;
    }
    if (const auto scene = placeOf(document.scenes(), place.scene)) {
        m_shelf.put(path, image);
        Layer layer
            = imageLayer(path, image ? image->size() : FrameSize {}, m_stage.frameOf(scene->set));
        const LayerId id = layer.id;
        document.apply(AddLayer { place.scene, std::move(layer) });
        Q_EMIT added(id);
    }
}

} // namespace nimbara
