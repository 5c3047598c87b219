// SPDX-License-Identifier: MIT
#include "accounts/origin_credentials.h"

#include "accounts/earlier_profile.h"
#include "platform/preferences.h"
#include "support/error.h"

#include <QLoggingCategory>
#include <QPointer>

#include <algorithm>
#include <iterator>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(accountsLog, "velmora.accounts", QtWarningMsg)

using Credential = std::optional<GitHubCredential>;

/// The stores that hold credentials of the earlier owner. Operations keep a copy, since they may outlive their store.
struct Services {
    std::shared_ptr<CredentialStoring> gitHub;
    std::shared_ptr<CredentialStoring> owner;
    QPointer<Preferences> preferences;

    /// Whether the owner's credential is still stored under github.com's service.
    [[nodiscard]] bool isInherited(qint64 accountID) const
    {
        return preferences && isTokenInherited(*preferences, accountID);
    }
    [[nodiscard]] QList<qint64> inheritedAmong(const QList<qint64> &accountIDs) const
    {
        QList<qint64> inherited;
        std::ranges::copy_if(
            accountIDs, std::back_inserter(inherited), [this](qint64 accountID) { return isInherited(accountID); });
        return inherited;
    }
    void forget(qint64 accountID) const
    {
        if (preferences)
            forgetInheritedToken(preferences, accountID);
    }
};

QCoro::Task<> unlockForOwner(Services services, QList<qint64> accountIDs)
{
    co_await services.owner->unlock(accountIDs);
    const QList<qint64> inherited = services.inheritedAmong(accountIDs);
    if (!inherited.isEmpty())
        co_await services.gitHub->unlock(inherited);
}

QCoro::Task<Credential> loadForOwner(Services services, qint64 accountID)
{
    auto own = co_await services.owner->load(accountID);
    if (own || !services.isInherited(accountID))
        co_return own;
    auto inherited = co_await services.gitHub->load(accountID);
    co_return inherited;
}

QCoro::Task<> saveForOwner(Services services, GitHubCredential credential, qint64 accountID, Interaction interaction)
{
    co_await services.owner->save(credential, accountID, interaction);
    if (!services.isInherited(accountID))
        co_return;
    try {
        co_await services.gitHub->remove(accountID, Interaction::Forbidden);
        services.forget(accountID);
    } catch (const Error &error) {
        // Harmless: it is not read any more, and the next save or removal tries again.
        qCInfo(accountsLog).noquote() << "A replaced credential was not removed:" << error.description();
    }
}

QCoro::Task<> removeForOwner(Services services, qint64 accountID, Interaction interaction)
{
    co_await services.owner->remove(accountID, interaction);
    if (!services.isInherited(accountID))
        co_return;
    co_await services.gitHub->remove(accountID, interaction);
    services.forget(accountID);
}

/// The credential, nullopt if the item is not a credential and thus useless.
QCoro::Task<Credential> loadUsable(std::shared_ptr<CredentialStoring> store, qint64 accountID)
{
    try {
        auto credential = co_await store->load(accountID);
        co_return credential;
    } catch (const DecodingError &) {
        co_return std::nullopt;
    }
}

QCoro::Task<> saveForGitHub(Services services, GitHubCredential credential, qint64 accountID, Interaction interaction)
{
    if (services.isInherited(accountID)) {
        const QList<qint64> moved(1, accountID);
        if (interaction == Interaction::Allowed)
            co_await unlockForOwner(services, moved);
        const Credential inherited = co_await loadUsable(services.gitHub, accountID);
        const Credential newer = co_await loadUsable(services.owner, accountID);
        if (inherited && !newer)
            co_await services.owner->save(*inherited, accountID, interaction);
        services.forget(accountID);
    }
    co_await services.gitHub->save(credential, accountID, interaction);
}

class CredentialsOfEarlierOwner final : public CredentialStoring
{
public:
    explicit CredentialsOfEarlierOwner(Services services)
        : m_services(std::move(services))
    {
    }
    [[nodiscard]] QCoro::Task<> prepareToSave() override { return m_services.owner->prepareToSave(); }
    [[nodiscard]] QCoro::Task<> unlock(QList<qint64> accountIDs) override
    {
        return unlockForOwner(m_services, std::move(accountIDs));
    }
    [[nodiscard]] QCoro::Task<> save(GitHubCredential credential, qint64 accountID, Interaction interaction) override
    {
        return saveForOwner(m_services, std::move(credential), accountID, interaction);
    }
    [[nodiscard]] QCoro::Task<Credential> load(qint64 accountID) override
    {
        return loadForOwner(m_services, accountID);
    }
    [[nodiscard]] QCoro::Task<> remove(qint64 accountID, Interaction interaction) override
    {
        return removeForOwner(m_services, accountID, interaction);
    }

private:
    Services m_services;
};

class CredentialsOfGitHub final : public CredentialStoring
{
public:
    explicit CredentialsOfGitHub(Services services)
        : m_services(std::move(services))
    {
    }
    [[nodiscard]] QCoro::Task<> prepareToSave() override { return m_services.gitHub->prepareToSave(); }
    [[nodiscard]] QCoro::Task<> unlock(QList<qint64> accountIDs) override
    {
        accountIDs.removeIf([this](qint64 accountID) { return m_services.isInherited(accountID); });
        return m_services.gitHub->unlock(std::move(accountIDs));
    }
    [[nodiscard]] QCoro::Task<> save(GitHubCredential credential, qint64 accountID, Interaction interaction) override
    {
        return saveForGitHub(m_services, std::move(credential), accountID, interaction);
    }
    [[nodiscard]] QCoro::Task<Credential> load(qint64 accountID) override
    {
        if (m_services.isInherited(accountID))
            co_return std::nullopt;
        const auto store = m_services.gitHub;
        auto credential = co_await store->load(accountID);
        co_return credential;
    }
    [[nodiscard]] QCoro::Task<> remove(qint64 accountID, Interaction interaction) override
    {
        if (m_services.isInherited(accountID))
            co_return;
        const auto store = m_services.gitHub;
        co_await store->remove(accountID, interaction);
    }

private:
    Services m_services;
};

} // namespace

std::shared_ptr<CredentialStoring> credentialStoreOf(
    const LoginOrigin &origin, Preferences *preferences, const CredentialStoreFactory &open)
{
    const auto owner = earlierOwner(*preferences).value_or(LoginOrigin::gitHub());
    if (owner.isGitHub() || (origin != owner && !origin.isGitHub()))
        return open(origin.keychainService());
    const Services services{open(LoginOrigin::gitHub().keychainService()), open(owner.keychainService()), preferences};
    if (origin == owner)
        return std::make_shared<CredentialsOfEarlierOwner>(services);
    return std::make_shared<CredentialsOfGitHub>(services);
}

} // namespace velmora
