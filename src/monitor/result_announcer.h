// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"
#include "notifications/deployment_notifying.h"

#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>

namespace velmora
{

class Preferences;

/// Posts one notification for each deployment and result, ever: what was announced is remembered in the
/// preferences. Which kinds are posted is read from the preferences each time.
class ResultAnnouncer final : public QObject
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive the announcer.
    ResultAnnouncer(DeploymentNotifying *notifier, Preferences *defaults, QObject *parent = nullptr);

    /// Whether process() has taken note of what was there when this run began.
    [[nodiscard]] bool hasCompletedLiveRefresh() const { return m_hasCompletedLiveRefresh; }

    /// Announces results of `updated` that `previous` did not have, one after the other, failures first.
    /// The first call announces nothing and takes note of every result. A notification that could
    /// not be delivered counts as announced. A repeated id in `previous` is a fatal error.
    [[nodiscard]] QCoro::Task<> process(QList<DeploymentSnapshot> previous, QList<DeploymentSnapshot> updated);

    /// Takes note of the results among the deployments without announcing them.
    void takeNote(const QList<DeploymentSnapshot> &deployments);

private:
    struct Kind;
    QCoro::Task<> announce(Kind kind, QHash<QString, DeploymentState> previous, QList<DeploymentSnapshot> updated);
    void persistNotifiedStates();

    DeploymentNotifying *m_notifier;
    Preferences *m_defaults;
    bool m_hasCompletedLiveRefresh = false;
    QSet<QString> m_notifiedFailureKeys;
    QSet<QString> m_notifiedSuccessKeys;
    bool m_hasUnsavedKeys = false;
};

} // namespace velmora
