#include "base/memory_policy.h"

#include <cstdlib> // tells which C library it is

#ifdef __GLIBC__
#include <malloc.h>
#endif
#if defined(__unix__) || defined(__APPLE__)
#include <sys/resource.h>
#endif

namespace nimbara {

void keepFreedPictures()
{
#ifdef __GLIBC__
    constexpr int mib = 1024 * 1024;
    // 32 MiB is the most that the library takes; a 1080p picture has 8.
    static_cast<void>(mallopt(M_MMAP_THRESHOLD, 32 * mib));
    // With a lower limit memory would go back and be asked for again with each caption. What is
    // free at the end of an arena that is not the main one goes back by this alone: malloc_trim
    // leaves it.
    static_cast<void>(mallopt(M_TRIM_THRESHOLD, 16 * mib));
    // Each arena keeps what its threads freed: a thousand starts of a stream, whose threads come
    // and go, filled 700 MiB of them with 100 in use.
    static_cast<void>(mallopt(M_ARENA_MAX, 2));
#endif
}

void giveBackFreedMemory()
{
#ifdef __GLIBC__
    static_cast<void>(malloc_trim(0));
#endif
}

void forbidCoreDumps()
{
#if defined(__unix__) || defined(__APPLE__)
    const rlimit none { 0, 0 };
    static_cast<void>(setrlimit(RLIMIT_CORE, &none));
#endif
}

} // namespace nimbara
