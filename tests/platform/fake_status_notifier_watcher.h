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

/// A watcher of tray items on a connection of its own; it does what no real one can be made to do.
class FakeStatusNotifierWatcher final : public QDBusVirtualObject
{
public:
    FakeStatusNotifierWatcher() = default;
    ~FakeStatusNotifierWatcher() override { disappear(); }

    void appear();
    /// As when its process ends.
    void disappear();
    void announce(const QString &signal);
    /// Answers the calls that hang.
    void answerHanging();

    [[nodiscard]] QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

    QString errorOfRegister; ///< the name of an error instead of an answer
    int refusals = -1; ///< after how many of them it comes round; never below 0
    QString errorOfHost;
    QVariant hasHost = true; ///< what it says whether there is a host, of any type
    bool isHanging = false; ///< no call is answered

    QStringList registered; ///< what items gave as their names, in order of coming
    int attempts = 0;
    int hostQuestions = 0;

private:
    void answer(const QDBusMessage &message, const QDBusConnection &connection);

    bool m_isThere = false;
    QList<QDBusMessage> m_hanging;
};

} // namespace velmora::testing
