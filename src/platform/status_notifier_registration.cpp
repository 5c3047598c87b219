// SPDX-License-Identifier: MIT
#include "platform/status_notifier_registration.h"

#include "dbus/bus_call.h"
#include "dbus/bus_error.h"

#include <QDBusPendingCallWatcher>

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

/// Its calls never start a watcher: the desktop decides whether there is a tray.
BusObject trayWatcher()
{
    return {watcherName(), watcherPath(), watcherName()};
}

bool isAbsence(const QDBusMessage &answer)
{
    return BusError(answer).kind() == BusError::Kind::NoOwner;
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
    // The unique name, since a sandbox forbids owning the customary name with the process id.
    const QDBusMessage message
        = trayWatcher().call(QStringLiteral("RegisterStatusNotifierItem"), {m_bus.baseService()});
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
    const QDBusMessage message = trayWatcher().get(QStringLiteral("IsStatusNotifierHostRegistered"));
    call(message, [this](const QDBusMessage &answer) { hostAnswered(answer); });
}

void StatusNotifierRegistration::hostAnswered(const QDBusMessage &answer)
{
    if (isAbsence(answer))
        return; // ownerChanged() will follow
    // A watcher that accepts the item but does not report hosts shows the items itself.
    const QVariant value = propertyIn(answer);
    const bool isDenied = value.metaType() == QMetaType::fromType<bool>() && !value.toBool();
    setAvailable(!isDenied);
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
