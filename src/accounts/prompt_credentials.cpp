// SPDX-License-Identifier: MIT
#include "accounts/prompt_credentials.h"

#include "support/cancel_on_stop.h"
#include "support/expiry.h"
#include "support/task_scope.h"

#include <QPointer>

namespace velmora
{

using namespace std::chrono_literals;

namespace
{

/// Most renewals take less, and the next polling round is due by then.
constexpr std::chrono::milliseconds kPatience = 5s;

} // namespace

QString CredentialPendingError::description() const
{
    return QStringLiteral("Velmora is still waiting for the token of this account.");
}

PromptCredentials::PromptCredentials(std::shared_ptr<CredentialSource> source, Clock *clock)
    : m_source(std::move(source))
    , m_clock(clock)
{
}

QCoro::Task<GitHubCredential> PromptCredentials::validCredential(qint64 accountID, std::stop_token stop)
{
    Work work = [source = m_source, accountID, stop] {
        return source->validCredential(accountID, stop);
    };
    return promptly(accountID, std::move(work), std::move(stop));
}

QCoro::Task<GitHubCredential> PromptCredentials::credentialAfterRefusal(
    qint64 accountID, QString refusedToken, std::stop_token stop)
{
    Work work = [source = m_source, accountID, refusedToken = std::move(refusedToken), stop] {
        return source->credentialAfterRefusal(accountID, refusedToken, stop);
    };
    return promptly(accountID, std::move(work), std::move(stop));
}

void PromptCredentials::recordAccepted(qint64 accountID, const QString &accessToken)
{
    m_source->recordAccepted(accountID, accessToken);
}

void PromptCredentials::forget(qint64 accountID)
{
    m_apart.remove(accountID);
    m_slow.remove(accountID);
}

QCoro::Task<GitHubCredential> PromptCredentials::promptly(qint64 accountID, Work work, std::stop_token stop)
{
    const QPointer<PromptCredentials> self(this);
    throwIfStopped(stop);
    if (const auto apart = m_apart.value(accountID)) {
        if (!apart->isDone)
            throw CredentialPendingError();
        m_apart.remove(accountID);
        if (apart->failure)
            std::rethrow_exception(apart->failure);
        m_slow.remove(accountID);
        co_return GitHubCredential(*apart->credential);
    }
    const auto acquisition = std::make_shared<Acquisition>();
    launch(acquire(accountID, work(), acquisition), "Waiting for a credential");
    if (!acquisition->isDone && !m_slow.contains(accountID)) {
        const Expiry patience(m_clock, kPatience, stop);
        const CancelOnStop<GitHubCredential> onStop(acquisition->arrival, patience.stopToken());
        try {
            co_await acquisition->arrival;
        } catch (const CancellationError &) {
            if (!patience.hasExpired())
                throw;
        }
        if (!self)
            throw CancellationError();
    }
    if (acquisition->isDone) {
        m_slow.remove(accountID);
        if (acquisition->failure)
            std::rethrow_exception(acquisition->failure);
        co_return GitHubCredential(*acquisition->credential);
    }
    m_slow.insert(accountID);
    m_apart.insert(accountID, acquisition);
    throw CredentialPendingError();
}

QCoro::Task<> PromptCredentials::acquire(
    qint64 accountID, QCoro::Task<GitHubCredential> work, std::shared_ptr<Acquisition> acquisition)
{
    const QPointer<PromptCredentials> self(this);
    try {
        const auto credential = co_await work;
        acquisition->credential = credential;
    } catch (...) {
        acquisition->failure = std::current_exception();
    }
    acquisition->isDone = true;
    if (acquisition->failure)
        acquisition->arrival.fail(acquisition->failure);
    else
        acquisition->arrival.resolve(*acquisition->credential);
    if (self && m_apart.value(accountID) == acquisition)
        Q_EMIT arrived(accountID);
}

} // namespace velmora
