#pragma once

namespace nimbara {

/// Asks the system for a turn of the calling thread before those of other programs: a niceness of
/// -11 by RealtimeKit, which resets it for the threads that this one starts
/// (https://git.0pointer.net/rtkit.git/tree/README). Returns at once; the log tells what became of
/// it. Where there is no such service the thread stays as it is. The default GLib context of the
/// calling thread has to run, as that of Qt's interface thread does.
void askForTickPriority();

} // namespace nimbara
