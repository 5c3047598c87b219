// SPDX-License-Identifier: MIT
#include "support/freed_memory.h"

#include <cstdlib>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace velmora
{

void returnFreedMemory()
{
#ifdef __GLIBC__
    ::malloc_trim(0);
#endif
}

/// By itself the C library keeps up to twice the largest block that was ever freed.
void keepLittleFreedMemory()
{
#ifdef __GLIBC__
    constexpr int kLarge = 512 * 1024;
    ::mallopt(M_MMAP_THRESHOLD, kLarge);
    ::mallopt(M_TRIM_THRESHOLD, kLarge);
    // Threads work seldom, and together they leave less unused in one arena than in one for each.
    ::mallopt(M_ARENA_MAX, 1);
#endif
}

} // namespace velmora
