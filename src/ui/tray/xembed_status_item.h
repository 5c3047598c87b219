// SPDX-License-Identifier: MIT
#pragma once

#include "platform/status_item.h"

#include <QMenu>
#include <QSystemTrayIcon>

#include <memory>

namespace velmora
{

/// A tray item for old X11 panels, which embed a window of the program.
///
/// Title and label are not shown. Qt draws the icon and restores it when the panel restarts.
class XEmbedStatusItem final : public StatusItem
{
    Q_OBJECT

public:
    explicit XEmbedStatusItem(QObject *parent = nullptr);

    /// An item if the display is X11, else null.
    [[nodiscard]] static std::unique_ptr<StatusItem> makeWherePossible();

    void setTitle(const QString &title) override;
    void setToolTip(const QString &title, const QString &text) override;
    void setIcon(const QList<QImage> &images) override;
    void setLabel(const QString &label) override;
    void setMenu(const QList<MenuEntry> &entries) override;
    void setStatus(Status status) override;
    /// The current state; a panel that comes or goes later is not announced.
    [[nodiscard]] bool isAvailable() const override;

private:
    void clicked(QSystemTrayIcon::ActivationReason reason);

    QMenu m_menu; ///< declared first, because the icon uses it until its end
    QSystemTrayIcon m_icon{this};
};

} // namespace velmora
