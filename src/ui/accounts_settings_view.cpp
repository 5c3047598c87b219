// SPDX-License-Identifier: MIT
#include "ui/accounts_settings_view.h"

#include "installations/installation_store.h"
#include "platform/url_opener.h"
#include "ui/account_row.h"
#include "ui/accounts_settings_texts.h"
#include "ui/avatar_gallery.h"
#include "ui/card.h"
#include "ui/device_code_panel.h"
#include "ui/empty_state_view.h"
#include "ui/menu_bar_presentation.h"
#include "ui/message_row.h"
#include "ui/repositories_presentation.h"
#include "ui/row_list.h"
#include "ui/scrolling_page.h"
#include "ui/separator.h"
#include "ui/settings_header.h"
#include "ui/switch_control.h"
#include "ui/symbols.h"

#include <QPushButton>
#include <QShowEvent>
#include <QVBoxLayout>

namespace velmora
{

namespace
{

using Texts = AccountsSettingsTexts;

constexpr int kPadding = 12;
constexpr int kSpacing = 10;
constexpr int kLeastList = 120;

/// Deletes nothing: the rows themselves are deleted by the list that they leave.
template <typename Key, typename Row>
void forgetOthers(QHash<Key, Row *> &rows, const QSet<Key> &kept)
{
    rows.removeIf([&kept](const auto &entry) { return !kept.contains(entry.key()); });
}

} // namespace

AccountsSettingsView::AccountsSettingsView(const Services &services, QWidget *parent)
    : QWidget(parent)
    , m_services(services)
    , m_gallery(new AvatarGallery(services.avatars, this))
    , m_add(new QPushButton(symbolIcon(u"plus"), Texts::addAccount()))
    , m_header(new SettingsHeader(Texts::title(), Texts::help(), m_add))
    , m_authorization(new Card)
    , m_error(new MessageRow(TextSize::Body, Tone::Red))
    , m_noAccounts(new EmptyStateView(
          {QStringLiteral("person.crop.circle.badge.plus"), Texts::noAccounts(), Texts::noAccountsHelp()}))
    , m_accountList(new RowList(Texts::title()))
    , m_installationSection(new QWidget)
    , m_manage(new QPushButton(Texts::manage()))
    , m_installationList(new RowList(Texts::installations()))
{
    const DeviceCodePanel::Services panelServices{services.authentication, services.pasteboard, services.urlOpener};
    m_authorization->addRow(new DeviceCodePanel(panelServices, DeviceCodePanel::Arrangement::Row));
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
    showInstallations();
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
    layout->addWidget(m_accountList, 1);
    layout->addWidget(makeInstallations(), 1);
    return content;
}

QWidget *AccountsSettingsView::makeInstallations()
{
    auto *heading = new TextLabel(TextSize::Body);
    heading->setWeight(QFont::DemiBold);
    heading->setText(Texts::installations());
    m_manage->setFlat(true);
    m_manage->setAutoDefault(false);
    auto *headingRow = new QHBoxLayout;
    headingRow->addWidget(heading, 1);
    headingRow->addWidget(m_manage);
    m_installationList->setMinimumHeight(kLeastList);

    auto *layout = new QVBoxLayout(m_installationSection);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kSpacing / 2);
    layout->addWidget(new Separator);
    layout->addLayout(headingRow);
    layout->addWidget(m_installationList, 1);
    return m_installationSection;
}

void AccountsSettingsView::connectStores()
{
    const auto *authentication = m_services.authentication;
    const auto *installations = m_services.installations;
    connect(m_add, &QPushButton::clicked, authentication, &AuthenticationStore::startConnecting);
    connect(m_manage, &QPushButton::clicked, this, &AccountsSettingsView::openInstallationPage);
    connect(authentication, &AuthenticationStore::connectionChanged, this, &AccountsSettingsView::showConnection);
    connect(authentication, &AuthenticationStore::sessionsChanged, this, &AccountsSettingsView::showSessions);
    connect(installations, &InstallationStore::installationsChanged, this, &AccountsSettingsView::showInstallations);
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
    m_isAtGitHub = false;
    m_appearance.cancelAll();
    auto refresh = m_services.installations->refresh(m_services.authentication, m_appearance.stopToken());
    m_appearance.launch(std::move(refresh), "Loading installations");
}

void AccountsSettingsView::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow() && isVisible() && m_isAtGitHub)
        loadInstallations();
}

void AccountsSettingsView::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    if (!event->spontaneous())
        m_appearance.cancelAll();
}

void AccountsSettingsView::showConnection()
{
    const AuthenticationStore &store = *m_services.authentication;
    const bool isPending = store.pendingAuthorization().has_value();
    m_add->setEnabled(canStartConnecting(store.connectionState()));
    m_authorization->setVisible(isPending);
    m_error->setMessage(isPending ? QString() : store.errorMessage().value_or(QString()));
}

void AccountsSettingsView::showSessions()
{
    const auto &sessions = m_services.authentication->sessions();
    QList<QWidget *> rows;
    QSet<qint64> listed;
    for (const GitHubAccountSession &session : sessions) {
        AccountRow *row = accountRow(session.id());
        row->setSession(session);
        rows.append(row);
        listed.insert(session.id());
    }
    forgetOthers(m_accountRows, listed);
    m_accountList->setRows(rows);
    m_noAccounts->setVisible(sessions.isEmpty());
    m_accountList->setVisible(!sessions.isEmpty());
    showPictures();
    showInstallations();
}

AccountRow *AccountsSettingsView::accountRow(qint64 accountID)
{
    if (auto *known = m_accountRows.value(accountID))
        return known;
    // A connection ends on the page on which the App is installed.
    m_isAtGitHub = m_isAtGitHub || isVisible();
    auto *row = new AccountRow(m_accountList);
    m_accountRows.insert(accountID, row);
    connect(row, &AccountRow::removeRequested, this, [this, accountID] { remove(accountID); });
    connect(row, &AccountRow::installRequested, this, &AccountsSettingsView::openInstallationPage);
    return row;
}

void AccountsSettingsView::showInstallations()
{
    const auto &installations = m_services.installations->installations();
    QList<QWidget *> rows;
    QSet<QString> listed;
    for (const InstallationRecord &record : installations) {
        const GitHubInstallationAccount &account = record.installation.account;
        SwitchControl *control = installationSwitch(record.id());
        control->setName(account.login, account.type, SwitchControl::Emphasis::Strong);
        control->setAccessibleDescription(
            installationDescription(record, installations, m_services.authentication->sessions()));
        control->setAccessibleName(monitoringSentence(account.login, record.isEnabled));
        control->setChecked(record.isEnabled);
        rows.append(control);
        listed.insert(record.id());
    }
    forgetOthers(m_installationSwitches, listed);
    m_installationList->setRows(rows);
    m_installationSection->setVisible(showsInstallations(m_services.authentication->sessions(), installations));
    showKnowledge();
    orderTabStops();
}

SwitchControl *AccountsSettingsView::installationSwitch(const QString &key)
{
    if (auto *known = m_installationSwitches.value(key))
        return known;
    auto *control = new SwitchControl(QString(), m_installationList);
    m_installationSwitches.insert(key, control);
    connect(control, &SwitchControl::clicked, this, [this, key](bool enabled) {
        m_services.installations->setInstallation(key, enabled);
        // One that has gone meanwhile changes nothing, and the switch must not look as if it had.
        showInstallations();
    });
    return control;
}

void AccountsSettingsView::showKnowledge()
{
    const InstallationStore &store = *m_services.installations;
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
    for (const GitHubAccountSession &session : m_services.authentication->sessions()) {
        const auto &address = session.account.avatarURL;
        if (address)
            addresses.insert(address->text());
        if (auto *row = m_accountRows.value(session.id()))
            row->setPicture(address ? m_gallery->picture(address->text()) : QImage());
    }
    // Nothing is asked of the network before somebody looks.
    if (isVisible())
        m_gallery->setShown(addresses);
}

void AccountsSettingsView::orderTabStops()
{
    QList<QWidget *> sequence{m_header, m_authorization};
    for (const GitHubAccountSession &session : m_services.authentication->sessions())
        sequence.append(m_accountRows.value(session.id()));
    sequence.append(m_manage);
    for (const InstallationRecord &record : m_services.installations->installations())
        sequence.append(m_installationSwitches.value(record.id()));
    sequence.removeAll(nullptr);
    setTabSequence(sequence);
}

void AccountsSettingsView::remove(qint64 accountID)
{
    m_services.authentication->remove(accountID);
    // Not ended by leaving the tab: what the account reached has to go from the other tabs and the monitor, too.
    auto refresh = m_services.installations->refresh(m_services.authentication, m_work.stopToken());
    m_work.launch(std::move(refresh), "Loading installations after a removal");
}

void AccountsSettingsView::openInstallationPage()
{
    m_isAtGitHub = true;
    m_services.urlOpener->open(m_services.installationURL);
}

} // namespace velmora
