// SPDX-License-Identifier: MIT
#pragma once

#include "platform/settings_page_opener.h"

namespace velmora::testing
{

/// Counts the calls.
class FakeSettingsPageOpener final : public SettingsPageOpener
{
public:
    [[nodiscard]] std::optional<QString> openNotificationSettings() override
    {
        ++opened;
        return failure;
    }

    int opened = 0;
    std::optional<QString> failure; ///< why the page cannot be opened
};

} // namespace velmora::testing
