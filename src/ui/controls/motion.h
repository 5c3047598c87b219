// SPDX-License-Identifier: MIT
#pragma once

#include <QStyle>
#include <QWidget>

namespace velmora
{

/// The time between two frames of a turning icon, in milliseconds, and its rotation per frame, in degrees: one turn in
/// 1.6 seconds at fifteen frames a second.
inline constexpr int kTurnInterval = 66;
inline constexpr int kTurnStep = 15;

/// False if the desktop's style has switched animations off.
[[nodiscard]] inline bool wantsMotion(const QWidget &widget)
{
    return widget.style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, &widget) > 0;
}

} // namespace velmora
