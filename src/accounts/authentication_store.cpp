// SPDX-License-Identifier: MIT
#include "accounts/authentication_store.h"

#include "platform/preferences.h"
#include "support/alphabetical_order.h"
#include "support/error.h"
#include "support/json.h"

#include <QLoggingCategory>

#include <array>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(accountsLog, "velmora.accounts", QtWarningMsg)

const QString kAccountsKey = QStringLiteral("github.accounts");

/// How long to wait before the credential store is asked again, by the number of rounds that failed.
std::chrono::seconds retryDelay(int failedRounds)
{
    constexpr std::array kDelays{std::chrono::seconds(5), std::chrono::seconds(15)};
    const auto index = static_cast<std::size_t>(failedRounds);
    return index < kDelays.size() ? kDelays[index] : std::chrono::seconds(60);
}

/// Whether the credential store may give another answer later.
bool isTemporary(const std::exception_ptr &failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const DecodingError &) {
        return false; // it was read, and it is no credential
    } catch (...) {
        return true;
    }
}

} // namespace

AuthenticationStore::AuthenticationStore(
    GitHubClient client, std::shared_ptr<CredentialStoring> credentialStore, Services services, QObject *parent)
    : QObject(parent)
    , m_client(std::move(client))
    , m_credentialStore(std::move(credentialStore))
    , m_services(std::move(services))
{
    restoreAccounts();
    QObject::connect(m_services.defaults, &Preferences::changed, this, [this](const QString &key) {
        if (key == kAccountsKey)
            adoptStoredAccounts();
    });
    m_scope.launch(restoreStatuses(m_scope.stopToken()), "Restoring the accounts");
}

AuthenticationStore::~AuthenticationStore()
{
    if (m_connectionTask)
        m_connectionTask->request_stop();
}

void AuthenticationStore::remove(qint64 accountID)
{
    m_scope.launch(removeAndWait(accountID), "Removing an account");
}

QCoro::Task<> AuthenticationStore::removeAndWait(qint64 accountID)
{
    const QPointer<AuthenticationStore> self(this);
    const auto credentialStore = m_credentialStore;
    // The deletion may wait for a person; the list does not.
    forget(accountID);
    if (!self)
        co_return;
    Turn turn;
    try {
        // A refresh under way may store one more credential, which has to go as well.
        turn = co_await takeTurn(accountID, std::stop_token());
    } catch (const Error &) {
        qCInfo(accountsLog) << "A credential is removed without waiting for others.";
    }
    if (self && isListed(accountID))
        co_return; // connected again in the meantime
    try {
        co_await credentialStore->remove(accountID, Interaction::Allowed);
    } catch (const Error &error) {
        qCInfo(accountsLog).noquote() << "The credential was not removed:" << error.description();
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
    m_unsavedCredentials.removeIf([&listed](const auto &entry) { return !listed.contains(entry.key()); });
    if (sessions == m_sessions)
        return;
    m_sessions = std::move(sessions);
    if (!m_isRestoring)
        m_scope.launch(restoreStatuses(m_scope.stopToken()), "Restoring the accounts");
    Q_EMIT sessionsChanged();
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
        // Whatever became of the account in the meantime is newer than this answer.
        if (!m_unreadAccounts.contains(accountID) || (failure && isTemporary(failure)))
            continue;
        updateStatus(credential ? GitHubSessionStatus::Connected : GitHubSessionStatus::ReconnectRequired, accountID);
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

void AuthenticationStore::upsert(const GitHubAccountSession &session)
{
    const auto before = m_sessions;
    m_unreadAccounts.remove(session.id());
    m_unsavedCredentials.remove(session.id());
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
    m_unsavedCredentials.remove(accountID);
    const auto removed
        = m_sessions.removeIf([accountID](const GitHubAccountSession &session) { return session.id() == accountID; });
    persistAccounts();
    if (removed > 0)
        Q_EMIT sessionsChanged();
}

void AuthenticationStore::updateStatus(GitHubSessionStatus status, qint64 accountID)
{
    m_unreadAccounts.remove(accountID);
    const auto session = std::ranges::find(m_sessions, accountID, &GitHubAccountSession::id);
    if (session == m_sessions.end() || session->status == status)
        return;
    session->status = status;
    Q_EMIT sessionsChanged();
}

bool AuthenticationStore::isListed(qint64 accountID) const
{
    return std::ranges::find(m_sessions, accountID, &GitHubAccountSession::id) != m_sessions.end();
}

} // namespace velmora
