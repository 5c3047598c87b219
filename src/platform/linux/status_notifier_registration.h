// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>

namespace velmora
{

/// Keeps the item of a connection registered with whoever is the watcher of tray items, and knows whether a host
/// shows them.
///
/// At login the desktop may come after Velmora, and its panel may end and come back: every new watcher is told of the
/// item. One that is there before its object is asked again a few times. Every call is asynchronous.
class StatusNotifierRegistration final : public QObject
{
    Q_OBJECT

public:
    /// `bus` is the connection that carries the item. The delay before the second attempt doubles with each further
    /// one.
    explicit StatusNotifierRegistration(const QDBusConnection &bus,
        std::chrono::milliseconds retryDelay = std::chrono::seconds(1), QObject *parent = nullptr);

    /// To be called once the item can be read.
    void start();

    [[nodiscard]] bool isAvailable() const { return m_isAvailable; }

Q_SIGNALS:
    void availabilityChanged(bool isAvailable);

private Q_SLOTS:
    void hostsChanged();

private:
    using Answer = std::function<void(const QDBusMessage &)>;

    void ownerChanged(const QString &newOwner);
    void registerItem();
    void registrationAnswered(const QDBusMessage &answer);
    void askForHost();
    void hostAnswered(const QDBusMessage &answer);
    void retryLater();
    void setAvailable(bool isAvailable);
    /// An answer of an earlier watcher is dropped.
    void call(QDBusMessage message, Answer answer);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_owner;
    QTimer m_retry;
    std::chrono::milliseconds m_retryDelay;
    int m_attempts = 0; ///< with the present watcher
    quint64 m_generation = 0; ///< of the watcher
    bool m_isRegistered = false;
    bool m_isAvailable = false;
};

} // namespace velmora
