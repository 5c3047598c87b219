// SPDX-License-Identifier: MIT
#include "fake_status_notifier_watcher.h"

#include <QDBusVariant>

namespace velmora::testing
{

namespace
{

const QString kConnection = QStringLiteral("watcher");
const QString kService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString kPath = QStringLiteral("/StatusNotifierWatcher");

} // namespace

void FakeStatusNotifierWatcher::appear()
{
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, kConnection);
    if (!bus.registerVirtualObject(kPath, this) || !bus.registerService(kService))
        qFatal("the fake watcher could not take its place on the bus");
    m_isThere = true;
}

void FakeStatusNotifierWatcher::disappear()
{
    if (!std::exchange(m_isThere, false))
        return;
    QDBusConnection(kConnection).unregisterObject(kPath);
    QDBusConnection::disconnectFromBus(kConnection);
    m_hanging.clear();
}

void FakeStatusNotifierWatcher::announce(const QString &signal)
{
    QDBusConnection(kConnection).send(QDBusMessage::createSignal(kPath, kService, signal));
}

void FakeStatusNotifierWatcher::answerHanging()
{
    isHanging = false;
    for (const QDBusMessage &message : std::exchange(m_hanging, {}))
        answer(message, QDBusConnection(kConnection));
}

bool FakeStatusNotifierWatcher::handleMessage(const QDBusMessage &message, const QDBusConnection &connection)
{
    message.setDelayedReply(true);
    if (message.member() == QLatin1String("RegisterStatusNotifierItem"))
        ++attempts;
    if (isHanging)
        m_hanging.append(message);
    else
        answer(message, connection);
    return true;
}

void FakeStatusNotifierWatcher::answer(const QDBusMessage &message, const QDBusConnection &connection)
{
    const bool isRegister = message.member() == QLatin1String("RegisterStatusNotifierItem");
    if (!isRegister)
        ++hostQuestions;
    else if (refusals >= 0 && attempts > refusals)
        errorOfRegister.clear();
    if (const QString &error = isRegister ? errorOfRegister : errorOfHost; !error.isEmpty()) {
        connection.send(message.createErrorReply(error, QStringLiteral("words of the watcher")));
    } else if (isRegister) {
        registered.append(message.arguments().value(0).toString());
        connection.send(message.createReply());
    } else {
        connection.send(message.createReply(QVariant::fromValue(QDBusVariant(hasHost))));
    }
}

} // namespace velmora::testing
