// SPDX-License-Identifier: MIT
#pragma once

#include "platform/status_item.h"

#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>

namespace velmora
{

/// An item that is shown in another way while no host shows it in the better one.
class FallbackStatusItem final : public StatusItem
{
    Q_OBJECT

public:
    /// Makes the other item; may return none.
    using Factory = std::function<std::unique_ptr<StatusItem>()>;

    /// `preferred` gets `patience` to become available, each time that it is not, before the other one is made. The
    /// other one goes when `preferred` comes.
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
