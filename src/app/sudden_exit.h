// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace velmora
{

/// What happens when somebody calls exit() in the middle of the event loop, as the toolkit does when the display has
/// gone. Threads are still at work then, which the objects that an exit destroys are taken from.
///
/// While the object lives, such an exit has the last wish done and ends the process on the spot, with the code that it
/// was called with. One object at a time.
class SuddenExit
{
public:
    explicit SuddenExit(std::function<void()> lastWish);
    ~SuddenExit();
    SuddenExit(const SuddenExit &) = delete;
    SuddenExit &operator=(const SuddenExit &) = delete;
};

} // namespace velmora
