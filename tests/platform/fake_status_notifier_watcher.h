// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QList>
#include <QStringList>
#include <QVariant>

#include <optional>

namespace velmora::testing
{

/// A watcher of tray items with a bus connection of its own, for behaviour that no real one can be made to show.
class FakeStatusNotifierWatcher final : public QDBusVirtualObject
{
public:
    FakeStatusNotifierWatcher() = default;
    ~FakeStatusNotifierWatcher() override { disappear(); }

    void appear();
    /// Gives up the name and the connection, like a process that ends.
    void disappear();
    void announce(const QString &signal);
    /// Answers all calls that hang.
    void answerHanging();

    [[nodiscard]] QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

    QString errorOfRegister; ///< the name of an error that registration returns
    int refusals = -1; ///< after so many errors registration succeeds; negative: never
    QString errorOfHost;
    QVariant hasHost = true; ///< the value of the property about a host, of any type
    bool isHanging = false; ///< calls get no answer

    QStringList registered; ///< the names that items registered, in order
    int attempts = 0;
    int hostQuestions = 0;

private:
    void answer(const QDBusMessage &message, const QDBusConnection &connection);

    bool m_isThere = false;
    QList<QDBusMessage> m_hanging;
};

} // namespace velmora::testing
