// SPDX-License-Identifier: MIT
#include "platform/fallback_status_item.h"

#include <utility>

namespace velmora
{

FallbackStatusItem::FallbackStatusItem(
    std::unique_ptr<StatusItem> preferred, Factory makeOther, std::chrono::milliseconds patience, QObject *parent)
    : StatusItem(parent)
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
    m_other->show(m_content);
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

void FallbackStatusItem::show(const Content &content)
{
    m_content = content;
    m_preferred->show(content);
    if (m_other)
        m_other->show(content);
}

} // namespace velmora
