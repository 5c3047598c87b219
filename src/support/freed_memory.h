// SPDX-License-Identifier: MIT
#pragma once

namespace velmora
{

/// Returns to the system what the program has freed. The allocator itself returns little of it: only what no used block
/// follows. Takes up to some milliseconds, so it is meant for seldom moments after much was freed.
void returnFreedMemory();

/// Has the allocator keep less of what is freed, from now on. It is meant for the beginning of a program.
void keepLittleFreedMemory();

} // namespace velmora
