// SPDX-License-Identifier: MIT
#pragma once

#include "platform/status_item.h"

namespace velmora::testing
{

/// Records what it is to show; the test sets its availability.
class FakeStatusItem final : public StatusItem
{
public:
    using StatusItem::StatusItem;

    void show(const Content &shown) override
    {
        content = shown;
        ++calls;
    }
    [[nodiscard]] bool isAvailable() const override { return m_isAvailable; }

    void becomeAvailable(bool isAvailable)
    {
        m_isAvailable = isAvailable;
        Q_EMIT availabilityChanged(isAvailable);
    }
    [[nodiscard]] int entryNamed(const QString &text) const
    {
        for (const MenuEntry &entry : content.menu) {
            if (entry.label == text)
                return entry.id;
        }
        return 0;
    }

    Content content;
    int calls = 0;

private:
    bool m_isAvailable = false;
};

} // namespace velmora::testing
