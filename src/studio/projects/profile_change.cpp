#include "studio/projects/profile_change.h"

namespace nimbara {

void changeProfile(StreamProfile profile,
    const MediaFactory &factory,
    Stage &stage,
    OnAir &onAir,
    Sources &sources,
    const Report &status)
{
    const FrameSize size = streamSize(profile);
    MediaPtr bars = factory.testBars(size); // may throw: nothing has changed yet
    stage.document.setProfile(profile);
    sources.setBars(std::move(bars), Sources::standIn);
    stage.program.clearStreams();
    onAir.streams = {};
    status("Formato cambiado. Reconecta las fuentes para el perfil elegido.");
    sources.pool().reopen(stage.document.scenes().of(SceneSet::Streams),
        [&factory, size](const Layer &layer) { return openSource(factory, size, layer); });
}

} // namespace nimbara
