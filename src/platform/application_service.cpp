// SPDX-License-Identifier: MIT
#include "platform/application_service.h"

#include "dbus/bus_call.h"
#include "platform/activation_token.h"

#include <QDBusAbstractAdaptor>
#include <QDBusPendingCall>

namespace velmora
{

namespace
{

constexpr std::chrono::seconds kCallTimeout(2);
constexpr uint kDoNotQueue = 4; // a flag of the bus
constexpr uint kPrimaryOwner = 1; // answers of the bus
constexpr uint kAlreadyOwner = 4;

QString tokenIn(const QVariantMap &platformData)
{
    const auto tokenUnder = [&platformData](const QString &key) {
        return checkedActivationToken(platformData.value(key).toString());
    };
    const QString token = tokenUnder(QStringLiteral("activation-token"));
    return token.isEmpty() ? tokenUnder(QStringLiteral("desktop-startup-id")) : token;
}

} // namespace

/// The interface for other programs.
class ApplicationAdaptor final : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit ApplicationAdaptor(ApplicationService *service)
        : QDBusAbstractAdaptor(service)
        , m_service(service)
    {
    }

public Q_SLOTS: // NOLINT(readability-redundant-access-specifiers)
    void Activate(const QVariantMap &platformData) { Q_EMIT m_service->activated(tokenIn(platformData)); }
    // Velmora has no files or addresses to open.
    void Open(const QStringList &, const QVariantMap &platformData)
    {
        Q_EMIT m_service->activated(tokenIn(platformData));
    }
    void ActivateAction(const QString &action, const QVariantList &, const QVariantMap &platformData)
    {
        Q_EMIT m_service->actionActivated(action, tokenIn(platformData));
    }

private:
    ApplicationService *m_service;
};

ApplicationService::ApplicationService(const QDBusConnection &bus, const QString &name, QObject *parent)
    : QObject(parent)
    , m_bus(bus)
    , m_name(name)
    , m_path(applicationPath(name))
{
    new ApplicationAdaptor(this);
    // This signal comes from the own end of the connection, not from the bus.
    const QString local = QStringLiteral("org.freedesktop.DBus.Local");
    m_bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"), local, QStringLiteral("Disconnected"), this,
        SIGNAL(busLost()));
}

ApplicationService::~ApplicationService()
{
    m_bus.unregisterObject(m_path);
}

QCoro::Task<ApplicationService::Claim> ApplicationService::claim()
{
    if (!m_bus.isConnected())
        co_return Claim::NoBus;
    // Register the object before requesting the name.
    if (m_bus.objectRegisteredAt(m_path) != this)
        m_bus.registerObject(m_path, this, QDBusConnection::ExportAdaptors);
    const QDBusMessage request = theBus().call(QStringLiteral("RequestName"), QVariantList{m_name, kDoNotQueue});
    const QDBusMessage answer = co_await callBus(m_bus, request, QDeadlineTimer(kCallTimeout));
    if (answer.type() != QDBusMessage::ReplyMessage)
        co_return Claim::NoBus;
    const uint result = answer.arguments().value(0).toUInt();
    co_return result == kPrimaryOwner || result == kAlreadyOwner ? Claim::Ours : Claim::Taken;
}

void ApplicationService::release()
{
    m_bus.asyncCall(theBus().call(QStringLiteral("ReleaseName"), {m_name}));
}

QVariantMap ApplicationService::platformData(const QString &activationToken)
{
    QVariantMap platformData;
    if (!activationToken.isEmpty()) {
        platformData.insert(QStringLiteral("activation-token"), activationToken);
        platformData.insert(QStringLiteral("desktop-startup-id"), activationToken);
    }
    return platformData;
}

QCoro::Task<bool> ApplicationService::activateRunning(QString activationToken)
{
    return callRunning(QStringLiteral("Activate"), {platformData(activationToken)});
}

QCoro::Task<bool> ApplicationService::actOnRunning(QString action, QString activationToken)
{
    const QVariant noParameters = QVariantList();
    return callRunning(QStringLiteral("ActivateAction"), {action, noParameters, platformData(activationToken)});
}

QCoro::Task<bool> ApplicationService::callRunning(QString method, QVariantList arguments)
{
    const BusObject running{m_name, m_path, QStringLiteral("org.freedesktop.Application")};
    const QDBusMessage request = running.call(method, arguments);
    const QDBusMessage answer = co_await callBus(m_bus, request, QDeadlineTimer(kCallTimeout));
    co_return answer.type() == QDBusMessage::ReplyMessage;
}

} // namespace velmora

#include "application_service.moc"
