// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>

namespace velmora
{

/// Handles calls of exit() and _exit() in the middle of the event loop. The toolkit makes them when the display is
/// lost: on X11 exit(), which would destroy static objects that threads still use; on Wayland _exit(), on another
/// thread.
///
/// While the object lives, such a call runs the last wish on the main thread and then ends the process at once, with
/// the code that it was called with. One object at a time, on the main thread. exit_calls.cpp brings the calls here.
class SuddenExit
{
public:
    /// The last wish runs while all objects still exist, in the middle of an event. If it handles events itself, one of
    /// them may lead to another exit, which runs the wish once more and ends the process. A call on another thread
    /// waits for the main thread no longer than `patience`.
    SuddenExit(std::function<void()> lastWish, std::chrono::milliseconds patience);
    ~SuddenExit();
    SuddenExit(const SuddenExit &) = delete;
    SuddenExit &operator=(const SuddenExit &) = delete;

    /// To be called by exit() and _exit(). True when the process is to end at once, with nothing else to be done.
    [[nodiscard]] static bool takeOver(int code);
};

} // namespace velmora
