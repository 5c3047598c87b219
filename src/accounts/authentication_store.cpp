// SPDX-License-Identifier: MIT
#include "accounts/authentication_store.h"

#include "accounts/account_removal_error.h"
#include "accounts/installation_page.h"
#include "accounts/renewing_credentials.h"
#include "platform/preferences.h"
#include "support/alphabetical_order.h"
#include "support/error.h"
#include "support/json.h"

#include <QLoggingCategory>
#include <QPointer>

#include <array>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(accountsLog, "velmora.accounts", QtWarningMsg)

const QString kAccountsKey = QStringLiteral("github.accounts");

/// The pause before the next attempt to read the credential store, by the number of failed rounds.
std::chrono::seconds retryDelay(int failedRounds)
{
    constexpr std::array kDelays{std::chrono::seconds(5), std::chrono::seconds(15)};
    const auto index = static_cast<std::size_t>(failedRounds);
    return index < kDelays.size() ? kDelays[index] : std::chrono::seconds(60);
}

/// Whether a later attempt to read the credential may succeed.
bool isTemporary(const std::exception_ptr &failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const DecodingError &) {
        return false; // the item was read, and it is not a credential
    } catch (...) {
        return true;
    }
}

} // namespace

AuthenticationStore::AuthenticationStore(
    GitHubClient client, std::shared_ptr<CredentialStoring> credentialStore, Services services, QObject *parent)
    : QObject(parent)
    , m_credentialStore(std::make_shared<WatchedCredentials>(std::move(credentialStore)))
    , m_services(std::move(services))
    , m_connectionCounts(m_services.defaults)
    , m_endedSessions(m_services.defaults)
    , m_turns(m_services.locks, m_services.clock)
    , m_renewal(renewalServices(client))
    , m_connection(connectionServices(client))
    , m_credentials(std::make_shared<RenewingCredentials>(&m_renewal))
    , m_promptCredentials(std::make_shared<PromptCredentials>(m_credentials, m_services.clock))
{
    QObject::connect(
        m_credentialStore.get(), &WatchedCredentials::lockedChanged, this, &AuthenticationStore::lockedChanged);
    QObject::connect(
        m_credentialStore.get(), &WatchedCredentials::askingChanged, this, &AuthenticationStore::askingChanged);
    QObject::connect(&m_connection, &AccountConnection::changed, this, &AuthenticationStore::connectionChanged);
    QObject::connect(&m_connection, &AccountConnection::accountConnected, this, &AuthenticationStore::adoptConnected);
    QObject::connect(&m_renewal, &CredentialRenewal::renewalsFinished, this, &AuthenticationStore::renewalsFinished);
    QObject::connect(&m_renewal, &CredentialRenewal::statusChanged, this, &AuthenticationStore::updateStatus);
    QObject::connect(&m_renewal, &CredentialRenewal::sessionEnded, this, &AuthenticationStore::endSession);
    QObject::connect(&m_renewal, &CredentialRenewal::credentialFound, this, &AuthenticationStore::recordGoodCredential);
    QObject::connect(
        m_promptCredentials.get(), &PromptCredentials::arrived, this, &AuthenticationStore::credentialChanged);
    restoreAccounts();
    QObject::connect(m_services.defaults, &Preferences::changed, this, [this](const QString &key) {
        if (key == kAccountsKey)
            adoptStoredAccounts();
        else if (key == ConnectionCounts::key())
            adoptConnections();
    });
    m_scope.launch(restoreStatuses(m_scope.stopToken()), "Restoring the accounts");
}

AuthenticationStore::~AuthenticationStore() = default;

CredentialRenewal::Services AuthenticationStore::renewalServices(const GitHubClient &client)
{
    return {client, m_credentialStore, &m_turns, &m_endedSessions, m_services.clock};
}

AccountConnection::Services AuthenticationStore::connectionServices(const GitHubClient &client)
{
    AccountConnection::Services services;
    services.client = client;
    services.credentialStore = m_credentialStore;
    services.turns = &m_turns;
    services.pasteboard = m_services.pasteboard;
    services.urlOpener = m_services.urlOpener;
    services.installationPage = m_services.installationPage;
    services.isListed = [this](qint64 accountID) {
        return isListed(accountID);
    };
    return services;
}

QCoro::Task<> AuthenticationStore::remove(qint64 accountID)
{
    const QPointer<AuthenticationStore> self(this);
    const auto credentialStore = m_credentialStore;
    CredentialTurn turn;
    try {
        // A running refresh may store one more credential, which must be removed too.
        turn = co_await m_turns.take(accountID, CredentialUse::Removing, std::stop_token());
    } catch (const Error &error) {
        qCInfo(accountsLog).noquote() << "A credential is removed out of turn:" << error.description();
    }
    if (!self)
        co_return;
    const auto session = std::ranges::find(m_sessions, accountID, &GitHubAccountSession::id);
    if (session == m_sessions.end())
        co_return;
    const QString login = session->account.login;
    std::exception_ptr failure;
    try {
        co_await credentialStore->remove(accountID, Interaction::Allowed);
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure)
        throw AccountRemovalError(login, failure);
    if (self)
        forget(accountID);
}

QCoro::Task<> AuthenticationStore::unlock()
{
    const auto credentialStore = m_credentialStore;
    QList<qint64> accountIDs;
    for (const GitHubAccountSession &session : std::as_const(m_sessions))
        accountIDs.append(session.id());
    try {
        co_await credentialStore->unlock(accountIDs);
    } catch (const Error &error) {
        qCInfo(accountsLog).noquote() << "The credentials were not unlocked:" << error.description();
    }
}

std::optional<QList<GitHubAccount>> AuthenticationStore::storedAccounts() const
{
    const auto data = m_services.defaults->data(kAccountsKey);
    if (!data)
        return std::nullopt;
    try {
        return decodeJSON<QList<GitHubAccount>>(*data);
    } catch (const Error &error) {
        qCWarning(accountsLog).noquote() << "The list of accounts is not used:" << error.description();
        return std::nullopt;
    }
}

void AuthenticationStore::restoreAccounts()
{
    const auto accounts = storedAccounts().value_or(QList<GitHubAccount>());
    for (const GitHubAccount &account : accounts) {
        if (isListed(account.id))
            continue;
        m_sessions.append({account, GitHubSessionStatus::ReconnectRequired});
        m_unreadAccounts.insert(account.id);
    }
}

void AuthenticationStore::adoptStoredAccounts()
{
    const auto accounts = storedAccounts();
    if (!accounts)
        return;
    QList<GitHubAccountSession> sessions;
    QSet<qint64> listed;
    for (const GitHubAccount &account : *accounts) {
        if (listed.contains(account.id))
            continue;
        listed.insert(account.id);
        const auto known = std::ranges::find(m_sessions, account.id, &GitHubAccountSession::id);
        const bool isNew = known == m_sessions.end();
        if (isNew)
            m_unreadAccounts.insert(account.id);
        sessions.append({account, isNew ? GitHubSessionStatus::ReconnectRequired : known->status});
    }
    m_unreadAccounts.intersect(listed);
    m_endedAccounts.intersect(listed);
    for (const GitHubAccountSession &session : std::as_const(m_sessions)) {
        if (listed.contains(session.id()))
            continue;
        m_renewal.supersede(session.id());
        m_credentialStore->forget(session.id());
    }
    if (sessions == m_sessions)
        return;
    m_sessions = std::move(sessions);
    readUnreadAccounts();
    Q_EMIT sessionsChanged();
}

/// Another process has connected accounts: drops all knowledge about their old credentials. That process has also
/// opened the installation page, as AccountConnection does here.
void AuthenticationStore::adoptConnections()
{
    const QPointer<AuthenticationStore> self(this);
    const QList<qint64> accountIDs = m_connectionCounts.takeChanged();
    if (!accountIDs.isEmpty() && m_services.installationPage)
        m_services.installationPage->recordOpened();
    for (const qint64 accountID : accountIDs) {
        if (!isListed(accountID))
            continue;
        m_unreadAccounts.insert(accountID);
        recordNewCredential(accountID);
        if (!self)
            return;
    }
    readUnreadAccounts();
}

void AuthenticationStore::readUnreadAccounts()
{
    // A running restoration may be sleeping until its next attempt, so read at once.
    if (m_isRestoring)
        m_scope.launch(readStatuses(), "Reading new credentials");
    else
        m_scope.launch(restoreStatuses(m_scope.stopToken()), "Restoring the accounts");
}

void AuthenticationStore::recordNewCredential(qint64 accountID)
{
    m_renewal.supersede(accountID);
    m_promptCredentials->forget(accountID);
    Q_EMIT credentialChanged(accountID);
}

QCoro::Task<> AuthenticationStore::restoreStatuses(std::stop_token stop)
{
    const QPointer<AuthenticationStore> self(this);
    m_isRestoring = true;
    co_await readStatuses();
    if (!self)
        co_return;
    if (!m_isRestored) {
        m_isRestored = true;
        Q_EMIT restored();
    }
    for (int failedRounds = 0; self && !m_unreadAccounts.isEmpty(); ++failedRounds) {
        co_await m_services.clock->sleep(retryDelay(failedRounds), stop);
        if (!self)
            co_return;
        co_await readStatuses();
    }
    if (self)
        m_isRestoring = false;
}

QCoro::Task<> AuthenticationStore::readStatuses()
{
    const QPointer<AuthenticationStore> self(this);
    QList<qint64> accountIDs;
    for (const GitHubAccountSession &session : std::as_const(m_sessions))
        accountIDs.append(session.id());
    for (const qint64 accountID : accountIDs) {
        if (!m_unreadAccounts.contains(accountID))
            continue;
        std::exception_ptr failure;
        std::optional<GitHubCredential> credential;
        try {
            credential = co_await m_credentialStore->load(accountID);
        } catch (...) {
            failure = std::current_exception();
        }
        if (!self)
            co_return;
        // A change of the account in the meantime is newer than this result.
        if (!m_unreadAccounts.contains(accountID) || (failure && isTemporary(failure)))
            continue;
        if (credential && !m_endedSessions.contains(accountID, *credential))
            updateStatus(accountID, GitHubSessionStatus::Connected);
        else
            endSession(accountID);
        if (!self)
            co_return;
    }
}

void AuthenticationStore::persistAccounts()
{
    QList<GitHubAccount> accounts;
    for (const GitHubAccountSession &session : std::as_const(m_sessions))
        accounts.append(session.account);
    m_services.defaults->setValue(kAccountsKey, encodeJSON(accounts));
}

void AuthenticationStore::adoptConnected(const GitHubAccount &account)
{
    const QPointer<AuthenticationStore> self(this);
    m_renewal.supersede(account.id);
    m_endedSessions.remove(account.id);
    m_endedAccounts.remove(account.id);
    upsert({account, GitHubSessionStatus::Connected});
    if (!self)
        return;
    m_connectionCounts.increase(account.id);
    if (self)
        recordNewCredential(account.id);
}

void AuthenticationStore::upsert(const GitHubAccountSession &session)
{
    const auto before = m_sessions;
    m_unreadAccounts.remove(session.id());
    const auto known = std::ranges::find(m_sessions, session.id(), &GitHubAccountSession::id);
    if (known != m_sessions.end())
        *known = session;
    else
        m_sessions.append(session);
    sortAlphabetically(m_sessions, [](const GitHubAccountSession &item) { return item.account.login; });
    persistAccounts();
    if (m_sessions != before)
        Q_EMIT sessionsChanged();
}

void AuthenticationStore::forget(qint64 accountID)
{
    m_unreadAccounts.remove(accountID);
    m_endedAccounts.remove(accountID);
    m_endedSessions.remove(accountID);
    m_renewal.supersede(accountID);
    m_credentialStore->forget(accountID);
    const auto removed
        = m_sessions.removeIf([accountID](const GitHubAccountSession &session) { return session.id() == accountID; });
    persistAccounts();
    if (removed > 0)
        Q_EMIT sessionsChanged();
}

/// Another process may have renewed the credential, or the keyring may be readable again.
void AuthenticationStore::recordGoodCredential(qint64 accountID)
{
    const auto session = std::ranges::find(m_sessions, accountID, &GitHubAccountSession::id);
    if (session != m_sessions.end() && session->status == GitHubSessionStatus::ReconnectRequired)
        updateStatus(accountID, GitHubSessionStatus::Connected);
}

void AuthenticationStore::updateStatus(qint64 accountID, GitHubSessionStatus status)
{
    setSession(accountID, status, false);
}

void AuthenticationStore::endSession(qint64 accountID)
{
    setSession(accountID, GitHubSessionStatus::ReconnectRequired, true);
}

void AuthenticationStore::setSession(qint64 accountID, GitHubSessionStatus status, bool hasEnded)
{
    m_unreadAccounts.remove(accountID);
    const auto session = std::ranges::find(m_sessions, accountID, &GitHubAccountSession::id);
    if (session == m_sessions.end())
        return;
    if (session->status == status && m_endedAccounts.contains(accountID) == hasEnded)
        return;
    session->status = status;
    if (hasEnded)
        m_endedAccounts.insert(accountID);
    else
        m_endedAccounts.remove(accountID);
    Q_EMIT sessionsChanged();
}

QCoro::Task<GitHubCredential> AuthenticationStore::validCredential(qint64 accountID, std::stop_token stop)
{
    return m_credentials->validCredential(accountID, std::move(stop));
}

std::optional<QString> AuthenticationStore::advice(qint64 accountID) const
{
    const auto session = std::ranges::find(m_sessions, accountID, &GitHubAccountSession::id);
    if (session == m_sessions.end() || !hasEnded(accountID))
        return std::nullopt;
    return QStringLiteral("Connect %1 again.").arg(session->account.login);
}

QString AuthenticationStore::explain(qint64 accountID, const std::exception_ptr &failure) const
{
    const auto help = advice(accountID);
    return help ? describe(failure) + QLatin1Char(' ') + *help : describe(failure);
}

bool AuthenticationStore::isListed(qint64 accountID) const
{
    return std::ranges::find(m_sessions, accountID, &GitHubAccountSession::id) != m_sessions.end();
}

} // namespace velmora
