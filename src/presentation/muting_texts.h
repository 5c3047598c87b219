// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/term.h"

#include <QString>
#include <QTime>

#include <array>

namespace velmora
{

// The words about muted repositories and paused notifications. Times are in the user's zone and locale.

/// "until 17:00", "until tomorrow, 09:00", or with the date of a later day.
[[nodiscard]] QString untilText(Instant end, Instant now);

/// The action on a repository: "Mute acme/web" or "Unmute acme/web".
[[nodiscard]] QString mutingAction(const QString &repositoryName, bool isMuted);
/// "muted", with the end if there is one; empty if the repository is not muted.
[[nodiscard]] QString mutedText(const std::optional<Term> &muting, Instant now);

/// "Notifications are paused", with the end if there is one; empty without a pause.
[[nodiscard]] QString pausedText(const std::optional<Term> &pause, Instant now);

/// A pause that a menu offers.
enum class PauseChoice {
    OneHour,
    FourHours,
    UntilTomorrow, ///< at 9:00
};
inline constexpr std::array kPauseChoices{PauseChoice::OneHour, PauseChoice::FourHours, PauseChoice::UntilTomorrow};
[[nodiscard]] QString pauseText(PauseChoice choice);
/// When a pause ends that begins now.
[[nodiscard]] Instant endOf(PauseChoice choice, Instant now);
/// The action that ends the pause, with its end.
[[nodiscard]] QString resumeText(const Term &pause, Instant now);

/// The next instant at which the clocks of the user's zone show this time. Where they skip it, the first one after
/// that.
[[nodiscard]] Instant nextLocalTime(QTime time, Instant now);

} // namespace velmora
