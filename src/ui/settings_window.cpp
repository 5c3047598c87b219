// SPDX-License-Identifier: MIT
#include "ui/settings_window.h"

#include "ui/accessible_part.h"
#include "ui/window_activation.h"

#include <QShortcut>
#include <QVBoxLayout>

namespace velmora
{

SettingsWindow::SettingsWindow(const SettingsView::Services &services, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_view(new SettingsView(services))
{
    describeBy<SettingsWindow, AccessibleWindow>();
    setWindowTitle(tr("Settings"));
    // Some platforms quit a program when its last window closes; this one lives beside the tray.
    setAttribute(Qt::WA_QuitOnClose, false);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(m_view);
    for (const QKeySequence &keys : {QKeySequence(Qt::Key_Escape), QKeySequence(Qt::CTRL | Qt::Key_W)}) {
        auto *shortcut = new QShortcut(keys, this);
        connect(shortcut, &QShortcut::activated, this, &QWidget::close);
    }
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
