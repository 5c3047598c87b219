// SPDX-License-Identifier: MIT
#pragma once

#include "platform/settings_page_opener.h"

namespace velmora::testing
{

/// Counts how often the page was asked for.
class FakeSettingsPageOpener final : public SettingsPageOpener
{
public:
    [[nodiscard]] std::optional<QString> openNotificationSettings() override
    {
        ++opened;
        return failure;
    }

    int opened = 0;
    std::optional<QString> failure; ///< what the desktop says instead
};

} // namespace velmora::testing
