// SPDX-License-Identifier: MIT
#pragma once

#include "support/one_shot.h"

#include <QCoroTask>
#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>

namespace velmora
{

/// One question to a desktop portal, whose answer comes as a signal when the person has decided.
///
/// Belongs to the coroutine that awaits the answer, and is asked once.
class PortalRequest final : public QObject
{
    Q_OBJECT

public:
    explicit PortalRequest(const QDBusConnection &connection);

    /// The method of the portal's interface, with arguments that end in the options; the option by which the answer is
    /// found is added here. Returns the results. Throws a PlatformError when there is no portal, when it refuses or
    /// ends, and when the person declines; a CancellationError after cancel(). Waits for the person without limit.
    [[nodiscard]] QCoro::Task<QVariantMap> ask(QString interface, QString method, QVariantList arguments);

    /// Ends the waiting at once.
    void cancel();

private Q_SLOTS:
    void onResponse(uint response, const QVariantMap &results);

private:
    void listenAt(const QString &path);
    void watchOwner();
    void fail(const QString &description);

    QDBusConnection m_connection;
    QString m_path; ///< of the object that answers
    OneShot<QVariantMap> m_answer;
};

} // namespace velmora
