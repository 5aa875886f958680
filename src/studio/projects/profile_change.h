#pragma once

#include "base/report.h"
#include "media/sources/media_factory.h"
#include "studio/edit/stage.h"
#include "studio/sources/on_air.h"
#include "studio/sources/sources.h"

namespace nimbara {

/// Gives the streams another shape: the sources of the stream scenes are built anew at that size,
/// bars stand in for the camera until sources are connected again, and the stream program goes
/// black. The hall stays as it is. Interface thread only; call it only while no output runs.
///
/// A layer whose source cannot be built stays without one, the others are done all the same; then
/// the first failure is thrown as `Error`.
void changeProfile(StreamProfile profile,
    const MediaFactory &factory,
    Stage &stage,
    OnAir &onAir,
    Sources &sources,
    const Report &status);

} // namespace nimbara
