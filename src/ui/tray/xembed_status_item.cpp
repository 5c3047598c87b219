// SPDX-License-Identifier: MIT
#include "ui/tray/xembed_status_item.h"

#include <QCursor>
#include <QGuiApplication>
#include <QTextDocument>

namespace velmora
{

XEmbedStatusItem::XEmbedStatusItem(QObject *parent)
    : StatusItem(parent)
{
    m_icon.setContextMenu(&m_menu);
    connect(&m_icon, &QSystemTrayIcon::activated, this, &XEmbedStatusItem::clicked);
}

std::unique_ptr<StatusItem> XEmbedStatusItem::makeWherePossible()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return nullptr;
    return std::make_unique<XEmbedStatusItem>();
}

void XEmbedStatusItem::show(const Content &content)
{
    const Content previous = std::exchange(m_content, content);
    showText(content.title, content.detail);
    if (content.icon != previous.icon)
        showIcon(content.icon);
    // The user may have the menu open.
    if (content.menu != previous.menu)
        showMenu(content.menu);
    m_icon.setVisible(content.status != Status::Passive);
}

void XEmbedStatusItem::showText(const QString &title, const QString &detail)
{
    const QString whole = detail.isEmpty() ? title : title + QLatin1Char('\n') + detail;
    // QSystemTrayIcon guesses whether the text is rich.
    m_icon.setToolTip(Qt::mightBeRichText(whole) ? Qt::convertFromPlainText(whole, Qt::WhiteSpaceNormal) : whole);
}

void XEmbedStatusItem::showIcon(const QList<QImage> &images)
{
    QIcon icon;
    for (const QImage &image : images)
        icon.addPixmap(QPixmap::fromImage(image));
    m_icon.setIcon(icon);
}

void XEmbedStatusItem::showMenu(const QList<MenuEntry> &entries)
{
    m_menu.clear();
    for (const MenuEntry &entry : entries) {
        if (entry.isSeparator) {
            m_menu.addSeparator();
            continue;
        }
        // In an action's text an ampersand marks the mnemonic; a double one shows a literal ampersand.
        QAction *const action = m_menu.addAction(QString(entry.label).replace(QLatin1Char('&'), QLatin1String("&&")));
        action->setEnabled(entry.isEnabled);
        // Queued, because the handler may delete the item and with it the menu that is emitting.
        connect(
            action, &QAction::triggered, this, [this, id = entry.id] { Q_EMIT menuTriggered(id, QString()); },
            Qt::QueuedConnection);
    }
}

bool XEmbedStatusItem::isAvailable() const
{
    return m_icon.isVisible() && QSystemTrayIcon::isSystemTrayAvailable();
}

void XEmbedStatusItem::clicked(QSystemTrayIcon::ActivationReason reason)
{
    // A double click was already reported as a click.
    if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::MiddleClick)
        Q_EMIT activated(QCursor::pos(), QString());
}

} // namespace velmora
