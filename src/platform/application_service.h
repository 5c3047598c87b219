// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QDBusConnection>
#include <QObject>

namespace velmora
{

/// Makes the application unique on the session bus, by org.freedesktop.Application, the interface through which
/// desktops start and raise applications. A second process asks the first to show itself.
///
/// Never blocks. Arguments from other programs are not trusted.
class ApplicationService final : public QObject
{
    Q_OBJECT

public:
    enum class Claim {
        Ours, ///< this process owns the name until the connection ends
        Taken, ///< another process owns it
        NoBus, ///< there is no session bus
    };

    /// `bus` is a connection to the session bus. `name` is dotted; the path of the object is derived from it.
    ApplicationService(const QDBusConnection &bus, const QString &name, QObject *parent = nullptr);
    ~ApplicationService() override;

    /// Takes the name unless another process owns it. Calls are answered as soon as this process owns the name.
    [[nodiscard]] QCoro::Task<Claim> claim();

    /// Releases the name, so that new processes do not find this one. Does not wait.
    void release();

    /// Asks the owner of the name to show itself. The token is the desktop's permission to take the focus, or empty.
    /// False without an answer within two seconds.
    [[nodiscard]] QCoro::Task<bool> activateRunning(QString activationToken);

    /// Asks the owner of the name for one of its actions, like activateRunning().
    [[nodiscard]] QCoro::Task<bool> actOnRunning(QString action, QString activationToken);

Q_SIGNALS:
    /// Another program asks the application to show itself. The token is empty if none came.
    void activated(const QString &activationToken);
    /// Another program asks for an action of the application. The name may be any text.
    void actionActivated(const QString &action, const QString &activationToken);
    /// The connection to the bus has ended, and with it the ownership of the name.
    void busLost();

private:
    [[nodiscard]] static QVariantMap platformData(const QString &activationToken);
    QCoro::Task<bool> callRunning(QString method, QVariantList arguments);

    QDBusConnection m_bus;
    QString m_name;
    QString m_path;
};

} // namespace velmora
