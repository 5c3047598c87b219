// SPDX-License-Identifier: MIT
#include "control/local_control.h"

#include "accounts/account_removal_error.h"
#include "accounts/authentication_store.h"
#include "accounts/installation_page.h"
#include "control/choices.h"
#include "control/control_texts.h"
#include "github/paused_error.h"
#include "installations/installation_store.h"
#include "monitor/deployment_monitor.h"
#include "platform/preferences.h"
#include "settings/general_settings_store.h"
#include "support/clock.h"
#include "support/signal_waiting.h"
#include "support/task_scope.h"

namespace velmora
{

namespace
{

/// How long to wait for the keyring; after that the accounts are listed as they are.
constexpr std::chrono::milliseconds kLongestRestore{2000};

constexpr qsizetype kLongestName = 60; ///< of a foreign name in a refusal

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

DeploymentList failuresIn(DeploymentList deployments)
{
    deployments.removeIf([](const SharedDeployment &deployment) { return !isFailure(deployment.state()); });
    return deployments;
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

/// Why a name is none of a kind; empty if all of them are.
QString unknownKind(const QStringList &names)
{
    QStringList known;
    for (const auto kind : kAllNotificationKinds)
        known.append(rawValue(kind));
    const auto found = std::ranges::find_if(names, [&](const QString &name) { return !known.contains(name); });
    if (found == names.end())
        return QString();
    return QStringLiteral("There are no notifications about %1. There is: %2.")
        .arg(found->left(kLongestName), known.join(QStringLiteral(", ")));
}

NotificationChoices choicesOf(const GeneralSettingsStore &settings)
{
    using enum DeploymentNotificationKind;
    return {settings.notificationsEnabled(Failure), settings.notificationsEnabled(Success),
        settings.notificationsEnabled(Waiting), settings.notifiesOnlyMine()};
}

QSet<QString> idsOf(const QList<RepositoryRecord> &repositories)
{
    QSet<QString> ids;
    for (const auto &record : repositories)
        ids.insert(record.id());
    return ids;
}

/// Waits for the keyring, which may prompt the user for any time. The account stays until the keyring has answered.
/// This cannot be stopped.
QCoro::Task<> removeEverywhere(Stores stores, const Clock *clock, qint64 accountID)
{
    const QPointer<DeploymentMonitor> monitor(stores.monitor);
    co_await stores.authentication->remove(accountID);
    if (monitor)
        co_await monitor->forgetRemoved(stores.authentication, stores.installations, clock->now());
}

QCoro::Task<> loadInstallationsForUser(Stores stores, std::stop_token stop)
{
    const QPointer<InstallationStore> installations(stores.installations);
    co_await stores.authentication->unlock();
    if (installations && !stop.stop_requested())
        co_await installations->refresh(stores.authentication, stop);
}

SharedRuns installationLoads(const Stores &stores)
{
    return SharedRuns([stores](std::stop_token stop, const std::function<void()> &) {
        return loadInstallationsForUser(stores, std::move(stop));
    });
}

QCoro::Task<> loadEverything(
    Stores stores, const Clock *clock, SharedRuns installationLoads, std::stop_token stop, std::function<void()> close)
{
    const QPointer<DeploymentMonitor> monitor(stores.monitor);
    co_await installationLoads.join(stop);
    if (!monitor || stop.stop_requested())
        co_return;
    // The data loaded from here on may lack later deployments, so later callers need another run.
    close();
    co_await monitor->refreshAll(stores.authentication, stores.installations, clock->now());
}

SharedRuns refreshes(const Stores &stores, const Clock *clock, SharedRuns installationLoads)
{
    return SharedRuns([stores, clock, installationLoads = std::move(installationLoads)](
                          std::stop_token stop, std::function<void()> close) {
        return loadEverything(stores, clock, installationLoads, std::move(stop), std::move(close));
    });
}

} // namespace

LocalControl::LocalControl(const Stores &stores, const DesktopPorts &ports, QObject *parent)
    : Control(parent)
    , m_stores(stores)
    , m_ports(ports)
    , m_installationLoads(installationLoads(m_stores))
    , m_refreshes(refreshes(m_stores, m_ports.clock, m_installationLoads))
{
    connect(m_stores.monitor, &DeploymentMonitor::changed, this, &ReportSource::reportChanged);
    connect(
        m_stores.installations, &InstallationStore::repositoriesChanged, this, &LocalControl::onRepositoriesChanged);
}

QCoro::Task<QList<ListedAccount>> LocalControl::accounts(std::stop_token stop)
{
    const QPointer<LocalControl> self(this);
    AuthenticationStore *const store = m_stores.authentication;
    const std::function<bool()> isRestored = [store] {
        return store->isRestored();
    };
    co_await untilTrue(store, &AuthenticationStore::restored, isRestored, stop, kLongestRestore);
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
    const QList<GitHubAccountSession> sessions = m_stores.authentication->sessions();
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
    const QPointer<LocalControl> self(this);
    // After a stop the removal goes on unobserved; the stores end it with themselves.
    const SharedRuns removal([stores = m_stores, clock = m_ports.clock, accountID](
                                 std::stop_token, const auto &) { return removeEverywhere(stores, clock, accountID); });
    try {
        co_await removal.join(stop);
    } catch (const AccountRemovalError &error) {
        answer.refusal = error.description();
    }
    if (!self)
        throw CancellationError();
    answer.unsaved = co_await whyChangeIsLost(m_stores.preferences, stop);
    co_return answer;
}

/// Loads the installations and repositories.
QCoro::Task<LoadingAnswer> LocalControl::loadInstallations(std::stop_token stop)
{
    const QPointer<LocalControl> self(this);
    LoadingAnswer answer;
    answer.hasAccounts = !m_stores.authentication->sessions().isEmpty();
    if (!answer.hasAccounts)
        co_return answer;
    co_await m_installationLoads.join(stop);
    if (!self)
        throw CancellationError();
    const InstallationLoadingState state = m_stores.installations->state();
    answer.isComplete = state.state == InstallationLoadingState::Case::Ready;
    answer.messages = state.message.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    co_return answer;
}

QCoro::Task<InstallationsAnswer> LocalControl::installations(Switches switches, std::stop_token stop)
{
    const QPointer<LocalControl> self(this);
    InstallationsAnswer answer;
    answer.installationURL = installationURL();
    answer.loading = co_await loadInstallations(stop);
    if (!self)
        throw CancellationError();
    if (!answer.loading.hasAccounts)
        co_return answer;
    InstallationStore *const store = m_stores.installations;
    const Choices enabled = chooseInstallations(switches.on, store->installations());
    const Choices disabled = chooseInstallations(switches.off, store->installations());
    answer.refusal = enabled.error.isEmpty() ? disabled.error : enabled.error;
    if (answer.refusal.isEmpty()) {
        store->setInstallations(enabled.ids, true);
        store->setInstallations(disabled.ids, false);
    }
    if (!switches.areNone())
        answer.unsaved = co_await whyChangeIsLost(m_stores.preferences, stop);
    if (!self)
        throw CancellationError();
    answer.listed = listedInstallations(store->installations(), m_stores.authentication->sessions());
    co_return answer;
}

QCoro::Task<RepositoriesAnswer> LocalControl::repositories(Switches switches, std::stop_token stop)
{
    const QPointer<LocalControl> self(this);
    RepositoriesAnswer answer;
    answer.installationURL = installationURL();
    answer.loading = co_await loadInstallations(stop);
    if (!self)
        throw CancellationError();
    if (!answer.loading.hasAccounts)
        co_return answer;
    InstallationStore *const store = m_stores.installations;
    const Choices included = chooseRepositories(switches.on, store->repositories());
    const Choices excluded = chooseRepositories(switches.off, store->repositories());
    answer.refusal = included.error.isEmpty() ? excluded.error : included.error;
    if (answer.refusal.isEmpty()) {
        if (switches.all)
            store->setAllRepositories(*switches.all);
        store->setRepositories(included.ids, true);
        store->setRepositories(excluded.ids, false);
    }
    if (!switches.areNone())
        answer.unsaved = co_await whyChangeIsLost(m_stores.preferences, stop);
    if (!self)
        throw CancellationError();
    answer.listed = listedRepositories(
        store->repositories(), idsOf(store->monitoredRepositories()), m_stores.monitor->announcements().muted());
    co_return answer;
}

/// Those of the installations, and those of which a deployment is listed, which are known without GitHub.
QList<RepositoryRecord> LocalControl::knownRepositories() const
{
    QList<RepositoryRecord> known = m_stores.installations->repositories();
    for (const DeploymentSnapshot &deployment : m_stores.monitor->deployments()) {
        RepositoryRecord record;
        record.repository.nodeID = deployment.repositoryNodeID;
        record.repository.nameWithOwner = deployment.repositoryName;
        known.append(record);
    }
    return known;
}

QCoro::Task<MutingAnswer> LocalControl::mute(MutingSwitch muting, std::stop_token stop)
{
    const QPointer<LocalControl> self(this);
    co_await loadCache(stop);
    if (!self)
        throw CancellationError();
    MutingAnswer answer;
    answer.loading = {true, true, {}};
    const QStringList names(muting.name);
    Choices chosen = chooseRepositories(names, knownRepositories());
    if (!chosen.error.isEmpty()) {
        answer.loading = co_await loadInstallations(stop);
        if (!self)
            throw CancellationError();
        chosen = chooseRepositories(names, m_stores.installations->repositories());
    }
    answer.refusal = chosen.error;
    if (!answer.refusal.isEmpty())
        co_return answer;
    const QString id = *chosen.ids.cbegin();
    const QList<RepositoryRecord> known = knownRepositories();
    answer.repository = std::ranges::find(known, id, &RepositoryRecord::id)->repository.nameWithOwner;
    MutedRepositories &muted = m_stores.monitor->announcements().muted();
    if (muting.isMuted)
        muted.mute(id, muting.until);
    else
        muted.unmute(id);
    answer.unsaved = co_await whyChangeIsLost(m_stores.preferences, stop);
    if (!self)
        throw CancellationError();
    const auto term = muted.muting(id);
    answer.isMuted = term.has_value();
    answer.mutedUntil = term ? term->until : std::nullopt;
    co_return answer;
}

QCoro::Task<PauseAnswer> LocalControl::pause(PauseSwitch pause, std::stop_token stop)
{
    const QPointer<LocalControl> self(this);
    NotificationPause &notifications = m_stores.monitor->announcements().pause();
    if (pause.isPaused)
        notifications.begin(pause.until);
    else
        notifications.resume();
    PauseAnswer answer;
    answer.unsaved = co_await whyChangeIsLost(m_stores.preferences, stop);
    if (!self)
        throw CancellationError();
    const auto term = notifications.term();
    answer.isPaused = term.has_value();
    answer.pausedUntil = term ? term->until : std::nullopt;
    co_return answer;
}

/// What has been loaded already needs not wait for a refresh that is under way.
QCoro::Task<> LocalControl::loadCache(std::stop_token stop)
{
    if (m_stores.monitor->deployments().isEmpty() && !m_stores.monitor->lastRefreshedAt())
        co_await m_stores.monitor->loadCache();
    throwIfStopped(stop);
}

QCoro::Task<NotificationsAnswer> LocalControl::notifications(NotificationSwitches switches, std::stop_token stop)
{
    const QPointer<LocalControl> self(this);
    GeneralSettingsStore *const settings = m_stores.settings;
    NotificationsAnswer answer;
    answer.refusal = unknownKind(switches.on + switches.off);
    if (answer.refusal.isEmpty() && switches.onlyMine)
        settings->setNotifiesOnlyMine(*switches.onlyMine);
    for (const auto kind : kAllNotificationKinds) {
        const bool isOn = switches.on.contains(rawValue(kind));
        if (!answer.refusal.isEmpty() || !(isOn || switches.off.contains(rawValue(kind))))
            continue;
        co_await settings->setNotificationsEnabled(isOn, kind);
        if (!self)
            throw CancellationError();
        if (settings->notificationsEnabled(kind) != isOn)
            answer.refusal = settings->errorMessage().value_or(QString());
    }
    if (!switches.areNone())
        answer.unsaved = co_await whyChangeIsLost(m_stores.preferences, stop);
    if (!self)
        throw CancellationError();
    answer.choices = choicesOf(*settings);
    co_return answer;
}

QCoro::Task<FailuresAnswer> LocalControl::failures(FailureSwitches switches, std::stop_token stop)
{
    const QPointer<LocalControl> self(this);
    co_await loadCache(stop);
    if (!self)
        throw CancellationError();
    const DeploymentMonitor *const monitor = m_stores.monitor;
    FailuresAnswer answer;
    answer.refusal = choose(switches);
    if (!switches.areNone())
        answer.unsaved = co_await whyChangeIsLost(m_stores.preferences, stop);
    if (!self)
        throw CancellationError();
    answer.ignoresMended = m_stores.settings->ignoresMendedFailures();
    answer.deployments = failuresIn(monitor->deployments());
    answer.marks = monitor->marks();
    co_return answer;
}

/// Returns why a name was refused, in which case nothing is changed.
QString LocalControl::choose(const FailureSwitches &switches)
{
    const DeploymentList failures = failuresIn(m_stores.monitor->deployments());
    const Choices dismissed = chooseFailures(switches.dismissed.on, failures);
    const Choices restored = chooseFailures(switches.dismissed.off, failures);
    QString refusal = dismissed.error.isEmpty() ? restored.error : dismissed.error;
    if (!refusal.isEmpty())
        return refusal;
    if (switches.ignoresMended)
        m_stores.settings->setIgnoresMendedFailures(*switches.ignoresMended);
    if (switches.dismissed.all) {
        QSet<QString> all;
        for (const DeploymentSnapshot &failure : failures)
            all.insert(failure.id);
        m_stores.monitor->setDismissed(all, *switches.dismissed.all);
    }
    m_stores.monitor->setDismissed(dismissed.ids, true);
    m_stores.monitor->setDismissed(restored.ids, false);
    return QString();
}

QCoro::Task<EnvironmentsAnswer> LocalControl::environments(EnvironmentSwitches switches, std::stop_token stop)
{
    const QPointer<LocalControl> self(this);
    if (!m_stores.monitor->environments().isLoaded())
        co_await m_stores.monitor->loadCache();
    throwIfStopped(stop);
    if (!self)
        throw CancellationError();
    EnvironmentsAnswer answer;
    answer.refusal = choose(switches);
    if (!switches.areNone())
        answer.unsaved = co_await whyChangeIsLost(m_stores.preferences, stop);
    if (!self)
        throw CancellationError();
    const Environments &environments = m_stores.monitor->environments();
    answer.choices.onlyProduction = environments.choices().onlyProduction;
    answer.choices.environments = listedEnvironments(environments.lines());
    co_return answer;
}

/// Returns why a name was refused, in which case nothing is changed.
QString LocalControl::choose(const EnvironmentSwitches &switches)
{
    Environments &environments = m_stores.monitor->environments();
    QList<EnvironmentRule> rules;
    for (const auto &[targets, choice] : {std::pair(switches.notify, EnvironmentChoice::Notify),
             std::pair(switches.show, EnvironmentChoice::Show), std::pair(switches.hide, EnvironmentChoice::Hide)}) {
        const NamedEnvironments named = chooseEnvironments(targets, choice, environments);
        if (!named.error.isEmpty())
            return named.error;
        rules += named.rules;
    }
    if (switches.onlyProduction)
        environments.setOnlyProduction(*switches.onlyProduction);
    environments.choose(rules);
    return QString();
}

QCoro::Task<LoadingAnswer> LocalControl::refresh(std::stop_token stop)
{
    const QPointer<LocalControl> self(this);
    if (m_stores.authentication->sessions().isEmpty())
        co_return LoadingAnswer();
    co_await m_refreshes.join(stop);
    if (!self)
        throw CancellationError();
    // The refresh may have saved announced results in the preferences.
    co_await whyNotSaved(m_stores.preferences, stop);
    if (!self)
        throw CancellationError();
    co_return refreshed();
}

/// The result of the refresh that has just ended.
LoadingAnswer LocalControl::refreshed() const
{
    LoadingAnswer answer;
    answer.hasAccounts = true;
    const DeploymentMonitorState state = m_stores.monitor->state();
    answer.messages = m_stores.monitor->message().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const auto &failure : m_stores.installations->failures())
        answer.messages.append(failure.login + QStringLiteral(": ") + failure.description);
    answer.messages.append(m_stores.monitor->unsaved().split(QLatin1Char('\n'), Qt::SkipEmptyParts));
    answer.messages.removeDuplicates();
    using Case = DeploymentMonitorState::Case;
    if (state.state == Case::RateLimited && answer.messages.isEmpty())
        answer.messages.append(PausedError(state.resumeAt.value_or(m_ports.clock->now())).description());
    const bool isSettled = state.state == Case::Ready || state.state == Case::Disconnected;
    answer.isComplete = isSettled && answer.messages.isEmpty();
    return answer;
}

const WebAddress &LocalControl::installationURL() const
{
    return m_stores.installationPage->address();
}

QString LocalControl::hint() const
{
    const auto missing = m_stores.monitor->state().missing;
    // Repositories are monitored now; the next refresh clears `missing`.
    if (!missing || !m_stores.installations->monitoredRepositories().isEmpty())
        return QString();
    switch (*missing) {
    case MissingStep::Account:
        return noAccountText();
    case MissingStep::Installation:
        return notInstalledText(installationURL());
    case MissingStep::Access:
        return noAccessText(m_stores.installations->installations(), installationURL());
    case MissingStep::Selection:
        return QStringLiteral("No repository is watched. Run “velmora repositories --all” to watch them.");
    }
    Q_UNREACHABLE();
}

QCoro::Task<MonitorReport> LocalControl::report(std::stop_token)
{
    const DeploymentMonitor *const monitor = m_stores.monitor;
    MonitorReport report;
    report.applicationName = m_ports.applicationName;
    report.state = monitor->state();
    report.deployments = monitor->deployments();
    report.marks = monitor->marks();
    report.hidden = monitor->hidden().deployments;
    // Before the first refresh the data comes from the cache; its age is the time of saving.
    report.lastRefreshedAt = monitor->lastRefreshedAt() ? monitor->lastRefreshedAt() : report.state.lastUpdatedAt;
    const auto pause = m_stores.monitor->announcements().pause().term();
    report.isPaused = pause.has_value();
    report.pausedUntil = pause ? pause->until : std::nullopt;
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
    m_stores.monitor->start(m_stores.authentication, m_stores.installations, DeploymentMonitor::FirstTick::AtOnce);
    launch(m_stores.settings->prepareNotifications(), "preparing notifications");
}

} // namespace velmora
