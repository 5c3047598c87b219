// SPDX-License-Identifier: MIT
#pragma once

#include "support/clock.h"

#include <chrono>
#include <memory>
#include <stop_token>

namespace velmora
{

/// A stop for work with a time limit. It is requested when the time is over, or together with the stop it was made
/// from. hasExpired() tells which of the two. Lives on the main thread.
class Expiry
{
public:
    /// `clock` is not owned.
    Expiry(Clock *clock, std::chrono::milliseconds duration, const std::stop_token &stop);
    Expiry(const Expiry &) = delete;
    Expiry &operator=(const Expiry &) = delete;
    /// Ends the timer without requesting the stop.
    ~Expiry();

    [[nodiscard]] std::stop_token stopToken() const;
    /// Whether the time was over before the other stop was requested.
    [[nodiscard]] bool hasExpired() const;

private:
    struct State {
        std::stop_source source;
        bool hasExpired = false;
    };
    struct Forward {
        std::shared_ptr<State> state;
        void operator()() const { state->source.request_stop(); }
    };

    static QCoro::Task<> expire(
        Clock *clock, std::chrono::milliseconds duration, std::shared_ptr<State> state, std::stop_token ended);

    std::shared_ptr<State> m_state = std::make_shared<State>();
    std::stop_source m_timer;
    std::stop_callback<Forward> m_forward;
};

} // namespace velmora
