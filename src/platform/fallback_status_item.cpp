// SPDX-License-Identifier: MIT
#include "platform/fallback_status_item.h"

#include <QImage>

namespace velmora
{

/// The state to pass to the other item when it is created.
struct FallbackStatusItem::Content {
    QString title;
    QString toolTipTitle;
    QString toolTipText;
    QList<QImage> icon;
    QString label;
    QList<MenuEntry> menu;
    Status status = Status::Active;

    void tell(StatusItem &item) const
    {
        item.setTitle(title);
        item.setToolTip(toolTipTitle, toolTipText);
        item.setIcon(icon);
        item.setLabel(label);
        item.setMenu(menu);
        item.setStatus(status);
    }
};

FallbackStatusItem::FallbackStatusItem(
    std::unique_ptr<StatusItem> preferred, Factory makeOther, std::chrono::milliseconds patience, QObject *parent)
    : StatusItem(parent)
    , m_content(std::make_unique<Content>())
    , m_preferred(std::move(preferred))
    , m_makeOther(std::move(makeOther))
{
    forwardSignalsOf(m_preferred.get());
    connect(m_preferred.get(), &StatusItem::availabilityChanged, this, &FallbackStatusItem::preferredChanged);
    m_patience.setSingleShot(true);
    m_patience.setInterval(patience);
    connect(&m_patience, &QTimer::timeout, this, &FallbackStatusItem::useOther);
    m_wasAvailable = m_preferred->isAvailable();
    if (!m_wasAvailable)
        m_patience.start();
}

FallbackStatusItem::~FallbackStatusItem() = default;

void FallbackStatusItem::forwardSignalsOf(StatusItem *item)
{
    connect(item, &StatusItem::activated, this, &StatusItem::activated);
    connect(item, &StatusItem::menuTriggered, this, &StatusItem::menuTriggered);
}

void FallbackStatusItem::preferredChanged(bool isAvailable)
{
    if (isAvailable) {
        m_patience.stop();
        m_other.reset();
    } else {
        m_patience.start();
    }
    announce();
}

void FallbackStatusItem::useOther()
{
    m_other = m_makeOther();
    if (!m_other)
        return;
    m_content->tell(*m_other);
    forwardSignalsOf(m_other.get());
    connect(m_other.get(), &StatusItem::availabilityChanged, this, &FallbackStatusItem::announce);
    announce();
}

void FallbackStatusItem::announce()
{
    const bool isNow = isAvailable();
    if (std::exchange(m_wasAvailable, isNow) != isNow)
        Q_EMIT availabilityChanged(isNow);
}

bool FallbackStatusItem::isAvailable() const
{
    return m_preferred->isAvailable() || (m_other && m_other->isAvailable());
}

void FallbackStatusItem::tell(const std::function<void(StatusItem &)> &what)
{
    what(*m_preferred);
    if (m_other)
        what(*m_other);
}

void FallbackStatusItem::setTitle(const QString &title)
{
    m_content->title = title;
    tell([&](StatusItem &item) { item.setTitle(title); });
}

void FallbackStatusItem::setToolTip(const QString &title, const QString &text)
{
    m_content->toolTipTitle = title;
    m_content->toolTipText = text;
    tell([&](StatusItem &item) { item.setToolTip(title, text); });
}

void FallbackStatusItem::setIcon(const QList<QImage> &images)
{
    m_content->icon = images;
    tell([&](StatusItem &item) { item.setIcon(images); });
}

void FallbackStatusItem::setLabel(const QString &label)
{
    m_content->label = label;
    tell([&](StatusItem &item) { item.setLabel(label); });
}

void FallbackStatusItem::setMenu(const QList<MenuEntry> &entries)
{
    m_content->menu = entries;
    tell([&](StatusItem &item) { item.setMenu(entries); });
}

void FallbackStatusItem::setStatus(Status status)
{
    m_content->status = status;
    tell([&](StatusItem &item) { item.setStatus(status); });
}

} // namespace velmora
