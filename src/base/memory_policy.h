#pragma once

namespace nimbara {

/// Lets the C library keep the memory of painted pictures, which are not in PictureMemory, for the
/// next ones. Its default hands blocks of that size back to the system, and the page faults of
/// getting them again cost a virtual machine up to 25 ms per 1080p frame. All threads share two
/// heaps, since what threads that come and go leave in heaps of their own is never used again. Call
/// it first in the process; does nothing where the library has no such settings.
void keepFreedPictures();

/// Gives the system what was freed and kept, whole pages wherever they lie (malloc_trim(3)): what
/// encoders leave lies between what stays. Takes some milliseconds, in which others may wait for
/// memory. Any thread; does nothing where the library has no such call.
void giveBackFreedMemory();

/// A crash leaves no image of the memory behind, in which keys lie (setrlimit(2)). Does nothing
/// where the system has no such limit. Call it once, at start.
void forbidCoreDumps();

} // namespace nimbara
