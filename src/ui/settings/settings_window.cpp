// SPDX-License-Identifier: MIT
#include "ui/settings/settings_window.h"

#include "monitor/stores.h"
#include "platform/desktop_ports.h"
#include "platform/preferences.h"
#include "platform/url_opener.h"
#include "ui/accessibility/accessible_part.h"
#include "ui/controls/message_row.h"
#include "ui/controls/unopened_page_row.h"
#include "ui/deployments/row_metrics.h"
#include "ui/window/window_activation.h"

#include <QHideEvent>
#include <QShortcut>
#include <QVBoxLayout>

namespace velmora
{

SettingsWindow::SettingsWindow(const Stores &stores, const DesktopPorts &ports, SettingsPageOpener *settingsPageOpener,
    AvatarLoading *avatars, QWidget *parent)
    : FramedWindow(frameOfPlatform(), parent)
    , m_preferences(stores.preferences)
    , m_urlOpener(ports.urlOpener)
    , m_view(new SettingsView(stores, ports, settingsPageOpener, avatars))
    , m_unsaved(new MessageRow(TextSize::Body, Tone::Red, this))
{
    installAccessible<SettingsWindow, AccessibleWindow>();
    setWindowTitle(QStringLiteral("Settings"));
    // Qt would quit the program with its last window, but it lives on in the tray.
    setAttribute(Qt::WA_QuitOnClose, false);
    QVBoxLayout *const layout = contentLayout();
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(m_view);
    m_unsaved->setContentsMargins(kRowMargin, kRowMargin, kRowMargin, kRowMargin);
    layout->addWidget(m_unsaved);
    auto *unopened = new UnopenedPageRow(ports.urlOpener, ports.pasteboard, this);
    unopened->setContentsMargins(kRowMargin, kRowMargin, kRowMargin, kRowMargin);
    layout->addWidget(unopened);
    connect(m_preferences, &Preferences::failureChanged, this, &SettingsWindow::showUnsaved);
    showUnsaved();
    for (const QKeySequence &keys : {QKeySequence(Qt::Key_Escape), QKeySequence(Qt::CTRL | Qt::Key_W)}) {
        auto *shortcut = new QShortcut(keys, this);
        connect(shortcut, &QShortcut::activated, this, &QWidget::close);
    }
}

void SettingsWindow::showUnsaved()
{
    const QString failure = m_preferences->failure();
    m_unsaved->setMessage(failure);
    if (failure.isEmpty())
        return;
    // A layout with a fixed size ignores heightForWidth().
    m_unsaved->setFixedHeight(m_unsaved->heightForWidth(m_view->width()));
}

void SettingsWindow::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    if (!event->spontaneous())
        m_urlOpener->forgetUnopened();
}

void SettingsWindow::open(const QString &activationToken)
{
    if (!isVisible())
        m_view->focusContent();
    if (isMinimized())
        showNormal();
    else
        show();
    bringToFront(this, activationToken);
}

} // namespace velmora
