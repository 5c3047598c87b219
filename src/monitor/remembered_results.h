// SPDX-License-Identifier: MIT
#pragma once

#include "model/shared_deployment.h"
#include "platform/preferences.h"

#include <QCoroTask>
#include <QHash>
#include <QList>
#include <QSet>
#include <QStringList>

namespace velmora
{

class Clock;

/// Which results need no announcement any more, and which wait for theirs. A result is a state that can be announced.
/// They are kept in the preferences: every Velmora process of the profile adds to the lists, and none replaces them.
///
/// A result is forgotten 30 days after its deployment was last seen.
class RememberedResults
{
public:
    /// Results by their keys.
    struct Keys {
        QSet<QString> known; ///< history, or announced by any process
        QSet<QString> waiting; ///< still to be announced; the process that queued them may have ended
    };

    /// What a list of deployments adds to them.
    struct Changes {
        DeploymentList history; ///< results that are not to be announced
        DeploymentList waiting; ///< results that are to be announced
        DeploymentList seen; ///< the list, in which results are seen
        DeploymentList silenced = {}; ///< like the history; those that waited do so no longer
    };

    /// The pointers are not owned and outlive this object.
    RememberedResults(Preferences *defaults, const Clock *clock);

    /// Reads all of them from the preferences, which takes time in proportion to their number.
    [[nodiscard]] Keys keys() const;

    /// Takes note of the changes at once, and stores them in one step. What is stored already is not written again.
    /// Ends when they are stored, or could not be, and returns the keys that no process knew before.
    [[nodiscard]] QCoro::Task<QSet<QString>> keep(Changes changes);

    /// Moves a waiting result to the known ones, and returns whether the caller is the one to announce it. Only one
    /// process gets true. A process that ends before it announces loses the notification, but none appears twice.
    [[nodiscard]] QCoro::Task<bool> claim(DeploymentSnapshot result);

    /// Takes the result out of the waiting ones without making it known.
    void giveUp(const DeploymentSnapshot &result);

private:
    [[nodiscard]] QString today() const;
    [[nodiscard]] QHash<QString, QString> daysByKey() const;
    [[nodiscard]] bool recordSeen(const DeploymentList &list);
    void renewDays(const Changes &changes, bool isNewDay, ListChanges &lists) const;

    Preferences *m_defaults;
    const Clock *m_clock;
    QString m_day; ///< the last day on which keep() was called
    QSet<QString> m_seenOnDay;
    DeploymentList m_seen; ///< the last list that was seen on that day
};

} // namespace velmora
