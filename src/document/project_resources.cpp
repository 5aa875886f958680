#include "document/project_resources.h"

#include "base/error.h"
#include "base/i18n.h"

#include <QHash>

#include <algorithm>
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

bool needsSource(const Layer &layer)
{
    return layer.kind == LayerKind::Screen
        || (layer.kind == LayerKind::Video && !layer.uri.isEmpty());
}

void attach(Layer &layer, const LayerFactories &factories)
{
    if (needsImage(layer)) {
        layer.image = factories.loadImage(layer.path);
    } else {
        layer.source
            = layer.kind == LayerKind::Screen ? factories.screen() : factories.media(layer.uri);
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

ResourceAttachment::ResourceAttachment(Project project, LayerFactories factories)
    : m_project(std::move(project))
    , m_factories(std::move(factories))
{
    m_factories.loadImage = decodeImages(m_project, m_factories.loadImage);
    for (auto *set : { &m_project.streams, &m_project.hall }) {
        for (Scene &scene : *set) {
            for (Layer &layer : scene.layers) {
                if (needsImage(layer) || needsSource(layer)) {
                    m_waiting.push_back(&layer);
                }
            }
        }
    }
    std::reverse(m_waiting.begin(), m_waiting.end());
}

bool ResourceAttachment::step()
{
    if (m_waiting.empty()) {
        return false;
    }
    Layer &layer = *m_waiting.back();
    m_waiting.pop_back();
    try {
        attach(layer, m_factories);
    } catch (const std::exception &error) {
        warn(layer, errorText(error));
    }
    return true;
}

void ResourceAttachment::warn(const Layer &layer, const QString &reason)
{
    m_warnings << layer.name + QStringLiteral(": ") + nimbara_i18n::tr(reason);
}

QStringList attachResources(Project &project, const LayerFactories &factories)
{
    ResourceAttachment attachment(std::move(project), factories);
    while (attachment.step()) { }
    project = std::move(attachment.project());
    return attachment.warnings();
}

} // namespace nimbara
