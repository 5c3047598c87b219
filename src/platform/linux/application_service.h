// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QDBusConnection>
#include <QObject>

namespace velmora
{

/// The application's place on the session bus, where there is one of it: by the interface that desktops start and
/// raise applications through. Whoever comes second asks the first to come forward.
///
/// Nothing here blocks. Calls of other programs may hold anything.
class ApplicationService final : public QObject
{
    Q_OBJECT

public:
    enum class Claim {
        Ours, ///< the name is ours until the connection ends
        Taken, ///< another process has it
        NoBus, ///< there is no session bus, so nobody can be asked
    };

    /// `bus` is a connection to the session bus. `name` is dotted, and the object's path is made from it.
    ApplicationService(const QDBusConnection &bus, const QString &name, QObject *parent = nullptr);
    ~ApplicationService() override;

    /// Takes the name unless another process has it. Calls are answered from the moment on in which it is ours.
    [[nodiscard]] QCoro::Task<Claim> claim();

    /// Gives the name up, so that whoever is started from now on is not sent here. Waits for nothing.
    void release();

    /// Asks the process that has the name to show itself. The token is the desktop's leave to take the focus; empty for
    /// none. False when there was no answer within two seconds.
    [[nodiscard]] QCoro::Task<bool> activateRunning(QString activationToken);

    /// Asks the process that has the name for one of its actions, as activateRunning() does.
    [[nodiscard]] QCoro::Task<bool> actOnRunning(QString action, QString activationToken);

Q_SIGNALS:
    /// The application is to show itself. The token is empty when none came along.
    void activated(const QString &activationToken);
    /// One of the application's actions is to be done; the name is whatever the caller said.
    void actionActivated(const QString &action, const QString &activationToken);
    /// The connection to the bus has ended, and the name with it.
    void busLost();

private:
    [[nodiscard]] static QVariantMap platformData(const QString &activationToken);
    QCoro::Task<bool> callRunning(QString method, QVariantList arguments);

    QDBusConnection m_bus;
    QString m_name;
    QString m_path;
};

} // namespace velmora
