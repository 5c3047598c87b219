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
/// only once: if the answer is not stored, the account has to be connected again.
///
/// All ways in which the program ends share one object. Its time starts with the first pass() or passHere(), so that
/// it is left once even if one end follows another.
class RenewalGrace
{
public:
    static constexpr std::chrono::seconds kLongest{5};

    /// Lets the store begin no further renewal, and ends when none is under way, when the time is over, or when the
    /// store is destroyed.
    [[nodiscard]] QCoro::Task<> pass(AuthenticationStore *store);
    /// The same without returning to the event loop, for the loss of the display: handles events itself meanwhile. Does
    /// nothing on another thread than the store's.
    void passHere(AuthenticationStore *store);

private:
    void begin(AuthenticationStore *store);

    std::optional<QDeadlineTimer> m_end;
};

/// Lets the store begin no further renewal, and ends when none is under way, when the stop is requested, when the store
/// is destroyed, or after `limit`.
[[nodiscard]] QCoro::Task<> finishRenewals(
    AuthenticationStore *store, std::stop_token stop, std::optional<std::chrono::milliseconds> limit);

} // namespace velmora
