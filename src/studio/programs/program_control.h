#pragma once

#include "base/report.h"
#include "media/sources/media_factory.h"
#include "studio/edit/stage.h"
#include "studio/programs/program_pictures.h"
#include "studio/sources/sources.h"

namespace nimbara {

/// What sends PREVIEW to the programs. Interface thread only.
class ProgramControl {
public:
    ProgramControl(const Clock &clock,
        const MediaFactory &factory,
        Sources &sources,
        Stage &stage,
        OnAir &onAir,
        ProgramPictures &pictures,
        Report status);

    /// Which set PREVIEW shows and TAKE and OFF AIR act on: 0 streams, anything else the hall.
    void setEditSet(std::int32_t index);

    /// Gives the edited set's current scene to its program, as it is now. File media plays from its
    /// start: such a layer gets a fresh source. When one cannot be made the text goes to the status
    /// line and both programs stay as they are.
    void take();

    /// Sends the edited set's program to black.
    void offAir();

private:
    void restartFileMedia(const Scene &scene);
    [[nodiscard]] QImage streamsOnAir();

    const Clock &m_clock;
    const MediaFactory &m_factory;
    Sources &m_sources;
    Stage &m_stage;
    OnAir &m_onAir;
    ProgramPictures &m_pictures;
    Report m_status;
};

} // namespace nimbara
