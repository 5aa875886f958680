#pragma once

#include "app/end_guard.h"
#include "app/studio_application.h"
#include "ui/shell/studio_window.h"

namespace nimbara {

/// Shows the window and runs the loop until the operator closes it; gives the process's exit code.
/// Once the outputs are finished, and the operator was told of what could not be, `guard` is
/// started: on the way back devices and files are given back, which may hang. Throws what left an
/// event handler, after the outputs' end as well; what could not be is in the log then.
int runStudio(StudioApplication &application, EndGuard &guard, StudioServices services);

} // namespace nimbara
