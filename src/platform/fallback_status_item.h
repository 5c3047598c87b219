// SPDX-License-Identifier: MIT
#pragma once

#include "platform/status_item.h"

#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>

namespace velmora
{

/// An item that uses another adapter while no host shows the preferred one.
class FallbackStatusItem final : public StatusItem
{
    Q_OBJECT

public:
    /// Creates the other item; may return null.
    using Factory = std::function<std::unique_ptr<StatusItem>()>;

    /// Creates the other item whenever `preferred` has been unavailable for `patience`, and destroys it when
    /// `preferred` becomes available.
    FallbackStatusItem(std::unique_ptr<StatusItem> preferred, Factory makeOther,
        std::chrono::milliseconds patience = std::chrono::seconds(5), QObject *parent = nullptr);
    ~FallbackStatusItem() override;

    void setTitle(const QString &title) override;
    void setToolTip(const QString &title, const QString &text) override;
    void setIcon(const QList<QImage> &images) override;
    void setLabel(const QString &label) override;
    void setMenu(const QList<MenuEntry> &entries) override;
    void setStatus(Status status) override;
    [[nodiscard]] bool isAvailable() const override;

private:
    struct Content;

    void forwardSignalsOf(StatusItem *item);
    void preferredChanged(bool isAvailable);
    void useOther();
    void announce();
    void tell(const std::function<void(StatusItem &)> &what);

    std::unique_ptr<Content> m_content;
    std::unique_ptr<StatusItem> m_preferred;
    std::unique_ptr<StatusItem> m_other;
    Factory m_makeOther;
    QTimer m_patience;
    bool m_wasAvailable = false;
};

} // namespace velmora
