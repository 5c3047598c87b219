// SPDX-License-Identifier: MIT
#include "monitor/saved_deployments.h"

#include "support/clock.h"
#include "support/error.h"

#include <QLoggingCategory>
#include <QPointer>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(monitorLog, "velmora.monitor", QtWarningMsg)

constexpr std::chrono::seconds kRetryPause{30};
/// A list that stays the same is saved so often for its time alone. Every save waits for the disk.
constexpr std::chrono::minutes kLongestUnsaved{5};

} // namespace

SavedDeployments::SavedDeployments(DeploymentCaching *cache, const Clock *clock, QObject *parent)
    : QObject(parent)
    , m_cache(cache)
    , m_clock(clock)
{
}

QCoro::Task<std::optional<DeploymentCachePayload>> SavedDeployments::load()
{
    if (m_isLoaded)
        co_return std::nullopt;
    const QPointer<SavedDeployments> self(this);
    auto payload = co_await m_cache->load();
    if (self)
        m_isLoaded = true;
    co_return payload;
}

QCoro::Task<> SavedDeployments::save(DeploymentList deployments)
{
    const QPointer<SavedDeployments> self(this);
    const DeploymentCachePayload payload{deployments, m_clock->now()};
    if (isSaved(payload)) {
        m_saved->deployments = deployments; // an equal list that is on show as well takes no memory
        co_return;
    }
    QString failure;
    try {
        co_await m_cache->save(payload);
    } catch (...) {
        failure = describe(std::current_exception());
    }
    if (!self)
        co_return;
    m_retryAt = m_clock->now() + kRetryPause;
    m_saved.reset();
    if (failure.isEmpty())
        m_saved = payload;
    if (m_failure == failure)
        co_return;
    m_failure = failure;
    if (!failure.isEmpty())
        qCWarning(monitorLog).noquote() << "The deployments were not saved:" << failure;
    Q_EMIT failureChanged();
}

/// Whether the file holds the list, with a recent time. A time in the future is from before the clock was set back.
bool SavedDeployments::isSaved(const DeploymentCachePayload &payload) const
{
    return m_saved && m_saved->savedAt <= payload.savedAt && payload.savedAt - m_saved->savedAt < kLongestUnsaved
        && m_saved->deployments == payload.deployments;
}

QCoro::Task<> SavedDeployments::saveAgain(DeploymentList deployments)
{
    if (!m_failure.isEmpty() && m_clock->now() >= m_retryAt)
        co_await save(deployments);
}

} // namespace velmora
