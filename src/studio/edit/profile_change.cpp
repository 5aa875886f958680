#include "studio/edit/profile_change.h"

#include "base/error.h"
#include "base/i18n.h"

#include <exception>
#include <map>

namespace nimbara {

namespace {

/// Builds each source once, however many layers share it.
class SourceRebuild {
public:
    SourceRebuild(const MediaFactory &factory, FrameSize size)
        : m_factory(factory)
        , m_size(size)
    {
    }

    void rebuild(Layer &layer)
    {
        if (!layer.source) {
            return;
        }
        const auto [place, isNew] = m_built.try_emplace(layer.source);
        if (isNew) {
            place->second = build(layer);
        }
        layer.source = place->second;
    }

    void throwFirstFailure() const
    {
        if (m_failure) {
            std::rethrow_exception(m_failure);
        }
    }

private:
    MediaPtr build(const Layer &layer)
    {
        try {
            return layer.kind == LayerKind::Screen ? m_factory.screen(m_size)
                                                   : m_factory.heldMedia(m_size, layer.uri);
        } catch (const Error &) {
            m_failure = m_failure ? m_failure : std::current_exception();
            return nullptr;
        }
    }

    const MediaFactory &m_factory;
    FrameSize m_size;
    std::map<MediaPtr, MediaPtr> m_built; ///< old → new
    std::exception_ptr m_failure;
};

} // namespace

void changeProfile(StreamProfile profile,
    const MediaFactory &factory,
    Stage &stage,
    Sources &sources,
    const Report &status)
{
    MediaPtr bars = factory.testBars(streamSize(profile)); // may throw: nothing has changed yet
    stage.profile = profile;
    sources.setBars(std::move(bars), Sources::standIn);
    stage.program.clearStreams();
    SourceRebuild sourcesOfLayers(factory, stage.streamFrame());
    for (Scene &scene : stage.scenes.scenes(SceneSet::Streams)) {
        for (Layer &layer : scene.layers) {
            sourcesOfLayers.rebuild(layer);
        }
    }
    status(nimbara_i18n::tr("Formato cambiado. Reconecta las fuentes para el perfil elegido."));
    sourcesOfLayers.throwFirstFailure();
}

} // namespace nimbara
