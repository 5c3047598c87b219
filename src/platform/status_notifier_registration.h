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

/// Keeps the item of a connection registered with the watcher of tray items, and knows whether a host shows it.
///
/// At login the desktop may start after Velmora, and its panel may restart, so the item registers with every new
/// watcher. If a watcher refuses, because it owns its name before its object exists, tries again a few times. Never
/// blocks.
class StatusNotifierRegistration final : public QObject
{
    Q_OBJECT

public:
    /// `bus` is the connection that carries the item. The delay before the second attempt doubles with each further
    /// attempt.
    explicit StatusNotifierRegistration(const QDBusConnection &bus,
        std::chrono::milliseconds retryDelay = std::chrono::seconds(1), QObject *parent = nullptr);

    /// Call it once the item is exported.
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
    /// Drops the answer if the owner of the watcher's name has changed meanwhile.
    void call(QDBusMessage message, Answer answer);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_owner;
    QTimer m_retry;
    std::chrono::milliseconds m_retryDelay;
    int m_attempts = 0; ///< with the current watcher
    quint64 m_generation = 0; ///< the number of watchers so far
    bool m_isRegistered = false;
    bool m_isAvailable = false;
};

} // namespace velmora
