// SPDX-License-Identifier: MIT
#include "installations/installation_loads.h"

#include "accounts/authorized_requests.h"
#include "accounts/prompt_credentials.h"
#include "github/deployment_client_error.h"
#include "github/paused_error.h"
#include "github/pausing_session.h"
#include "support/cancel_on_stop.h"
#include "support/error_as.h"
#include "support/task_scope.h"

#include <functional>

namespace velmora
{

namespace
{

/// The rate limit in GitHub's refusal, nullopt if no request was sent.
std::optional<RateLimitNotice> refusalOf(const std::exception_ptr &failure)
{
    return errorAs<PausedError>(failure) ? std::nullopt : rateLimitOf(failure);
}

QCoro::Task<VisibleRepositories> fetchVisible(
    GitHubClient client, std::shared_ptr<CredentialSource> credentials, qint64 identityID, std::stop_token stop)
{
    AuthorizedRequests requests(std::move(credentials), identityID, stop);
    const std::function<QCoro::Task<QList<GitHubInstallation>>(QString)> fetchInstallations
        = [=](const QString &accessToken) {
              return client.fetchInstallations(accessToken, stop);
          };
    VisibleRepositories visible;
    visible.installations = co_await requests.send(fetchInstallations);
    for (const GitHubInstallation &installation : std::as_const(visible.installations)) {
        // GitHub refuses to list the repositories of a suspended installation.
        if (installation.isSuspended())
            continue;
        const qint64 installationID = installation.id;
        const std::function<QCoro::Task<QList<GitHubRepository>>(QString)> fetchRepositories
            = [=](const QString &accessToken) {
                  return client.fetchRepositories(installationID, accessToken, stop);
              };
        const auto repositories = co_await requests.send(fetchRepositories);
        for (const GitHubRepository &repository : repositories) {
            const RepositoryRecord record{identityID, installation.id, installation.account, repository, true};
            visible.repositories.append(record);
        }
    }
    co_return visible;
}

} // namespace

bool InstallationLoad::isPending() const
{
    return errorAs<CredentialPendingError>(failure) != nullptr;
}

bool InstallationLoad::isPutOff() const
{
    return isPending() || errorAs<PausedError>(failure);
}

/// A running load, and the callers that wait for it.
struct InstallationLoads::Running {
    quint64 number = 0;
    std::stop_source stop;
    QList<OneShot<InstallationLoad>> callers;
    int waiting = 0; ///< callers that have not stopped waiting
    std::optional<InstallationLoad> outcome; ///< set once the load has ended
};

InstallationLoads::InstallationLoads(GitHubClient client, std::shared_ptr<RateLimitLedger> rateLimits)
    : m_state(std::make_shared<State>())
{
    m_state->client = std::move(client);
    m_state->rateLimits = std::move(rateLimits);
}

QCoro::Task<InstallationLoad> InstallationLoads::load(
    qint64 identityID, std::shared_ptr<CredentialSource> credentials, Patience patience, std::stop_token stop) const
{
    const auto state = m_state;
    InstallationLoad outcome;
    try {
        // The running load may wait longer for the credential than this caller can: wait here first.
        if (patience == Patience::Short && state->running.contains(identityID))
            std::ignore = co_await credentials->validCredential(identityID, stop);
        outcome = co_await join(state, identityID, credentials, stop);
        // The joined load may have waited shorter than this caller can.
        if (patience == Patience::Long && outcome.isPending())
            outcome = co_await join(state, identityID, credentials, stop);
    } catch (...) {
        outcome.number = state->latest;
        outcome.failure = std::current_exception();
    }
    co_return outcome;
}

QCoro::Task<InstallationLoad> InstallationLoads::join(std::shared_ptr<State> state, qint64 identityID,
    std::shared_ptr<CredentialSource> credentials, std::stop_token stop)
{
    throwIfStopped(stop);
    auto running = state->running.value(identityID);
    if (!running) {
        running = std::make_shared<Running>();
        running->number = ++state->latest;
        state->running.insert(identityID, running);
        launch(run(state, identityID, running, credentials), "Loading installations");
    }
    if (running->outcome)
        co_return InstallationLoad(*running->outcome);
    const OneShot<InstallationLoad> arrival;
    running->callers.append(arrival);
    ++running->waiting;
    const CancelOnStop<InstallationLoad> onStop(arrival, stop);
    std::exception_ptr stopped;
    try {
        auto outcome = co_await arrival;
        co_return outcome;
    } catch (...) {
        stopped = std::current_exception();
    }
    if (--running->waiting == 0) {
        if (state->running.value(identityID) == running)
            state->running.remove(identityID);
        running->stop.request_stop();
    }
    std::rethrow_exception(stopped);
}

QCoro::Task<> InstallationLoads::run(std::shared_ptr<State> state, qint64 identityID, std::shared_ptr<Running> running,
    std::shared_ptr<CredentialSource> credentials)
{
    InstallationLoad outcome;
    outcome.number = running->number;
    try {
        const GitHubClient client = clientOfIdentity(state->client, state->rateLimits, identityID);
        auto visible = co_await fetchVisible(client, credentials, identityID, running->stop.get_token());
        outcome.visible = std::move(visible);
        outcome.loadedAt = state->client.clock->now();
    } catch (...) {
        outcome.failure = std::current_exception();
    }
    if (const auto refusal = refusalOf(outcome.failure))
        state->rateLimits->recordRefusal(identityID, *refusal, state->client.clock->now());
    if (state->running.value(identityID) == running)
        state->running.remove(identityID);
    running->outcome = outcome;
    const auto callers = std::exchange(running->callers, {});
    for (const auto &caller : callers)
        caller.resolve(outcome);
}

} // namespace velmora
