#pragma once

#include "media/sources/media_factory.h"
#include "studio/edit/stage.h"
#include "studio/report.h"

namespace nimbara {

/// Adds layers that need something opened: a media location, the screen. Each ends
/// in front of the edited set's current scene. Interface thread only. The operations return the new
/// layer's index and throw `Error`, with nothing added, when the thing cannot be opened.
class LayerMaker {
public:
    LayerMaker(const MediaFactory &factory, Stage &stage, Report status);

    /// A file on this computer; its "file:" URL becomes the location.
    std::int32_t addVideoFile(const QString &path);
    /// A location as the operator typed it, a network stream or a "file:" URL.
    std::int32_t addMedia(const QString &location);
    std::int32_t addScreenCapture();

private:
    const MediaFactory &m_factory;
    Stage &m_stage;
    Report m_status;
};

} // namespace nimbara
