// SPDX-License-Identifier: MIT
#include "platform/portal_request.h"

#include "platform/platform_error.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QUuid>

namespace velmora
{

namespace
{

constexpr auto kService = "org.freedesktop.portal.Desktop";
constexpr auto kObject = "/org/freedesktop/portal/desktop";
constexpr auto kRequestInterface = "org.freedesktop.portal.Request";
/// Milliseconds for the portal to accept the request. The answer itself may take any time.
constexpr int kCallTimeout = 10'000;

/// The object path of the answer. It is known before the call, so that no early answer is missed.
QString requestPath(const QString &uniqueName, const QString &token)
{
    QString sender = uniqueName.mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    return QStringLiteral("%1/request/%2/%3").arg(QLatin1String(kObject), sender, token);
}

} // namespace

PortalRequest::PortalRequest(const QDBusConnection &connection)
    : m_connection(connection)
{
}

QCoro::Task<QVariantMap> PortalRequest::ask(QString interface, QString method, QVariantList arguments)
{
    if (!m_connection.isConnected())
        throw PlatformError(QStringLiteral("There is no session bus, through which Velmora could ask the desktop."));
    const QString token = QStringLiteral("velmora_") + QUuid::createUuid().toString(QUuid::Id128);
    QVariantMap options = arguments.takeLast().toMap();
    options.insert(QStringLiteral("handle_token"), token);
    arguments.append(options);
    watchOwner();
    listenAt(requestPath(m_connection.baseService(), token));

    auto call = QDBusMessage::createMethodCall(
        QString::fromLatin1(kService), QString::fromLatin1(kObject), interface, method);
    call.setArguments(arguments);
    auto *watcher = new QDBusPendingCallWatcher(m_connection.asyncCall(call, kCallTimeout), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *finished) {
        const QDBusPendingReply<QDBusObjectPath> reply = *finished;
        if (reply.isError())
            fail(QStringLiteral("The desktop did not take the question: %1").arg(reply.error().message()));
        else if (reply.value().path() != m_path) // an old portal that chooses its own path
            listenAt(reply.value().path());
    });
    const OneShot<QVariantMap> answer = m_answer;
    auto results = co_await answer;
    co_return results;
}

void PortalRequest::listenAt(const QString &path)
{
    m_path = path;
    m_connection.connect(QString::fromLatin1(kService), path, QString::fromLatin1(kRequestInterface),
        QStringLiteral("Response"), this, SLOT(onResponse(uint, QVariantMap)));
}

void PortalRequest::watchOwner()
{
    auto *watcher = new QDBusServiceWatcher(
        QString::fromLatin1(kService), m_connection, QDBusServiceWatcher::WatchForUnregistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this,
        [this] { fail(QStringLiteral("The desktop ended before it answered.")); });
}

void PortalRequest::onResponse(uint response, const QVariantMap &results)
{
    if (response == 0)
        m_answer.resolve(results);
    else if (response == 1)
        fail(QStringLiteral("The request was declined on the desktop."));
    else
        fail(QStringLiteral("The desktop could not answer the request."));
}

void PortalRequest::fail(const QString &description)
{
    m_answer.fail(std::make_exception_ptr(PlatformError(description)));
}

void PortalRequest::cancel()
{
    m_answer.fail(std::make_exception_ptr(CancellationError()));
}

} // namespace velmora
