// SPDX-License-Identifier: MIT
#pragma once

namespace velmora
{

/// Returns to the system what the program has freed. The allocator itself returns little of it: only what no used block
/// follows. Takes up to some milliseconds, so it is meant for seldom moments after much was freed.
void returnFreedMemory();

/// Has the allocator keep less of what is freed, from now on. It is meant for the beginning of a program.
void keepLittleFreedMemory();

/// Unmaps the code and the constants of the program and its libraries. The kernel maps them again where they are used,
/// so that what only the start or a window needed is mapped no longer. They stay in the cache of files, from which the
/// system takes first when memory is short. The next use of each 64 KiB costs about a microsecond.
void unmapUnusedCode();

} // namespace velmora
