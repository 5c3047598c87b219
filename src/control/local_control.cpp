// SPDX-License-Identifier: MIT
#include "control/local_control.h"

#include "control/choices.h"
#include "control/control_texts.h"
#include "installations/installation_store.h"
#include "monitor/deployment_monitor.h"
#include "notifications/general_settings_store.h"
#include "support/cancel_on_stop.h"
#include "support/clock.h"
#include "support/signal_waiting.h"
#include "support/task_scope.h"

namespace velmora
{

namespace
{

/// A keyring that does not answer by then leaves the accounts as they are.
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

/// Why the first of the names means nothing; empty when all mean something.
QString firstError(const QList<Choice> &choices)
{
    for (const Choice &choice : choices) {
        if (!choice.error.isEmpty())
            return choice.error;
    }
    return QString();
}

QSet<QString> idsOf(const QList<RepositoryRecord> &repositories)
{
    QSet<QString> ids;
    for (const auto &record : repositories)
        ids.insert(record.id());
    return ids;
}

QCoro::Task<> loadEverything(LocalControl::Services services, std::stop_token stop)
{
    const QPointer<DeploymentMonitor> monitor(services.monitor);
    co_await services.installations->refresh(services.authentication, stop);
    if (monitor && !stop.stop_requested())
        co_await monitor->refreshAll(services.authentication, services.installations, services.clock->now());
}

/// The account leaves the list as soon as this is called. The keyring may ask the person first, who may take their
/// time, so that what was fetched for the account is forgotten before.
QCoro::Task<> forgetEverywhere(LocalControl::Services services, qint64 accountID)
{
    const QPointer<DeploymentMonitor> monitor(services.monitor);
    auto removal = services.authentication->removeAndWait(accountID);
    if (monitor)
        co_await monitor->forgetRemoved(services.authentication, services.installations, services.clock->now());
    co_await removal;
}

/// Tells how the work ended.
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

/// Waits for work that heeds no stop. Nobody waits for its end after one: the stores end by themselves.
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
{
    connect(m_services.monitor, &DeploymentMonitor::changed, this, &ReportSource::reportChanged);
    connect(m_services.installations, &InstallationStore::repositoriesChanged, this, &LocalControl::noteRepositories);
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
    co_return listedAccounts(store->sessions());
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
    co_await waitUnlessStopped(forgetEverywhere(m_services, accountID), stop);
    co_return answer;
}

/// Loads everything that the switches of the person are about.
QCoro::Task<LoadingAnswer> LocalControl::loadInstallations(std::stop_token stop)
{
    const QPointer<LocalControl> self(this);
    LoadingAnswer answer;
    answer.hasAccounts = !m_services.authentication->sessions().isEmpty();
    if (!answer.hasAccounts)
        co_return answer;
    co_await m_services.installations->refresh(m_services.authentication, stop);
    throwIfStopped(stop);
    if (!self)
        throw CancellationError();
    const InstallationLoadingState state = m_services.installations->state();
    answer.isComplete = state.state == InstallationLoadingState::Case::Ready;
    answer.messages = state.message.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    co_return answer;
}

QCoro::Task<InstallationsAnswer> LocalControl::installations(InstallationChoices choices, std::stop_token stop)
{
    InstallationsAnswer answer;
    answer.installationURL = m_services.installationURL;
    answer.loading = co_await loadInstallations(stop);
    if (!answer.loading.hasAccounts)
        co_return answer;
    InstallationStore *const store = m_services.installations;
    const QList<Choice> enabled = chooseInstallations(choices.enable, store->installations());
    const QList<Choice> disabled = chooseInstallations(choices.disable, store->installations());
    answer.refusal = firstError(enabled + disabled);
    if (answer.refusal.isEmpty()) {
        for (const Choice &choice : enabled)
            store->setInstallation(choice.id, true);
        for (const Choice &choice : disabled)
            store->setInstallation(choice.id, false);
    }
    answer.installations = listedInstallations(store->installations(), m_services.authentication->sessions());
    co_return answer;
}

QCoro::Task<RepositoriesAnswer> LocalControl::repositories(RepositoryChoices choices, std::stop_token stop)
{
    RepositoriesAnswer answer;
    answer.installationURL = m_services.installationURL;
    answer.loading = co_await loadInstallations(stop);
    if (!answer.loading.hasAccounts)
        co_return answer;
    InstallationStore *const store = m_services.installations;
    const QList<Choice> included = chooseRepositories(choices.include, store->repositories());
    const QList<Choice> excluded = chooseRepositories(choices.exclude, store->repositories());
    answer.refusal = firstError(included + excluded);
    if (answer.refusal.isEmpty()) {
        if (choices.all)
            store->setAllRepositories(*choices.all);
        for (const Choice &choice : included)
            store->setRepository(choice.id, true);
        for (const Choice &choice : excluded)
            store->setRepository(choice.id, false);
    }
    answer.repositories = listedRepositories(store->repositories(), idsOf(store->monitoredRepositories()));
    co_return answer;
}

QCoro::Task<LoadingAnswer> LocalControl::refresh(std::stop_token stop)
{
    const QPointer<LocalControl> self(this);
    if (m_services.authentication->sessions().isEmpty())
        co_return LoadingAnswer();
    co_await waitUnlessStopped(loadEverything(m_services, stop), stop);
    if (!self)
        throw CancellationError();
    co_return refreshed();
}

/// What the refresh that has just ended came to.
LoadingAnswer LocalControl::refreshed() const
{
    LoadingAnswer answer;
    answer.hasAccounts = true;
    const DeploymentMonitorState state = m_services.monitor->state();
    answer.messages = m_services.monitor->message().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const auto &failure : m_services.installations->failures())
        answer.messages.append(failure.login + QStringLiteral(": ") + failure.description);
    answer.messages.removeDuplicates();
    using Case = DeploymentMonitorState::Case;
    if (state.state == Case::RateLimited && answer.messages.isEmpty())
        answer.messages.append(QStringLiteral("GitHub has asked Velmora to pause until %1.")
                                   .arg(toISO8601(state.resumeAt.value_or(m_services.clock->now()))));
    const bool isSettled = state.state == Case::Ready || state.state == Case::Disconnected;
    answer.isComplete = isSettled && answer.messages.isEmpty();
    return answer;
}

QString LocalControl::hint() const
{
    if (m_services.monitor->state().state != DeploymentMonitorState::Case::Disconnected)
        return QString();
    if (m_services.authentication->sessions().isEmpty())
        return noAccountText();
    if (m_services.installations->repositories().isEmpty())
        return noRepositoriesText(m_services.installationURL);
    // What is watched now is loaded with the next refresh.
    if (!m_services.installations->monitoredRepositories().isEmpty())
        return QString();
    return QStringLiteral("No repository is watched. Run “velmora repositories --all” to watch them.");
}

QCoro::Task<MonitorReport> LocalControl::report(std::stop_token)
{
    const DeploymentMonitor *const monitor = m_services.monitor;
    MonitorReport report;
    report.applicationName = m_services.applicationName;
    report.state = monitor->state();
    report.deployments = monitor->deployments();
    report.lastRefreshedAt = monitor->lastRefreshedAt();
    report.message = monitor->message();
    report.hint = hint();
    m_hint = report.hint;
    co_return report;
}

void LocalControl::noteRepositories()
{
    if (m_hint != hint())
        Q_EMIT reportChanged();
}

void LocalControl::follow()
{
    m_services.monitor->start(m_services.authentication, m_services.installations);
    launch(m_services.settings->prepareNotifications(), "preparing notifications");
    launch(m_services.monitor->tick(m_services.authentication, m_services.installations, m_services.clock->now()),
        "the first refresh");
}

} // namespace velmora
