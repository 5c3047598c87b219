// SPDX-License-Identifier: MIT
#pragma once

#include "model/shared_deployment.h"
#include "monitor/term.h"
#include "platform/preferences.h"

#include <QCoroTask>
#include <QObject>

namespace velmora
{

class Clock;

/// A pause of all notifications, and what failed during it. Both are kept in the preferences, which the Velmora
/// processes of a profile share: a pause survives the program, and each failure is summed up by one of them.
class NotificationPause final : public QObject
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive this object.
    NotificationPause(Preferences *defaults, const Clock *clock, QObject *parent = nullptr);

    /// The clock by which it goes.
    [[nodiscard]] const Clock &clock() const { return *m_clock; }
    /// The pause that holds now; nullopt if there is none.
    [[nodiscard]] std::optional<Term> term() const;

    /// Pauses until `until`, or until resume(). Replaces a pause that holds; what failed during it is kept.
    void begin(std::optional<Instant> until);
    /// Ends the pause.
    void resume();
    /// Forgets a pause that is over. To be called now and then; costs next to nothing.
    void forgetOver();

    /// Takes note of the failures among the results. Ends when they are stored, or could not be.
    [[nodiscard]] QCoro::Task<> note(DeploymentList results);
    /// Whether the pause is over and failures are noted, which takeFailures() returns.
    [[nodiscard]] bool hasFailures() const;
    /// Takes the noted failures away and returns those that no other process has taken, oldest first. A process that
    /// ends before it has used them loses them.
    [[nodiscard]] QCoro::Task<DeploymentList> takeFailures();

Q_SIGNALS:
    /// A pause began or ended, here or in another process, or the end of one that is over was noticed.
    void changed();

private:
    void read();
    void store(const QStringList &lines);

    Preferences *m_defaults;
    const Clock *m_clock;
    std::optional<Term> m_term; ///< as stored
};

} // namespace velmora
