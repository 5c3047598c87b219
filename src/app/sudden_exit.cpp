// SPDX-License-Identifier: MIT
#include "app/sudden_exit.h"

#include <cstdlib>
#include <utility>

#include <unistd.h>

namespace velmora
{

namespace
{

// An exit knows of nothing but this.
std::function<void()> lastWishOfAll; // NOLINT(cert-err58-cpp): a function that is empty throws nothing

void endAtOnce(int code, void *)
{
    const auto lastWish = std::exchange(lastWishOfAll, nullptr);
    if (!lastWish)
        return;
    lastWish();
    ::_exit(code);
}

} // namespace

SuddenExit::SuddenExit(std::function<void()> lastWish)
{
    // What is registered last comes first: before anything of the toolkit's is destroyed.
    static const int isRegistered = ::on_exit(&endAtOnce, nullptr);
    static_cast<void>(isRegistered);
    lastWishOfAll = std::move(lastWish);
}

SuddenExit::~SuddenExit()
{
    lastWishOfAll = nullptr;
}

} // namespace velmora
