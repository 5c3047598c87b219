// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QStringList>
#include <QVariant>

#include <stop_token>

namespace velmora
{

/// An object of a program on the bus, and one of its interfaces.
struct BusObject {
    QString name; ///< of the program
    QString path;
    QString interface;

    /// A call of the method. Does not start the program.
    [[nodiscard]] QDBusMessage call(const QString &method, const QVariantList &arguments = {}) const;
    /// A call that reads the property. Does not start the program.
    [[nodiscard]] QDBusMessage get(const QString &property) const;
};

/// The bus itself.
[[nodiscard]] BusObject theBus();

/// Sends the call and returns the answer, a reply or an error, at the deadline at the latest. Never blocks. Needs only
/// the application object. A stop ends the wait with a CancellationError, but does not take the call back.
[[nodiscard]] QCoro::Task<QDBusMessage> callBus(
    QDBusConnection bus, QDBusMessage message, QDeadlineTimer deadline, std::stop_token stop = {});

/// The value in the answer to BusObject::get(); invalid for any other answer.
[[nodiscard]] QVariant propertyIn(const QDBusMessage &answer);

/// The unique name of the program that owns the name; empty if there is none. Starts none. Throws BusError, and
/// CancellationError on a stop.
[[nodiscard]] QCoro::Task<QString> ownerOf(
    QDBusConnection bus, QString name, QDeadlineTimer deadline, std::stop_token stop = {});

/// The names for which the bus starts a program when they are called. Throws BusError.
[[nodiscard]] QCoro::Task<QStringList> startableNames(QDBusConnection bus, QDeadlineTimer deadline);

/// The object path for an application with that dotted name, as desktops derive it.
[[nodiscard]] QString applicationPath(const QString &name);

} // namespace velmora
