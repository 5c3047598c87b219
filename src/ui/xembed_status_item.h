// SPDX-License-Identifier: MIT
#pragma once

#include "platform/status_item.h"

#include <QMenu>
#include <QSystemTrayIcon>

#include <memory>

namespace velmora
{

/// A tray item for old panels of X11, which embed a window of the program.
///
/// They know no title and no label. Qt draws the icon, and puts it back when the panel comes back.
class XEmbedStatusItem final : public StatusItem
{
    Q_OBJECT

public:
    explicit XEmbedStatusItem(QObject *parent = nullptr);

    /// An item where the display is X11, and none elsewhere.
    [[nodiscard]] static std::unique_ptr<StatusItem> makeWherePossible();

    void setTitle(const QString &title) override;
    void setToolTip(const QString &title, const QString &text) override;
    void setIcon(const QList<QImage> &images) override;
    void setLabel(const QString &label) override;
    void setMenu(const QList<MenuEntry> &entries) override;
    void setStatus(Status status) override;
    /// As it is now; a panel that comes or goes later is not announced.
    [[nodiscard]] bool isAvailable() const override;

private:
    void clicked(QSystemTrayIcon::ActivationReason reason);

    QMenu m_menu; ///< outlives the icon, which uses it
    QSystemTrayIcon m_icon{this};
};

} // namespace velmora
