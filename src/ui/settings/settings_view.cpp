// SPDX-License-Identifier: MIT
#include "ui/settings/settings_view.h"

#include "monitor/deployment_monitor.h"
#include "monitor/stores.h"
#include "platform/desktop_ports.h"
#include "ui/controls/symbols.h"
#include "ui/settings/accounts/accounts_settings_view.h"
#include "ui/settings/environments/environments_settings_view.h"
#include "ui/settings/general/general_settings_view.h"
#include "ui/settings/repositories/repositories_settings_view.h"
#include "ui/window/refresh_keys.h"

#include <QEvent>
#include <QScreen>
#include <QShortcut>
#include <QTabBar>
#include <QVBoxLayout>

namespace velmora
{

namespace
{

constexpr QSize kSize(620, 440);
constexpr int kPadding = 12;
/// The font height up to which the size is not scaled.
constexpr int kUsualLine = 20;
/// The share of the screen that is left beside window frame and panels.
constexpr double kRoomShare = 0.92;

} // namespace

QSize settingsSize(int lineHeight, const QSize &room)
{
    const double scale = std::max(1.0, static_cast<double>(lineHeight) / kUsualLine);
    return (kSize.toSizeF() * scale).toSize().boundedTo(room);
}

SettingsView::SettingsView(const Stores &stores, const DesktopPorts &ports, SettingsPageOpener *settingsPageOpener,
    AvatarLoading *avatars, QWidget *parent)
    : QTabWidget(parent)
{
    setDocumentMode(true);
    auto *accountsTab = new AccountsSettingsView(stores, ports, avatars);
    auto *environmentsTab = new EnvironmentsSettingsView(&stores.monitor->environments());
    auto *repositoriesTab = new RepositoriesSettingsView(
        stores.authentication, stores.installations, &stores.monitor->announcements().muted(), ports.clock);
    auto *generalTab = new GeneralSettingsView(stores.settings, settingsPageOpener);
    addPage(QStringLiteral("&Accounts"), QStringLiteral("person.2"), accountsTab,
        [accountsTab] { accountsTab->refresh(); });
    addPage(QStringLiteral("&Repositories"), QStringLiteral("folder"), repositoriesTab,
        [repositoriesTab] { repositoriesTab->refresh(); });
    // Nothing is loaded for it but what the others load.
    addPage(QStringLiteral("En&vironments"), QStringLiteral("square.stack"), environmentsTab, [] {});
    addPage(
        QStringLiteral("&General"), QStringLiteral("gearshape"), generalTab, [generalTab] { generalTab->refresh(); });
    addShortcuts();
    // The focus would stay in the hidden tab. A user who moves along the tab bar keeps it there.
    connect(this, &QTabWidget::currentChanged, this, [this] {
        if (!tabBar()->hasFocus())
            focusContent();
    });
    setFixedSize(sizeHint());
}

void SettingsView::addPage(const QString &label, const QString &symbol, QWidget *content, std::function<void()> refresh)
{
    m_refreshes.append(std::move(refresh));
    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    layout->addWidget(content);
    page->setFocusProxy(content);
    addTab(page, symbolIcon(symbol), label);
}

void SettingsView::addShortcuts()
{
    const auto onKey = [this](const QKeySequence &keys, auto action) {
        auto *shortcut = new QShortcut(keys, this);
        shortcut->setContext(Qt::WindowShortcut);
        connect(shortcut, &QShortcut::activated, this, action);
    };
    onKey(Qt::CTRL | Qt::Key_Tab, [this] { enter((currentIndex() + 1) % count()); });
    onKey(Qt::CTRL | Qt::SHIFT | Qt::Key_Tab, [this] { enter((currentIndex() + count() - 1) % count()); });
    // On X11, Shift+Tab arrives as Backtab.
    onKey(Qt::CTRL | Qt::SHIFT | Qt::Key_Backtab, [this] { enter((currentIndex() + count() - 1) % count()); });
    onKey(Qt::CTRL | Qt::Key_1, [this] { enter(0); });
    onKey(Qt::CTRL | Qt::Key_2, [this] { enter(1); });
    onKey(Qt::CTRL | Qt::Key_3, [this] { enter(2); });
    onKey(Qt::CTRL | Qt::Key_4, [this] { enter(3); });
    onRefreshKeys(this, [this] { m_refreshes.at(currentIndex())(); });
}

void SettingsView::enter(int index)
{
    setCurrentIndex(index);
    focusContent();
}

void SettingsView::focusContent()
{
    currentWidget()->setFocus(Qt::OtherFocusReason);
}

QSize SettingsView::sizeHint() const
{
    const QSize room = (screen()->availableSize().toSizeF() * kRoomShare).toSize();
    return settingsSize(fontMetrics().height(), room);
}

void SettingsView::changeEvent(QEvent *event)
{
    QTabWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        setFixedSize(sizeHint());
}

} // namespace velmora
