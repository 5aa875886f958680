#pragma once

namespace nimbara {

/// Asks the system for a turn of the calling thread before those of other programs
/// (`askForPriority`), and then of the encoders between those and it. Returns at once; the log
/// tells what became of it.
void askForTickPriority();

} // namespace nimbara
