#pragma once

#include <QString>

#include <functional>

namespace nimbara {

/// Asks the system for a turn of the calling thread before those of other programs: a niceness
/// (nice(2)) of −1 to −15 by RealtimeKit, which resets it for the threads that this one starts
/// (https://git.0pointer.net/rtkit.git/tree/README); where that does not give it, directly, which
/// takes a privilege of the user (RLIMIT_NICE). Returns at once; `told` gets why there is none,
/// empty: granted, on the thread that runs the default GLib context, as Qt's interface thread does.
/// Where nothing can be had the thread stays as it is.
void askForPriority(int niceness, std::function<void(const QString &error)> told);

/// For work that can wait: from now on the calling thread has its turn after the rest of the
/// studio, a niceness (nice(2)) of 4, which it cannot take back without privileges. Where threads
/// have none of their own it stays as it is.
void giveWayToOthers();

} // namespace nimbara
