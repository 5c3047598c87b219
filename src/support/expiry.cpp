// SPDX-License-Identifier: MIT
#include "support/expiry.h"

#include "support/task_scope.h"

namespace velmora
{

Expiry::Expiry(Clock *clock, std::chrono::milliseconds duration, const std::stop_token &stop)
    : m_forward(stop, Forward{m_state})
{
    launch(expire(clock, duration, m_state, m_timer.get_token()), "Waiting for the end of a term");
}

Expiry::~Expiry()
{
    m_timer.request_stop();
}

std::stop_token Expiry::stopToken() const
{
    return m_state->source.get_token();
}

bool Expiry::hasExpired() const
{
    return m_state->hasExpired;
}

QCoro::Task<> Expiry::expire(
    Clock *clock, std::chrono::milliseconds duration, std::shared_ptr<State> state, std::stop_token ended)
{
    co_await clock->sleep(duration, ended);
    if (state->source.stop_requested())
        co_return;
    state->hasExpired = true;
    state->source.request_stop();
}

} // namespace velmora
