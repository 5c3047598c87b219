// SPDX-License-Identifier: MIT
#pragma once

#include "month_clock.h"
#include "month_oracle.h"

#include "accounts/credential_store_error.h"
#include "accounts/in_memory_credential_store.h"
#include "notifications/notification_error.h"
#include "notifications/notification_permission.h"
#include "notifications/notification_server.h"
#include "notifications/user_notification_service.h"
#include "support/fake_pasteboard.h"
#include "support/fake_url_opener.h"

#include <functional>
#include <memory>

namespace velmora::testing
{

/// A keyring that can be locked or restarted. A program that was killed changes it no more.
class MonthKeyring final : public CredentialStoring
{
public:
    enum class Mood { Open, Locked, Restarting };

    [[nodiscard]] QCoro::Task<> prepareToSave() override
    {
        throwUnlessOpen();
        co_return;
    }
    [[nodiscard]] QCoro::Task<> unlock(QList<qint64>) override
    {
        throwUnlessOpen();
        co_return;
    }
    [[nodiscard]] QCoro::Task<> save(GitHubCredential credential, qint64 accountID, Interaction) override
    {
        throwUnlessOpen();
        if (*isAlive)
            m_credentials->insert(accountID, credential);
        co_return;
    }
    [[nodiscard]] QCoro::Task<std::optional<GitHubCredential>> load(qint64 accountID) override
    {
        throwUnlessOpen();
        std::optional<GitHubCredential> credential;
        if (m_credentials->contains(accountID))
            credential = m_credentials->value(accountID);
        co_return credential;
    }
    [[nodiscard]] QCoro::Task<> remove(qint64 accountID, Interaction) override
    {
        throwUnlessOpen();
        if (*isAlive)
            m_credentials->remove(accountID);
        co_return;
    }

    [[nodiscard]] bool isOpen() const { return *mood == Mood::Open; }
    /// The same keyring for the next program.
    [[nodiscard]] std::shared_ptr<MonthKeyring> successor() const
    {
        auto next = std::make_shared<MonthKeyring>();
        next->m_credentials = m_credentials;
        next->mood = mood;
        return next;
    }

    std::shared_ptr<Mood> mood = std::make_shared<Mood>(Mood::Open);
    std::shared_ptr<bool> isAlive = std::make_shared<bool>(true); ///< whether its program has not been killed

private:
    void throwUnlessOpen() const
    {
        if (*mood == Mood::Locked)
            throw CredentialStoreError::keychain(CredentialStoreError::Locked);
        if (*mood == Mood::Restarting)
            throw CredentialStoreError::keychain(CredentialStoreError::ProviderEnded);
    }

    std::shared_ptr<QHash<qint64, GitHubCredential>> m_credentials
        = std::make_shared<QHash<qint64, GitHubCredential>>();
};

/// A notification daemon that takes a moment for each call, and may be gone or silent.
class MonthNotificationServer final : public NotificationServer
{
public:
    explicit MonthNotificationServer(MonthClock *clock)
        : m_clock(clock)
    {
    }

    [[nodiscard]] QCoro::Task<> requireServer(QDeadlineTimer) override
    {
        throwIfGone();
        co_return;
    }
    [[nodiscard]] QCoro::Task<NotificationCapabilities> capabilities(QDeadlineTimer) override
    {
        throwIfGone();
        if (isSilent)
            throw NotificationError(NotificationError::Kind::TimedOut);
        co_await m_clock->sleep(std::chrono::milliseconds(40), std::stop_token());
        NotificationCapabilities able;
        able.server = QStringLiteral("month");
        able.hasActions = true;
        co_return able;
    }
    [[nodiscard]] QCoro::Task<QString> post(NotificationRequest, QDeadlineTimer) override
    {
        throwIfGone();
        if (isSilent)
            throw NotificationError(NotificationError::Kind::TimedOut);
        co_await m_clock->sleep(std::chrono::milliseconds(160), std::stop_token());
        co_return QString::number(++m_lastHandle);
    }
    void withdraw(const QString &) override { }

    bool isThere = true;
    bool isSilent = false;

private:
    void throwIfGone() const
    {
        if (!isThere)
            throw NotificationError(NotificationError::Kind::NoServer);
    }

    MonthClock *m_clock;
    int m_lastHandle = 0;
};

/// Tells the oracle what a program announces, before the desktop is told. After a kill it does neither.
class MonthNotifier final : public DeploymentNotifying
{
public:
    /// The oracle and the service are not owned and outlive the notifier.
    MonthNotifier(MonthOracle *oracle, UserNotificationService *service)
        : m_oracle(oracle)
        , m_service(service)
    {
    }

    [[nodiscard]] QCoro::Task<bool> requestAuthorizationIfNeeded() override
    {
        return m_service->requestAuthorizationIfNeeded();
    }
    [[nodiscard]] QCoro::Task<> untilReady(std::stop_token stop) override { return m_service->untilReady(stop); }
    [[nodiscard]] QCoro::Task<> notify(DeploymentSnapshot deployment, DeploymentNotificationKind kind) override
    {
        note(deployment);
        co_await m_service->notify(deployment, kind);
    }
    [[nodiscard]] QCoro::Task<> notifyGroup(DeploymentList deployments, DeploymentNotificationKind kind) override
    {
        for (const DeploymentSnapshot &deployment : std::as_const(deployments))
            note(deployment);
        co_await m_service->notifyGroup(deployments, kind);
    }

    /// The first broken rule; empty for none. A coroutine of the program would swallow an exception.
    QString violation;
    std::function<void(const QString &key)> beforeAnnouncement;
    bool isAlive = true; ///< whether its program has not been killed

private:
    void note(const DeploymentSnapshot &deployment)
    {
        if (!isAlive)
            return;
        const QString key = deployment.id + QLatin1Char(':') + rawValue(deployment.state);
        beforeAnnouncement(key);
        try {
            m_oracle->announced(key);
        } catch (const Violation &broken) {
            if (violation.isEmpty())
                violation = QString::fromUtf8(broken.what());
        }
    }

    MonthOracle *m_oracle;
    UserNotificationService *m_service;
};

/// The desktop of a month, which outlives the programs.
struct MonthDesktop {
    explicit MonthDesktop(MonthClock *clock)
        : notifications(std::make_shared<MonthNotificationServer>(clock))
        , service(notifications, std::make_shared<UnrestrictedNotificationPermission>(), browser, *clock)
    {
    }

    FakePasteboard pasteboard;
    FakeURLOpener browser;
    std::shared_ptr<MonthKeyring> keyring = std::make_shared<MonthKeyring>();
    std::shared_ptr<MonthNotificationServer> notifications;
    UserNotificationService service;
};

} // namespace velmora::testing
