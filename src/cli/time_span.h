// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <chrono>
#include <optional>

namespace velmora
{

/// A whole number of seconds, minutes or hours: "90s", "30m", "2h". Returns nullopt for anything else.
[[nodiscard]] std::optional<std::chrono::seconds> parseTimeSpan(const QString &text);

} // namespace velmora
