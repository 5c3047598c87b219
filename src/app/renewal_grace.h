// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QDeadlineTimer>

#include <chrono>
#include <optional>
#include <stop_token>

namespace velmora
{

class AuthenticationStore;

/// The time that the end of the program leaves to renewals of credentials that are under way. A refresh token works
/// only once: an answer that is not stored ends the session of its account.
///
/// Every way to end comes through one object. Its clock runs from the first pass() or passHere() on, so that ends which
/// follow one another leave the time once.
class RenewalGrace
{
public:
    static constexpr std::chrono::seconds kLongest{5};

    /// Begins no renewal any more, and ends when the store has none under way. Ends as well when the time is over, or
    /// the store has gone.
    [[nodiscard]] QCoro::Task<> pass(AuthenticationStore *store);
    /// The same for an end from which there is no way back to the event loop, since the display has gone: handles
    /// events itself meanwhile. On another thread than the store's it does nothing.
    void passHere(AuthenticationStore *store);

private:
    void begin(AuthenticationStore *store);

    std::optional<QDeadlineTimer> m_end;
};

/// Begins no renewal any more, and ends when the store has none under way, the stop is requested, the store has gone,
/// or after `limit`.
[[nodiscard]] QCoro::Task<> finishRenewals(
    AuthenticationStore *store, std::stop_token stop, std::optional<std::chrono::milliseconds> limit);

} // namespace velmora
