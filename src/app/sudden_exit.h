// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>

namespace velmora
{

/// What happens when the process is ended in the middle of the event loop, as the toolkit does when the display has
/// gone: on X11 by exit(), which destroys objects that threads are still at work with, on Wayland by _exit(), on a
/// thread of its own.
///
/// While the object lives, such a call has the last wish done on the main thread and ends the process on the spot, with
/// the code that it was called with. One object at a time, on the main thread. The program has to bring the calls here,
/// see exit_calls.cpp.
class SuddenExit
{
public:
    /// The last wish is done with everything still in place, in the middle of whatever event was handled. Where it
    /// handles events, one of them may call for another exit: that one does the wish as well, and ends the process. A
    /// call on another thread waits for the main one no longer than `patience`.
    SuddenExit(std::function<void()> lastWish, std::chrono::milliseconds patience);
    ~SuddenExit();
    SuddenExit(const SuddenExit &) = delete;
    SuddenExit &operator=(const SuddenExit &) = delete;

    /// To be called by an exit. True when the process is to end on the spot, with nothing else to be done.
    [[nodiscard]] static bool takeOver(int code);
};

} // namespace velmora
