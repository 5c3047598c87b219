// SPDX-License-Identifier: MIT
#include "support/freed_memory.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace velmora
{

namespace
{

/// Unmaps what the file has loaded and nothing can have written to. (Relocated pages look the same in the maps of the
/// process, but their content would be lost.)
int unmapConstantPages(dl_phdr_info *file, size_t, void *pageSize)
{
    const auto page = *static_cast<const std::uintptr_t *>(pageSize);
    for (ElfW(Half) i = 0; i < file->dlpi_phnum; ++i) {
        const ElfW(Phdr) &segment = file->dlpi_phdr[i];
        if (segment.p_type != PT_LOAD || (segment.p_flags & PF_W) != 0)
            continue;
        const std::uintptr_t begin = (file->dlpi_addr + segment.p_vaddr) & ~(page - 1);
        const std::uintptr_t end = file->dlpi_addr + segment.p_vaddr + segment.p_memsz;
        ::madvise(reinterpret_cast<void *>(begin), end - begin, MADV_DONTNEED);
    }
    return 0;
}

} // namespace

void returnFreedMemory()
{
#ifdef __GLIBC__
    ::malloc_trim(0);
#endif
}

void unmapUnusedCode()
{
    auto pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    ::dl_iterate_phdr(&unmapConstantPages, &pageSize);
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
