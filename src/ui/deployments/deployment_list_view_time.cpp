// SPDX-License-Identifier: MIT
// Timers of the list: turning icons and growing ages.
#include "ui/deployments/deployment_list_view.h"

#include "presentation/relative_time.h"
#include "support/clock.h"
#include "ui/controls/motion.h"
#include "ui/deployments/deployment_list_model.h"

#include <QPointer>
#include <QTimerEvent>

namespace velmora
{

using namespace std::chrono_literals;

namespace
{

/// Timers stop while the machine sleeps, so none may run for long.
constexpr auto kLongestWait = 60s;

} // namespace

void DeploymentListView::updateMotion()
{
    bool hasMotion = false;
    if (m_isShown && wantsMotion(*this)) {
        const auto [first, last] = visibleRows();
        for (int row = first; row <= last && !hasMotion; ++row) {
            const auto *deployment = m_model->deployment(row);
            hasMotion = deployment && deployment->state == DeploymentState::InProgress;
        }
    }
    if (hasMotion && !m_turning.isActive())
        m_turning.start(kTurnInterval, this);
    else if (!hasMotion)
        m_turning.stop();
}

void DeploymentListView::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != m_turning.timerId())
        return QListView::timerEvent(event);
    m_turnedBy = (m_turnedBy + kTurnStep) % 360;
    const auto [first, last] = visibleRows();
    for (int row = first; row <= last; ++row) {
        const auto *deployment = m_model->deployment(row);
        if (deployment && deployment->state == DeploymentState::InProgress)
            viewport()->update(m_rowView.parts(visualRect(m_model->index(row)), *deployment).icon);
    }
}

void DeploymentListView::updateAges()
{
    const Instant now = m_ports.clock->now();
    const auto [first, last] = visibleRows();
    for (int row = first; row <= last; ++row) {
        const auto *deployment = m_model->deployment(row);
        // After the clock was set back every age may be wrong.
        if (deployment && (now < m_agesShownAt || nextRelativeTimeChange(deployment->updatedAt, m_agesShownAt) <= now))
            viewport()->update(visualRect(m_model->index(row)));
    }
    m_agesShownAt = now;
    scheduleAges();
}

void DeploymentListView::scheduleAges()
{
    std::optional<Instant> due;
    if (m_isShown && !m_isUpdating) {
        const auto [first, last] = visibleRows();
        for (int row = first; row <= last; ++row) {
            if (const auto *deployment = m_model->deployment(row)) {
                const Instant change = nextRelativeTimeChange(deployment->updatedAt, m_agesShownAt);
                due = std::min(due.value_or(change), change);
            }
        }
    }
    if (due == m_agesDueAt)
        return;
    m_ages.cancelAll();
    m_agesDueAt = due;
    if (!due)
        return;
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(*due - m_ports.clock->now());
    m_ages.launch(
        waitForAges(std::clamp<std::chrono::milliseconds>(wait, 1ms, kLongestWait), m_ages.stopToken()), "Ages");
}

QCoro::Task<> DeploymentListView::waitForAges(std::chrono::milliseconds duration, std::stop_token stop)
{
    const QPointer<DeploymentListView> self(this);
    co_await m_ports.clock->sleep(duration, stop);
    if (!self)
        co_return;
    m_agesDueAt.reset();
    updateAges();
}

} // namespace velmora
