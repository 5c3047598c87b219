// SPDX-License-Identifier: MIT
#include "control/local_control.h"

#include "accounts/account_removal_error.h"
#include "control/choices.h"
#include "control/control_texts.h"
#include "github/paused_error.h"
#include "installations/installation_store.h"
#include "monitor/deployment_monitor.h"
#include "platform/preferences.h"
#include "settings/general_settings_store.h"
#include "support/cancel_on_stop.h"
#include "support/clock.h"
#include "support/signal_waiting.h"
#include "support/task_scope.h"

namespace velmora
{

namespace
{

/// How long to wait for the keyring; after that the accounts are listed as they are.
constexpr std::chrono::milliseconds kLongestRestore{2000};

QString knownLogins(const QList<GitHubAccountSession> &sessions)
{
    if (sessions.isEmpty())
        return QStringLiteral("No account is connected.");
    QStringList logins;
    for (const auto &session : sessions)
        logins.append(session.account.login);
    return QStringLiteral("Connected: %1.").arg(logins.join(QStringLiteral(", ")));
}

std::optional<QString> nothingIfEmpty(const QString &text)
{
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

QCoro::Task<std::optional<QString>> whyChangeIsLost(Preferences *preferences, std::stop_token stop)
{
    const QString reason = co_await whyNotSaved(preferences, stop);
    co_return nothingIfEmpty(reason);
}

/// Why installations grant nothing: all of them are suspended, or no repository was chosen for them.
QString noAccessText(const QList<InstallationRecord> &installations, const WebAddress &installationURL)
{
    const QString suspended = suspendedText(installations);
    return suspended.isEmpty() ? noRepositoriesText(installationURL) : suspended;
}

QSet<QString> idsOf(const QList<RepositoryRecord> &repositories)
{
    QSet<QString> ids;
    for (const auto &record : repositories)
        ids.insert(record.id());
    return ids;
}

/// Waits for the keyring, which may prompt the user for any time. The account stays until the keyring has answered.
QCoro::Task<> removeEverywhere(LocalControl::Services services, qint64 accountID)
{
    const QPointer<DeploymentMonitor> monitor(services.monitor);
    co_await services.authentication->remove(accountID);
    if (monitor)
        co_await monitor->forgetRemoved(services.authentication, services.installations, services.clock->now());
}

QCoro::Task<> loadInstallationsForUser(LocalControl::Services services, std::stop_token stop)
{
    const QPointer<InstallationStore> installations(services.installations);
    co_await services.authentication->unlock();
    if (installations && !stop.stop_requested())
        co_await installations->refresh(services.authentication, stop);
}

SharedRuns installationLoads(LocalControl::Services services)
{
    return SharedRuns([services = std::move(services)](std::stop_token stop, const std::function<void()> &) {
        return loadInstallationsForUser(services, std::move(stop));
    });
}

QCoro::Task<> loadEverything(
    LocalControl::Services services, SharedRuns installationLoads, std::stop_token stop, std::function<void()> close)
{
    const QPointer<DeploymentMonitor> monitor(services.monitor);
    co_await installationLoads.join(stop);
    if (!monitor || stop.stop_requested())
        co_return;
    // The data loaded from here on may lack later deployments, so later callers need another run.
    close();
    co_await monitor->refreshAll(services.authentication, services.installations, services.clock->now());
}

SharedRuns refreshes(LocalControl::Services services, SharedRuns installationLoads)
{
    return SharedRuns([services = std::move(services), installationLoads = std::move(installationLoads)](
                          std::stop_token stop, std::function<void()> close) {
        return loadEverything(services, installationLoads, std::move(stop), std::move(close));
    });
}

/// Resolves or fails `done` with the result of the work.
QCoro::Task<> tell(QCoro::Task<> work, OneShot<> done)
{
    std::exception_ptr failure;
    try {
        co_await work;
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure)
        done.fail(failure);
    else
        done.resolve();
}

/// Waits for work that cannot be stopped. After a stop the work goes on unobserved; the stores end it with themselves.
QCoro::Task<> waitUnlessStopped(QCoro::Task<> work, std::stop_token stop)
{
    const OneShot<> done;
    const CancelOnStop cancel(done, stop);
    launch(tell(std::move(work), done), "what a terminal asked for");
    co_await done;
    throwIfStopped(stop);
}

} // namespace

LocalControl::LocalControl(Services services, QObject *parent)
    : Control(parent)
    , m_services(std::move(services))
    , m_installationLoads(installationLoads(m_services))
    , m_refreshes(refreshes(m_services, m_installationLoads))
{
    connect(m_services.monitor, &DeploymentMonitor::changed, this, &ReportSource::reportChanged);
    connect(
        m_services.installations, &InstallationStore::repositoriesChanged, this, &LocalControl::onRepositoriesChanged);
}

QCoro::Task<QList<ListedAccount>> LocalControl::accounts(std::stop_token stop)
{
    const QPointer<LocalControl> self(this);
    AuthenticationStore *const store = m_services.authentication;
    const std::function<bool()> isRestored = [store] {
        return store->isRestored();
    };
    co_await waitFor(store, &AuthenticationStore::restored, isRestored, stop, kLongestRestore);
    throwIfStopped(stop);
    if (!self)
        throw CancellationError();
    auto listed = listedAccounts(store->sessions());
    for (ListedAccount &account : listed)
        account.advice = store->advice(account.id);
    co_return listed;
}

QCoro::Task<RemovalAnswer> LocalControl::removeAccount(QString login, std::stop_token stop)
{
    const QList<GitHubAccountSession> sessions = m_services.authentication->sessions();
    const auto found = std::ranges::find_if(sessions, [&](const GitHubAccountSession &session) {
        return session.account.login.compare(login, Qt::CaseInsensitive) == 0;
    });
    RemovalAnswer answer;
    if (found == sessions.end()) {
        answer.refusal = QStringLiteral("There is no account named %1. %2").arg(login, knownLogins(sessions));
        co_return answer;
    }
    answer.login = found->account.login;
    const qint64 accountID = found->id();
    Preferences *const preferences = m_services.preferences;
    try {
        co_await waitUnlessStopped(removeEverywhere(m_services, accountID), stop);
    } catch (const AccountRemovalError &error) {
        answer.refusal = error.description();
    }
    answer.unsaved = co_await whyChangeIsLost(preferences, stop);
    co_return answer;
}

/// Loads the installations and repositories.
QCoro::Task<LoadingAnswer> LocalControl::loadInstallations(std::stop_token stop)
{
    const QPointer<LocalControl> self(this);
    LoadingAnswer answer;
    answer.hasAccounts = !m_services.authentication->sessions().isEmpty();
    if (!answer.hasAccounts)
        co_return answer;
    co_await m_installationLoads.join(stop);
    if (!self)
        throw CancellationError();
    const InstallationLoadingState state = m_services.installations->state();
    answer.isComplete = state.state == InstallationLoadingState::Case::Ready;
    answer.messages = state.message.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    co_return answer;
}

QCoro::Task<InstallationsAnswer> LocalControl::installations(InstallationChoices choices, std::stop_token stop)
{
    const QPointer<LocalControl> self(this);
    InstallationsAnswer answer;
    answer.installationURL = m_services.installationURL;
    answer.loading = co_await loadInstallations(stop);
    if (!answer.loading.hasAccounts)
        co_return answer;
    InstallationStore *const store = m_services.installations;
    const Choices enabled = chooseInstallations(choices.enable, store->installations());
    const Choices disabled = chooseInstallations(choices.disable, store->installations());
    answer.refusal = enabled.error.isEmpty() ? disabled.error : enabled.error;
    if (answer.refusal.isEmpty()) {
        store->setInstallations(enabled.ids, true);
        store->setInstallations(disabled.ids, false);
    }
    if (!choices.areNone())
        answer.unsaved = co_await whyChangeIsLost(m_services.preferences, stop);
    if (!self)
        throw CancellationError();
    answer.listed = listedInstallations(store->installations(), m_services.authentication->sessions());
    co_return answer;
}

QCoro::Task<RepositoriesAnswer> LocalControl::repositories(RepositoryChoices choices, std::stop_token stop)
{
    const QPointer<LocalControl> self(this);
    RepositoriesAnswer answer;
    answer.installationURL = m_services.installationURL;
    answer.loading = co_await loadInstallations(stop);
    if (!answer.loading.hasAccounts)
        co_return answer;
    InstallationStore *const store = m_services.installations;
    const Choices included = chooseRepositories(choices.include, store->repositories());
    const Choices excluded = chooseRepositories(choices.exclude, store->repositories());
    answer.refusal = included.error.isEmpty() ? excluded.error : included.error;
    if (answer.refusal.isEmpty()) {
        if (choices.all)
            store->setAllRepositories(*choices.all);
        store->setRepositories(included.ids, true);
        store->setRepositories(excluded.ids, false);
    }
    if (!choices.areNone())
        answer.unsaved = co_await whyChangeIsLost(m_services.preferences, stop);
    if (!self)
        throw CancellationError();
    answer.listed = listedRepositories(store->repositories(), idsOf(store->monitoredRepositories()));
    co_return answer;
}

QCoro::Task<LoadingAnswer> LocalControl::refresh(std::stop_token stop)
{
    const QPointer<LocalControl> self(this);
    if (m_services.authentication->sessions().isEmpty())
        co_return LoadingAnswer();
    co_await m_refreshes.join(stop);
    if (!self)
        throw CancellationError();
    // The refresh may have saved announced results in the preferences.
    co_await whyNotSaved(m_services.preferences, stop);
    if (!self)
        throw CancellationError();
    co_return refreshed();
}

/// The result of the refresh that has just ended.
LoadingAnswer LocalControl::refreshed() const
{
    LoadingAnswer answer;
    answer.hasAccounts = true;
    const DeploymentMonitorState state = m_services.monitor->state();
    answer.messages = m_services.monitor->message().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const auto &failure : m_services.installations->failures())
        answer.messages.append(failure.login + QStringLiteral(": ") + failure.description);
    answer.messages.append(m_services.monitor->unsaved().split(QLatin1Char('\n'), Qt::SkipEmptyParts));
    answer.messages.removeDuplicates();
    using Case = DeploymentMonitorState::Case;
    if (state.state == Case::RateLimited && answer.messages.isEmpty())
        answer.messages.append(PausedError(state.resumeAt.value_or(m_services.clock->now())).description());
    const bool isSettled = state.state == Case::Ready || state.state == Case::Disconnected;
    answer.isComplete = isSettled && answer.messages.isEmpty();
    return answer;
}

QString LocalControl::hint() const
{
    const auto missing = m_services.monitor->state().missing;
    // Repositories are monitored now; the next refresh clears `missing`.
    if (!missing || !m_services.installations->monitoredRepositories().isEmpty())
        return QString();
    switch (*missing) {
    case MissingStep::Account:
        return noAccountText();
    case MissingStep::Installation:
        return notInstalledText(m_services.installationURL);
    case MissingStep::Access:
        return noAccessText(m_services.installations->installations(), m_services.installationURL);
    case MissingStep::Selection:
        return QStringLiteral("No repository is watched. Run “velmora repositories --all” to watch them.");
    }
    Q_UNREACHABLE();
}

QCoro::Task<MonitorReport> LocalControl::report(std::stop_token)
{
    const DeploymentMonitor *const monitor = m_services.monitor;
    MonitorReport report;
    report.applicationName = m_services.applicationName;
    report.state = monitor->state();
    report.deployments = monitor->deployments();
    // Before the first refresh the data comes from the cache; its age is the time of saving.
    report.lastRefreshedAt = monitor->lastRefreshedAt() ? monitor->lastRefreshedAt() : report.state.lastUpdatedAt;
    report.message = monitor->message();
    report.unsaved = nothingIfEmpty(monitor->unsaved());
    report.hint = hint();
    m_hint = report.hint;
    co_return report;
}

void LocalControl::onRepositoriesChanged()
{
    if (m_hint != hint())
        Q_EMIT reportChanged();
}

void LocalControl::start()
{
    m_services.monitor->start(
        m_services.authentication, m_services.installations, DeploymentMonitor::FirstTick::AtOnce);
    launch(m_services.settings->prepareNotifications(), "preparing notifications");
}

} // namespace velmora
