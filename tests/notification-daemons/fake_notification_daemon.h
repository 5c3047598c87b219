// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QList>
#include <QStringList>

namespace velmora::testing
{

/// The address of the private bus of the test.
[[nodiscard]] QString testBusAddress();

/// A new connection to that bus.
[[nodiscard]] QDBusConnection connectToTestBus(const QString &name);

/// A notification server with a bus connection of its own, for behaviour that no real one can be made to show.
class FakeNotificationDaemon final : public QDBusVirtualObject
{
public:
    explicit FakeNotificationDaemon(QString connectionName);
    ~FakeNotificationDaemon() override;

    /// Takes the well-known name.
    void appear();
    /// Gives up the name and the connection, like a process that ends.
    void disappear();
    [[nodiscard]] QString uniqueName() const;
    /// Emits the signal to all programs on the bus.
    void emitSignal(const QString &name, const QVariantList &arguments);

    [[nodiscard]] QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

    QStringList capabilities{QStringLiteral("body"), QStringLiteral("body-markup"), QStringLiteral("actions")};
    /// Name, vendor, version and protocol.
    QStringList information{
        QStringLiteral("Fake"), QStringLiteral("Nobody"), QStringLiteral("1.0"), QStringLiteral("1.2")};
    bool isHanging = false; ///< calls get no answer
    QString errorOfNotify; ///< the D-Bus name of an error that Notify() returns
    bool answersWithText = false; ///< Notify() returns a string instead of a number

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
