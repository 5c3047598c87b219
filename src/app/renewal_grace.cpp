// SPDX-License-Identifier: MIT
#include "app/renewal_grace.h"

#include "accounts/authentication_store.h"
#include "app/display_loss.h"
#include "support/signal_waiting.h"

#include <QPointer>
#include <QThread>

namespace velmora
{

QCoro::Task<> RenewalGrace::pass(AuthenticationStore *store)
{
    begin(store);
    const std::chrono::milliseconds left(m_end->remainingTime());
    return finishRenewals(store, std::stop_token(), left);
}

void RenewalGrace::passHere(AuthenticationStore *store)
{
    if (QThread::currentThread() != store->thread())
        return;
    begin(store);
    const QPointer<AuthenticationStore> living(store);
    const auto isQuiet = [&living] {
        return !living || !living->isRenewing();
    };
    handleEventsWithoutDisplay(isQuiet, *m_end);
}

void RenewalGrace::begin(AuthenticationStore *store)
{
    store->closeRenewals();
    if (!m_end)
        m_end.emplace(kLongest);
}

QCoro::Task<> finishRenewals(
    AuthenticationStore *store, std::stop_token stop, std::optional<std::chrono::milliseconds> limit)
{
    store->closeRenewals();
    const std::function<bool()> isQuiet = [store] {
        return !store->isRenewing();
    };
    co_await untilTrue(store, &AuthenticationStore::renewalsFinished, isQuiet, stop, limit);
}

} // namespace velmora
