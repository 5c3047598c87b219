// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>

namespace velmora
{

/// The desktop's own settings.
class SettingsPageOpener
{
public:
    virtual ~SettingsPageOpener() = default;

    /// Opens the page on which the user allows notifications. Returns nullopt if it was started, else a message for the
    /// user.
    [[nodiscard]] virtual std::optional<QString> openNotificationSettings() = 0;
};

} // namespace velmora
