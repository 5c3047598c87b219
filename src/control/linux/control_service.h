// SPDX-License-Identifier: MIT
#pragma once

#include "support/one_shot.h"
#include "support/task_scope.h"

#include <QByteArray>
#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QPointer>
#include <QStringList>

#include <functional>

namespace velmora
{

class Control;

/// Lets the terminal commands of other processes control this Velmora: an interface of the application's object on the
/// session bus. Every method answers with a text of JSON, whose records are those of Control, or with the error
/// com.tarvik.Velmora.Error.Failed, whose message is meant for the user.
///
/// Nothing here blocks. A caller that asks while the program is still starting waits; one that leaves the bus stops
/// what only it has asked for. The property is answered at once whatever is loaded: it shows that the program works.
class ControlService final : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.tarvik.Velmora.Control1")
    Q_PROPERTY(QString Version READ version CONSTANT)

public:
    /// `application` is the object that stands for the application on the bus, and owns the service.
    ControlService(const QDBusConnection &bus, QObject *application);

    /// From now on calls are answered by `control`, which is not owned; by nobody when it is destroyed. Call it once.
    void setControl(Control *control);

    [[nodiscard]] QString version() const;

public Q_SLOTS: // NOLINT(readability-redundant-access-specifiers)
    /// A list of accounts.
    QString Accounts(const QDBusMessage &message);
    QString RemoveAccount(const QString &login, const QDBusMessage &message);
    QString Installations(const QStringList &enable, const QStringList &disable, const QDBusMessage &message);
    /// `all` is "all", "none" or empty.
    QString Repositories(
        const QString &all, const QStringList &include, const QStringList &exclude, const QDBusMessage &message);
    /// Answered when everything has been loaded.
    QString Refresh(const QDBusMessage &message);
    /// How the deployments stand.
    QString Report(const QDBusMessage &message);

Q_SIGNALS:
    /// Report() has something else to say.
    void ReportChanged();
    /// A result is announced.
    void Announced(const QString &notification);

private:
    using Work = std::function<QCoro::Task<QByteArray>(Control *, std::stop_token)>;
    /// How long an answer takes.
    enum class Duration {
        Short, ///< known, or known in seconds
        Open, ///< as long as GitHub takes, or the user before a question: ends for a caller that leaves
    };

    QString answer(const QDBusMessage &message, Duration duration, Work work);
    QString refuse(const QDBusMessage &message, const QString &reason);
    QCoro::Task<> serve(QDBusMessage message, Duration duration, Work work);
    QCoro::Task<> waitForControl(std::stop_token stop);

    QDBusConnection m_bus;
    QPointer<Control> m_control;
    QList<OneShot<>> m_waiting; ///< calls that came before there was a control
    TaskScope m_scope;
};

} // namespace velmora
