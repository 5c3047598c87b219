// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"
#include "platform/preferences.h"

#include <QCoroTask>
#include <QHash>
#include <QList>
#include <QSet>
#include <QStringList>

namespace velmora
{

class Clock;

/// Which results need no announcement any more, and which wait for theirs. Kept in the preferences, where every Velmora
/// of the profile adds to them and none replaces them.
///
/// A result is forgotten 30 days after its deployment was last seen.
class RememberedResults
{
public:
    /// Results by their keys.
    struct Keys {
        QSet<QString> known; ///< taken note of, or announced, by whichever Velmora
        QSet<QString> waiting; ///< to be announced when it is their turn, perhaps by a Velmora that has ended since
    };

    /// What a list of deployments adds to them.
    struct Changes {
        QList<DeploymentSnapshot> noted; ///< results that are not to be announced
        QList<DeploymentSnapshot> waiting; ///< results that are to be announced
        QList<DeploymentSnapshot> seen; ///< every result in the list
    };

    /// The pointers are not owned and outlive this object.
    RememberedResults(Preferences *defaults, const Clock *clock);

    /// As they are known now. Costs as much as there is.
    [[nodiscard]] Keys keys() const;

    /// Keeps all of it in one step. What is kept like that already costs nothing.
    void keep(const Changes &changes);

    /// Takes a result that waits, and returns whether it is the caller's to announce: it is known from then on, and no
    /// other Velmora gets it. What ends a Velmora between the two leaves nothing that would be announced twice.
    [[nodiscard]] QCoro::Task<bool> claim(DeploymentSnapshot result);

    /// The result does not wait any more, and is not known either.
    void giveUp(const DeploymentSnapshot &result);

private:
    [[nodiscard]] QString today() const;
    [[nodiscard]] QHash<QString, QString> daysByKey() const;
    [[nodiscard]] QSet<QString> notSeenToday(const QList<DeploymentSnapshot> &seen);
    void forgetOld(const Keys &keys, ListChanges &changes) const;
    void store(const ListChanges &changes);

    Preferences *m_defaults;
    const Clock *m_clock;
    QString m_day; ///< the latest on which anything was kept
    QSet<QString> m_seenOnDay;
};

} // namespace velmora
