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

    /// Opens the page on which the person allows notifications. Nothing when it was started, else what to tell the
    /// person instead.
    [[nodiscard]] virtual std::optional<QString> openNotificationSettings() = 0;
};

} // namespace velmora
