// SPDX-License-Identifier: MIT
#include "platform/logind_sleep_watch.h"

namespace velmora
{

LogindSleepWatch::LogindSleepWatch(QDBusConnection connection, QObject *parent)
    : QObject(parent)
    , m_isListening(connection.isConnected()
          && connection.connect(QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
              QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"), this,
              SIGNAL(prepareForSleep(bool))))
{
}

} // namespace velmora
