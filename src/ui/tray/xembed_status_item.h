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
/// The title is shown only when hovering. Qt draws the icon and restores it when the panel restarts.
class XEmbedStatusItem final : public StatusItem
{
    Q_OBJECT

public:
    explicit XEmbedStatusItem(QObject *parent = nullptr);

    /// An item if the display is X11, else null.
    [[nodiscard]] static std::unique_ptr<StatusItem> makeWherePossible();

    void show(const Content &content) override;
    /// The current state; a panel that comes or goes later is not announced.
    [[nodiscard]] bool isAvailable() const override;

private:
    void showText(const QString &title, const QString &detail);
    void showIcon(const QList<QImage> &images);
    void showMenu(const QList<MenuEntry> &entries);
    void clicked(QSystemTrayIcon::ActivationReason reason);

    Content m_content;
    QMenu m_menu; ///< declared first, because the icon uses it until its end
    QSystemTrayIcon m_icon{this};
};

} // namespace velmora
