#include "scene/project_resources.h"

#include "app/error.h"
#include "app/i18n.h"

#include <QHash>

#include <exception>
#include <memory>

namespace nimbara {

namespace {

struct Decoded {
    FramePtr image;
    std::exception_ptr failure;
};

Decoded decode(const QString &path, const ImageLoader &load)
{
    try {
        return { load(path), nullptr };
    } catch (const std::exception &) {
        return { nullptr, std::current_exception() };
    }
}

bool needsImage(const Layer &layer)
{
    return layer.kind == LayerKind::Image && !layer.path.isEmpty();
}

void attach(Layer &layer, const ImageLoader &images, const LayerFactories &factories)
{
    if (needsImage(layer)) {
        layer.image = images(layer.path);
    } else if (layer.kind == LayerKind::Video && !layer.uri.isEmpty()) {
        layer.source = factories.media(layer.uri);
    } else if (layer.kind == LayerKind::Screen) {
        layer.source = factories.screen();
    }
}

} // namespace

ImageLoader decodeImages(const Project &project, const ImageLoader &load)
{
    const auto decoded = std::make_shared<QHash<QString, Decoded>>();
    for (const auto *set : { &project.streams, &project.hall }) {
        for (const Scene &scene : *set) {
            for (const Layer &layer : scene.layers) {
                if (needsImage(layer) && !decoded->contains(layer.path)) {
                    decoded->insert(layer.path, decode(layer.path, load));
                }
            }
        }
    }
    return [decoded](const QString &path) {
        const Decoded found = decoded->value(path);
        if (found.failure) {
            std::rethrow_exception(found.failure);
        }
        return found.image;
    };
}

QStringList attachResources(Project &project, const LayerFactories &factories)
{
    const ImageLoader images = decodeImages(project, factories.loadImage);
    QStringList warnings;
    for (auto *set : { &project.streams, &project.hall }) {
        for (Scene &scene : *set) {
            for (Layer &layer : scene.layers) {
                try {
                    attach(layer, images, factories);
                } catch (const std::exception &error) {
                    warnings << layer.name + QStringLiteral(": ")
                            + nimbara_i18n::tr(errorText(error));
                }
            }
        }
    }
    return warnings;
}

} // namespace nimbara
