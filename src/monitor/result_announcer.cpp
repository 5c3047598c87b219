// SPDX-License-Identifier: MIT
#include "monitor/result_announcer.h"

#include "platform/preferences.h"
#include "support/error.h"

#include <QLoggingCategory>
#include <QPointer>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(announcerLog, "velmora.announcer", QtWarningMsg)

const QString kFailuresKey = QStringLiteral("deployments.notifiedFailures");
const QString kSuccessesKey = QStringLiteral("deployments.notifiedSuccesses");
const QString kFailuresEnabledKey = QStringLiteral("general.notificationsEnabled");
const QString kSuccessesEnabledKey = QStringLiteral("general.successNotificationsEnabled");

bool isSuccess(DeploymentState state)
{
    return state == DeploymentState::Success;
}

QSet<QString> storedKeys(const Preferences &defaults, const QString &key)
{
    const QStringList keys = defaults.stringList(key);
    return QSet<QString>(keys.begin(), keys.end());
}

QStringList sortedList(const QSet<QString> &keys)
{
    QStringList list(keys.begin(), keys.end());
    list.sort();
    return list;
}

QHash<QString, DeploymentState> statesByID(const QList<DeploymentSnapshot> &deployments)
{
    QHash<QString, DeploymentState> states;
    states.reserve(deployments.size());
    for (const auto &deployment : deployments) {
        // The list is unique by construction. If it ever is not, what people are told is no longer
        // trustworthy, and going on would hide it.
        if (states.contains(deployment.id))
            qFatal("The list of deployments holds an id twice.");
        states.insert(deployment.id, deployment.state);
    }
    return states;
}

} // namespace

/// What differs between announcing failures and successes.
struct ResultAnnouncer::Kind {
    bool (*isResult)(DeploymentState);
    QSet<QString> ResultAnnouncer::*notifiedKeys;
    QCoro::Task<> (DeploymentNotifying::*notify)(DeploymentSnapshot);
};

ResultAnnouncer::ResultAnnouncer(DeploymentNotifying *notifier, Preferences *defaults, QObject *parent)
    : QObject(parent)
    , m_notifier(notifier)
    , m_defaults(defaults)
    , m_notifiedFailureKeys(storedKeys(*defaults, kFailuresKey))
    , m_notifiedSuccessKeys(storedKeys(*defaults, kSuccessesKey))
{
}

QCoro::Task<> ResultAnnouncer::process(QList<DeploymentSnapshot> previous, QList<DeploymentSnapshot> updated)
{
    if (!m_hasCompletedLiveRefresh) {
        takeNote(updated);
        m_hasCompletedLiveRefresh = true;
        co_return;
    }
    const QPointer<ResultAnnouncer> self(this);
    const auto states = statesByID(previous);
    if (m_defaults->boolean(kFailuresEnabledKey)) {
        const Kind failures{&isFailure, &ResultAnnouncer::m_notifiedFailureKeys, &DeploymentNotifying::notifyFailure};
        co_await announce(failures, states, updated);
        if (!self)
            co_return;
    }
    if (m_defaults->boolean(kSuccessesEnabledKey)) {
        const Kind successes{&isSuccess, &ResultAnnouncer::m_notifiedSuccessKeys, &DeploymentNotifying::notifySuccess};
        co_await announce(successes, states, updated);
        if (!self)
            co_return;
    }
    persistNotifiedStates();
}

QCoro::Task<> ResultAnnouncer::announce(
    Kind kind, QHash<QString, DeploymentState> previous, QList<DeploymentSnapshot> updated)
{
    const QPointer<ResultAnnouncer> self(this);
    for (const auto &deployment : std::as_const(updated)) {
        if (!kind.isResult(deployment.state))
            continue;
        const auto before = previous.constFind(deployment.id);
        if (before != previous.constEnd() && kind.isResult(*before))
            continue;
        const QString key = resultKey(deployment);
        if ((this->*kind.notifiedKeys).contains(key))
            continue;
        try {
            co_await (m_notifier->*kind.notify)(deployment);
        } catch (...) {
            qCWarning(announcerLog).noquote()
                << "A notification was not delivered:" << describe(std::current_exception());
        }
        if (!self)
            co_return;
        (this->*kind.notifiedKeys).insert(key);
        m_hasUnsavedKeys = true;
    }
}

void ResultAnnouncer::takeNote(const QList<DeploymentSnapshot> &deployments)
{
    for (const auto &deployment : deployments) {
        if (isFailure(deployment.state))
            m_notifiedFailureKeys.insert(resultKey(deployment));
        else if (isSuccess(deployment.state))
            m_notifiedSuccessKeys.insert(resultKey(deployment));
    }
    m_hasUnsavedKeys = true;
    persistNotifiedStates();
}

void ResultAnnouncer::persistNotifiedStates()
{
    // The sets only ever grow, so that sorting them with every poll would cost more each month.
    if (!std::exchange(m_hasUnsavedKeys, false))
        return;
    m_defaults->setValue(kFailuresKey, sortedList(m_notifiedFailureKeys));
    m_defaults->setValue(kSuccessesKey, sortedList(m_notifiedSuccessKeys));
}

} // namespace velmora
