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

    void show(const Content &content) override;
    [[nodiscard]] bool isAvailable() const override;

private:
    void forwardSignalsOf(StatusItem *item);
    void preferredChanged(bool isAvailable);
    void useOther();
    void announce();

    Content m_content; ///< for the other item when it is created
    std::unique_ptr<StatusItem> m_preferred;
    std::unique_ptr<StatusItem> m_other;
    Factory m_makeOther;
    QTimer m_patience;
    bool m_wasAvailable = false;
};

} // namespace velmora
