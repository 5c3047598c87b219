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

/// Lets the terminal commands of other processes control this Velmora, through an interface of the application's object
/// on the session bus. Every method answers with JSON text, whose records are those of Control, or with the error
/// com.tarvik.Velmora.Error.Failed, whose message is for the user.
///
/// Nothing blocks. Calls made during the start wait for setControl(). Work of open duration is cancelled when its
/// caller leaves the bus. The property is answered at once, even while a method is at work: it shows that the program
/// is alive.
class ControlService final : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.tarvik.Velmora.Control1")
    Q_PROPERTY(QString Version READ version CONSTANT)

public:
    /// `application` is the object that represents the application on the bus; it owns the service.
    ControlService(const QDBusConnection &bus, QObject *application);

    /// Answers calls, including those that wait, with `control`, which is not owned. Calls made after its destruction
    /// wait for the end of the service. Call this once.
    void setControl(Control *control);

    [[nodiscard]] QString version() const;

public Q_SLOTS: // NOLINT(readability-redundant-access-specifiers)
    /// Lists the connected accounts.
    QString Accounts(const QDBusMessage &message);
    QString RemoveAccount(const QString &login, const QDBusMessage &message);
    QString Installations(const QStringList &enable, const QStringList &disable, const QDBusMessage &message);
    /// `all` is "all", "none" or empty.
    QString Repositories(
        const QString &all, const QStringList &include, const QStringList &exclude, const QDBusMessage &message);
    /// `until` is an instant in ISO 8601, or empty: until it is unmuted.
    QString Mute(const QString &name, const QString &until, const QDBusMessage &message);
    QString Unmute(const QString &name, const QDBusMessage &message);
    /// `until` is an instant in ISO 8601, or empty: until they are resumed.
    QString Pause(const QString &until, const QDBusMessage &message);
    QString Resume(const QDBusMessage &message);
    /// `whose` is "everybody", "mine" or empty.
    QString Notifications(
        const QStringList &enable, const QStringList &disable, const QString &whose, const QDBusMessage &message);
    /// `all` is "all", "none" or empty, `mended` "count", "ignore" or empty.
    QString Failures(const QString &all, const QStringList &dismiss, const QStringList &restore, const QString &mended,
        const QDBusMessage &message);
    /// `announced` is "production", "every" or empty.
    QString Environments(const QString &announced, const QStringList &notify, const QStringList &show,
        const QStringList &hide, const QDBusMessage &message);
    /// Answers when everything has been loaded.
    QString Refresh(const QDBusMessage &message);
    /// Answers with a MonitorReport.
    QString Report(const QDBusMessage &message);

Q_SIGNALS:
    /// The answer of Report() has changed.
    void ReportChanged();
    /// A result was announced; the text is a DeploymentNotification in JSON.
    void Announced(const QString &notification);

private:
    using Work = std::function<QCoro::Task<QByteArray>(Control *, std::stop_token)>;
    /// How long an answer may take.
    enum class Duration {
        Short, ///< seconds at most
        Open, ///< as long as GitHub or the user takes; cancelled if the caller leaves
    };

    QString answer(const QDBusMessage &message, Duration duration, Work work);
    QString refuse(const QDBusMessage &message, const QString &reason);
    QCoro::Task<> serve(QDBusMessage message, Duration duration, Work work);
    QCoro::Task<> waitForControl(std::stop_token stop);

    QDBusConnection m_bus;
    QPointer<Control> m_control;
    QList<OneShot<>> m_waiting; ///< calls that arrived before setControl()
    TaskScope m_scope;
};

} // namespace velmora
