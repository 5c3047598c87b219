// SPDX-License-Identifier: MIT
// The calls that end a process, also for the libraries: a call is bound to the first definition that there is, and the
// program's come before those of the system.
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

[[gnu::visibility("default"), noreturn]] void exit(int code) noexcept
{
    if (velmora::SuddenExit::takeOver(code))
        endOnTheSpot(code);
    const auto exitOfSystem = reinterpret_cast<void (*)(int)>(::dlsym(RTLD_NEXT, "exit"));
    if (exitOfSystem)
        exitOfSystem(code);
    endOnTheSpot(code);
}

// NOLINTNEXTLINE(bugprone-reserved-identifier): this very one is meant
[[gnu::visibility("default"), noreturn]] void _exit(int code)
{
    static_cast<void>(velmora::SuddenExit::takeOver(code));
    endOnTheSpot(code);
}

} // extern "C"
