// SPDX-License-Identifier: MIT
#pragma once

#include "support/one_shot.h"

#include <QCoroTask>
#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>

namespace velmora
{

/// One request to a desktop portal, whose answer comes as a signal after the user's decision.
///
/// Belongs to the coroutine that awaits the answer. For one request only.
class PortalRequest final : public QObject
{
    Q_OBJECT

public:
    explicit PortalRequest(const QDBusConnection &connection);

    /// Calls the method of the portal's interface. `arguments` must end with the options, to which the token for
    /// finding the answer is added. Returns the results. Throws a PlatformError if there is no portal, if it refuses or
    /// ends, or if the user declines, and a CancellationError after cancel(). Waits for the user without a limit.
    [[nodiscard]] QCoro::Task<QVariantMap> ask(QString interface, QString method, QVariantList arguments);

    /// Ends the wait at once.
    void cancel();

private Q_SLOTS:
    void onResponse(uint response, const QVariantMap &results);

private:
    void listenAt(const QString &path);
    void watchOwner();
    void fail(const QString &description);

    QDBusConnection m_connection;
    QString m_path; ///< the path of the object that will answer
    OneShot<QVariantMap> m_answer;
};

} // namespace velmora
