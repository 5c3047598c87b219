// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QList>
#include <QStringList>

namespace velmora::testing
{

/// The address of the private bus that the test runs in.
[[nodiscard]] QString testBusAddress();

/// A connection of its own to that bus.
[[nodiscard]] QDBusConnection connectToTestBus(const QString &name);

/// A notification server that speaks the protocol, on a connection of its own: it says what no real one can be made to.
class FakeNotificationDaemon final : public QDBusVirtualObject
{
public:
    explicit FakeNotificationDaemon(QString connectionName);
    ~FakeNotificationDaemon() override;

    /// Takes the well-known name.
    void appear();
    /// Gives up the name and the connection, as when its process ends.
    void disappear();
    [[nodiscard]] QString uniqueName() const;
    /// Tells every program on the bus.
    void emitSignal(const QString &name, const QVariantList &arguments);

    [[nodiscard]] QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

    QStringList capabilities{QStringLiteral("body"), QStringLiteral("body-markup"), QStringLiteral("actions")};
    bool isHanging = false; ///< no call is ever answered
    QString errorOfNotify; ///< the D-Bus name of an error instead of an answer
    bool answersWithText = false; ///< a string where the number should be

    QList<QVariantList> notified;
    QStringList notifySignatures;
    QList<uint> closed;
    int capabilityQuestions = 0;

private:
    void answerNotify(const QDBusMessage &message, const QDBusConnection &connection);

    QString m_connectionName;
    bool m_isThere = false;
    uint m_lastNumber = 0;
};

} // namespace velmora::testing
