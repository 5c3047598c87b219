// SPDX-License-Identifier: MIT
#pragma once

#include "platform/status_item.h"

#include <QImage>
#include <QStringList>

namespace velmora::testing
{

/// Records what it is told; the test sets its availability.
class FakeStatusItem final : public StatusItem
{
public:
    using StatusItem::StatusItem;

    void setTitle(const QString &text) override
    {
        title = text;
        ++calls;
    }
    void setToolTip(const QString &titleText, const QString &text) override
    {
        toolTip = {titleText, text};
        ++calls;
    }
    void setIcon(const QList<QImage> &images) override
    {
        icon = images;
        ++calls;
    }
    void setLabel(const QString &text) override
    {
        label = text;
        ++calls;
    }
    void setMenu(const QList<MenuEntry> &entries) override
    {
        menu = entries;
        ++calls;
    }
    void setStatus(Status value) override
    {
        status = value;
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
        for (const MenuEntry &entry : menu) {
            if (entry.label == text)
                return entry.id;
        }
        return 0;
    }

    QString title;
    QStringList toolTip;
    QString label;
    QList<QImage> icon;
    QList<MenuEntry> menu;
    std::optional<Status> status;
    int calls = 0;

private:
    bool m_isAvailable = false;
};

} // namespace velmora::testing
