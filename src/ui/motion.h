// SPDX-License-Identifier: MIT
#pragma once

#include <QStyle>
#include <QWidget>

namespace velmora
{

/// Between two pictures of something that turns, in milliseconds, and how far it turns, in degrees: once around in
/// less than two seconds, for the price of fifteen small paints a second.
inline constexpr int kTurnInterval = 66;
inline constexpr int kTurnStep = 15;

/// False where the desktop's style has switched animations off.
[[nodiscard]] inline bool wantsMotion(const QWidget &widget)
{
    return widget.style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, &widget) > 0;
}

} // namespace velmora
