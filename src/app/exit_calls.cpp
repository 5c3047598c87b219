// SPDX-License-Identifier: MIT
// Replaces exit() and _exit() for the whole process, libraries included: the dynamic linker binds a call to the first
// definition it finds, and the program's come before those of the C library.
#include "app/sudden_exit.h"

#include <dlfcn.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

[[noreturn]] void endOnTheSpot(int code)
{
    while (true)
        ::syscall(SYS_exit_group, code);
}

} // namespace

extern "C" {

[[gnu::visibility("default")]] void exit(int code) noexcept
{
    if (velmora::SuddenExit::takeOver(code))
        endOnTheSpot(code);
    const auto exitOfSystem = reinterpret_cast<void (*)(int)>(::dlsym(RTLD_NEXT, "exit"));
    if (exitOfSystem)
        exitOfSystem(code);
    endOnTheSpot(code);
}

// NOLINTNEXTLINE(bugprone-reserved-identifier): this very one is meant
[[gnu::visibility("default")]] void _exit(int code)
{
    static_cast<void>(velmora::SuddenExit::takeOver(code));
    endOnTheSpot(code);
}

} // extern "C"
