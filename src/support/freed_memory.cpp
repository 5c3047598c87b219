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

} // namespace velmora
