// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"
#include "support/task_scope.h"

#include <QObject>

#include <optional>

namespace velmora
{

class Clock;

/// Tells a widget when an age that it shows reads differently. Waits in the steps of a minute at most, because a wait
/// stands still while the machine sleeps.
class AgeTicker final : public QObject
{
    Q_OBJECT

public:
    /// The clock is not owned and outlives the ticker.
    explicit AgeTicker(Clock *clock, QObject *parent = nullptr);

    /// Waits for this instant and for no other; nullopt ends the wait. Does nothing if it waits for the same already.
    void waitFor(std::optional<Instant> due);

Q_SIGNALS:
    /// The instant has come, or a minute has passed. The ticker waits no more.
    void ticked();

private:
    [[nodiscard]] QCoro::Task<> wait(std::chrono::milliseconds duration, std::stop_token stop);

    Clock *m_clock;
    std::optional<Instant> m_due;
    TaskScope m_wait;
};

} // namespace velmora
