// SPDX-License-Identifier: MIT
#include "platform/status_notifier_registration.h"

#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

namespace velmora
{

namespace
{

constexpr int kCallTimeout = 5'000; // milliseconds
constexpr int kMostAttempts = 6;

QString watcherName()
{
    return QStringLiteral("org.kde.StatusNotifierWatcher");
}

QString watcherPath()
{
    return QStringLiteral("/StatusNotifierWatcher");
}

QDBusMessage callToWatcher(const QString &interface, const QString &method)
{
    QDBusMessage message = QDBusMessage::createMethodCall(watcherName(), watcherPath(), interface, method);
    // Never start a watcher: the desktop decides whether there is a tray.
    message.setAutoStartService(false);
    return message;
}

bool isAbsence(const QDBusMessage &answer)
{
    const QString error = answer.errorName();
    return error == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown")
        || error == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
}

} // namespace

StatusNotifierRegistration::StatusNotifierRegistration(
    const QDBusConnection &bus, std::chrono::milliseconds retryDelay, QObject *parent)
    : QObject(parent)
    , m_bus(bus)
    , m_retryDelay(retryDelay)
{
    m_retry.setSingleShot(true);
    connect(&m_retry, &QTimer::timeout, this, &StatusNotifierRegistration::registerItem);
    connect(&m_owner, &QDBusServiceWatcher::serviceOwnerChanged, this,
        [this](const QString &, const QString &, const QString &newOwner) { ownerChanged(newOwner); });
}

void StatusNotifierRegistration::start()
{
    if (!m_bus.isConnected())
        return;
    m_owner.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    m_owner.setConnection(m_bus);
    m_owner.addWatchedService(watcherName());
    // Accept any sender: with a service name Qt would block to ask for its owner. hostsChanged() asks the watcher
    // anyway.
    for (const auto *const signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"})
        m_bus.connect(QString(), watcherPath(), watcherName(), QString::fromLatin1(signal), this, SLOT(hostsChanged()));
    registerItem();
}

void StatusNotifierRegistration::ownerChanged(const QString &newOwner)
{
    ++m_generation;
    m_retry.stop();
    m_attempts = 0;
    m_isRegistered = false;
    setAvailable(false);
    if (!newOwner.isEmpty())
        registerItem();
}

void StatusNotifierRegistration::registerItem()
{
    ++m_attempts;
    QDBusMessage message = callToWatcher(watcherName(), QStringLiteral("RegisterStatusNotifierItem"));
    // The unique name, since a sandbox forbids owning the customary name with the process id.
    message << m_bus.baseService();
    call(message, [this](const QDBusMessage &answer) { registrationAnswered(answer); });
}

void StatusNotifierRegistration::registrationAnswered(const QDBusMessage &answer)
{
    if (answer.type() == QDBusMessage::ReplyMessage) {
        m_isRegistered = true;
        askForHost();
    } else if (!isAbsence(answer)) {
        retryLater();
    }
}

void StatusNotifierRegistration::retryLater()
{
    if (m_attempts < kMostAttempts)
        m_retry.start(m_retryDelay * (1 << (m_attempts - 1)));
}

void StatusNotifierRegistration::hostsChanged()
{
    if (m_isRegistered) {
        askForHost();
        return;
    }
    if (m_retry.isActive() || m_attempts >= kMostAttempts) {
        m_retry.stop();
        m_attempts = 0;
        registerItem();
    }
}

void StatusNotifierRegistration::askForHost()
{
    QDBusMessage message = callToWatcher(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    message << watcherName() << QStringLiteral("IsStatusNotifierHostRegistered");
    call(message, [this](const QDBusMessage &answer) { hostAnswered(answer); });
}

void StatusNotifierRegistration::hostAnswered(const QDBusMessage &answer)
{
    if (isAbsence(answer))
        return; // ownerChanged() will follow
    // A watcher that accepts the item but does not report hosts shows the items itself.
    const QVariant value = answer.arguments().value(0).value<QDBusVariant>().variant();
    const bool isDenied = value.metaType() == QMetaType::fromType<bool>() && !value.toBool();
    setAvailable(answer.type() != QDBusMessage::ReplyMessage || !isDenied);
}

void StatusNotifierRegistration::setAvailable(bool isAvailable)
{
    if (std::exchange(m_isAvailable, isAvailable) != isAvailable)
        Q_EMIT availabilityChanged(isAvailable);
}

void StatusNotifierRegistration::call(QDBusMessage message, Answer answer)
{
    auto *const watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message, kCallTimeout), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
        [this, answer, generation = m_generation](QDBusPendingCallWatcher *finished) {
            finished->deleteLater();
            if (generation == m_generation)
                answer(finished->reply());
        });
}

} // namespace velmora
