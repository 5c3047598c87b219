// SPDX-License-Identifier: MIT
#include "ui/settings/accounts/accounts_settings_view.h"

#include "accounts/installation_page.h"
#include "installations/installation_store.h"
#include "presentation/accounts_settings_texts.h"
#include "presentation/menu_bar_presentation.h"
#include "support/error.h"
#include "ui/controls/card.h"
#include "ui/controls/empty_state_view.h"
#include "ui/controls/message_row.h"
#include "ui/controls/row_list.h"
#include "ui/controls/scrolling_page.h"
#include "ui/controls/symbols.h"
#include "ui/settings/accounts/account_row.h"
#include "ui/settings/accounts/avatar_gallery.h"
#include "ui/settings/accounts/installation_section.h"
#include "ui/settings/settings_header.h"
#include "ui/window/device_code_panel.h"

#include <QPushButton>
#include <QShowEvent>
#include <QVBoxLayout>

namespace velmora
{

namespace
{

using Texts = AccountsSettingsTexts;

constexpr int kPadding = 12;
constexpr int kSpacing = 12;
constexpr int kLeastList = 120;

} // namespace

AccountsSettingsView::AccountsSettingsView(
    const Stores &stores, const DesktopPorts &ports, AvatarLoading *avatars, QWidget *parent)
    : QWidget(parent)
    , m_stores(stores)
    , m_gallery(new AvatarGallery(avatars, this))
    , m_add(new QPushButton(symbolIcon(u"plus"), Texts::addAccount()))
    , m_header(new SettingsHeader(Texts::title(), Texts::help(), m_add))
    , m_authorization(new Card)
    , m_error(new MessageRow(TextSize::Body, Tone::Red))
    , m_noAccounts(new EmptyStateView(
          {QStringLiteral("person.crop.circle.badge.plus"), Texts::noAccounts(), Texts::noAccountsHelp()}))
    , m_accountList(new RowList(Texts::title()))
    , m_installations(new InstallationSection(stores.authentication, stores.installations, this))
{
    m_authorization->addRow(new DeviceCodePanel(stores.authentication, ports, DeviceCodePanel::Arrangement::Row));
    m_add->setAutoDefault(false);
    setFocusProxy(m_add);
    auto *page = new ScrollingPage(this);
    page->setContent(makeContent());
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(page);
    connectStores();
    showConnection();
    showSessions();
}

QWidget *AccountsSettingsView::makeContent()
{
    for (QWidget *accounts : {static_cast<QWidget *>(m_noAccounts), static_cast<QWidget *>(m_accountList)})
        accounts->setMinimumHeight(kLeastList);
    auto *content = new QWidget;
    auto *layout = new QVBoxLayout(content);
    layout->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    layout->setSpacing(kSpacing);
    layout->addWidget(m_header);
    layout->addWidget(m_authorization);
    layout->addWidget(m_error);
    layout->addWidget(m_noAccounts, 1);
    // Both lists have their full height; the page scrolls if they do not fit.
    layout->addWidget(m_accountList);
    layout->addWidget(m_installations);
    layout->addStretch();
    return content;
}

void AccountsSettingsView::connectStores()
{
    const auto *authentication = m_stores.authentication;
    const auto *installations = m_stores.installations;
    connect(m_add, &QPushButton::clicked, this, &AccountsSettingsView::connectAccount);
    connect(m_installations, &InstallationSection::manageRequested, this, &AccountsSettingsView::openInstallationPage);
    connect(m_installations, &InstallationSection::rowsChanged, this, &AccountsSettingsView::orderTabStops);
    connect(authentication, &AuthenticationStore::connectionChanged, this, &AccountsSettingsView::showConnection);
    connect(authentication, &AuthenticationStore::sessionsChanged, this, &AccountsSettingsView::showSessions);
    connect(installations, &InstallationStore::installationsChanged, this, &AccountsSettingsView::showKnowledge);
    connect(installations, &InstallationStore::stateChanged, this, &AccountsSettingsView::showKnowledge);
    connect(m_gallery, &AvatarGallery::changed, this, &AccountsSettingsView::showPictures);
}

void AccountsSettingsView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (event->spontaneous())
        return;
    m_gallery->retry();
    showPictures();
    loadInstallations();
}

void AccountsSettingsView::loadInstallations()
{
    m_appearance.cancelAll();
    auto refresh = m_stores.installations->refresh(m_stores.authentication, m_appearance.stopToken());
    m_appearance.launch(std::move(refresh), "Loading installations");
}

void AccountsSettingsView::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    if (!event->spontaneous())
        m_appearance.cancelAll();
}

void AccountsSettingsView::showConnection()
{
    const AuthenticationStore &store = *m_stores.authentication;
    const bool isPending = store.pendingAuthorization().has_value();
    m_add->setEnabled(canStartConnecting(store.connectionState()));
    m_authorization->setVisible(isPending);
    const QString message = m_removalError.isEmpty() ? store.errorMessage().value_or(QString()) : m_removalError;
    m_error->setMessage(isPending ? QString() : message);
}

void AccountsSettingsView::showSessions()
{
    const auto &sessions = m_stores.authentication->sessions();
    QList<QWidget *> rows;
    QSet<qint64> listed;
    for (const GitHubAccountSession &session : sessions) {
        AccountRow *row = accountRow(session.id());
        row->setSession(session);
        row->setAdvice(m_stores.authentication->advice(session.id()).value_or(QString()));
        rows.append(row);
        listed.insert(session.id());
    }
    // m_accountList deletes the widgets that it no longer shows.
    m_accountRows.removeIf([&](const auto &entry) { return !listed.contains(entry.key()); });
    m_accountList->setRows(rows);
    m_noAccounts->setVisible(sessions.isEmpty());
    m_accountList->setVisible(!sessions.isEmpty());
    showPictures();
    showKnowledge();
    orderTabStops();
}

AccountRow *AccountsSettingsView::accountRow(qint64 accountID)
{
    if (auto *known = m_accountRows.value(accountID))
        return known;
    auto *row = new AccountRow(m_accountList);
    m_accountRows.insert(accountID, row);
    connect(row, &AccountRow::removeRequested, this, [this, accountID] { remove(accountID); });
    connect(row, &AccountRow::installRequested, this, &AccountsSettingsView::openInstallationPage);
    return row;
}

void AccountsSettingsView::showKnowledge()
{
    const InstallationStore &store = *m_stores.installations;
    for (auto row = m_accountRows.cbegin(); row != m_accountRows.cend(); ++row) {
        InstallationKnowledge knowledge;
        knowledge.count = installationCount(store.installations(), row.key());
        knowledge.isLoaded = store.hasLoaded(row.key());
        const auto failure = std::ranges::find(store.failures(), row.key(), &InstallationFailure::identityID);
        if (failure != store.failures().end())
            knowledge.failure = failure->description;
        row.value()->setInstallations(installationSummary(knowledge));
    }
}

void AccountsSettingsView::showPictures()
{
    QSet<QString> addresses;
    for (const GitHubAccountSession &session : m_stores.authentication->sessions()) {
        const auto &address = session.account.avatarURL;
        if (address)
            addresses.insert(address->text());
        if (auto *row = m_accountRows.value(session.id()))
            row->setPicture(address ? m_gallery->picture(address->text()) : QImage());
    }
    // Pictures are loaded only while the tab is visible.
    if (isVisible())
        m_gallery->setShown(addresses);
}

void AccountsSettingsView::orderTabStops()
{
    setTabSequence({m_header, m_authorization, m_accountList, m_installations});
}

void AccountsSettingsView::connectAccount()
{
    m_removalError.clear();
    showConnection();
    m_stores.authentication->startConnecting();
}

void AccountsSettingsView::remove(qint64 accountID)
{
    m_removalError.clear();
    showConnection();
    // Belongs to m_work, so that leaving the tab does not cancel it: the other tabs and the monitor have to drop the
    // account's repositories, too.
    m_work.launch(removeAndReload(accountID, m_work.stopToken()), "Removing an account");
}

QCoro::Task<> AccountsSettingsView::removeAndReload(qint64 accountID, std::stop_token stop)
{
    const QPointer<AccountsSettingsView> self(this);
    std::exception_ptr failure;
    try {
        co_await m_stores.authentication->remove(accountID);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self || stop.stop_requested())
        co_return;
    if (failure) {
        m_removalError = describe(failure);
        showConnection();
        co_return;
    }
    co_await m_stores.installations->refresh(m_stores.authentication, stop);
}

void AccountsSettingsView::openInstallationPage()
{
    m_stores.installationPage->open();
}

} // namespace velmora
