// SPDX-License-Identifier: MIT
#include "platform/background_portal_login_item.h"

#include "platform/platform_error.h"
#include "platform/portal_request.h"
#include "platform/preferences.h"
#include "support/task_scope.h"

#include <QPointer>

namespace velmora
{

BackgroundPortalLoginItem::BackgroundPortalLoginItem(
    const QDBusConnection &connection, Preferences *preferences, QStringList command, QObject *parent)
    : QObject(parent)
    , m_connection(connection)
    , m_preferences(preferences)
    , m_command(std::move(command))
{
}

BackgroundPortalLoginItem::~BackgroundPortalLoginItem()
{
    m_stop.request_stop();
}

LoginItemStatus BackgroundPortalLoginItem::status() const
{
    const bool isEnabled = m_preferences->boolean(QString::fromLatin1(kAnswerKey));
    return isEnabled ? LoginItemStatus::Enabled : LoginItemStatus::Disabled;
}

QCoro::Task<> BackgroundPortalLoginItem::request(bool isWanted)
{
    const QPointer<BackgroundPortalLoginItem> self(this);
    const std::stop_token stop = m_stop.get_token();
    const auto turn = co_await m_turn.lock();
    throwIfStopped(stop);

    PortalRequest question(m_connection);
    const auto cancel = [&question] {
        question.cancel();
    };
    const std::stop_callback onStop(stop, cancel);
    QVariantMap options;
    options.insert(QStringLiteral("reason"), QStringLiteral("Velmora watches your deployments after you log in."));
    options.insert(QStringLiteral("autostart"), isWanted);
    options.insert(QStringLiteral("commandline"), m_command);
    QVariantList arguments;
    arguments << QString() << options;
    const QString interface = QStringLiteral("org.freedesktop.portal.Background");
    const QString method = QStringLiteral("RequestBackground");
    const auto results = co_await question.ask(interface, method, arguments);
    if (!self)
        co_return;
    const bool isStarted = results.value(QStringLiteral("autostart")).toBool();
    m_preferences->setValue(QString::fromLatin1(kAnswerKey), isStarted);
    if (isStarted != isWanted)
        throw PlatformError(isWanted ? QStringLiteral("The desktop does not let Velmora start at login.")
                                     : QStringLiteral("The desktop goes on starting Velmora at login."));
}

} // namespace velmora
