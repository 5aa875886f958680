#pragma once

#include "base/report.h"
#include "media/sources/media_factory.h"
#include "studio/edit/stage.h"
#include "studio/sources/sources.h"

namespace nimbara {

/// Adds layers that need something opened: a media location, the screen. Each ends in front of the
/// scene in PREVIEW. Interface thread only. The operations return the new layer and throw `Error`,
/// with nothing added, when the thing cannot be opened.
class LayerMaker {
public:
    LayerMaker(const MediaFactory &factory, Stage &stage, Sources &sources, Report status);

    /// A file on this computer; its "file:" URL becomes the location.
    LayerId addVideoFile(const QString &path);
    /// A location as the operator typed it, a network stream or a "file:" URL. A login in it is
    /// kept in the secure store (`LoginDesk`), and no part of the layer.
    LayerId addMedia(const QString &location);
    LayerId addScreenCapture();
    /// Opens the layer's location anew, from its start; a program goes on with what it shows.
    void restart(LayerId layer);

private:
    LayerId add(const Layer &layer, MediaPtr source);

    const MediaFactory &m_factory;
    Stage &m_stage;
    Sources &m_sources;
    Report m_status;
};

} // namespace nimbara
