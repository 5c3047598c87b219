// SPDX-License-Identifier: MIT
#pragma once

#include "control/control.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDeadlineTimer>

#include <chrono>

namespace velmora
{

/// Controls the Velmora that runs in the session, over the session bus. Never starts one.
///
/// What takes long is waited for as long as the other one shows that it works: meanwhile it is asked, every few
/// seconds, for what it can answer at once.
class RemoteControl final : public Control
{
    Q_OBJECT

public:
    /// `bus` is a connection to the session bus. `name` is dotted, and that of the application on the bus.
    /// A Velmora that answers nothing for twice the patience does not work any more.
    RemoteControl(
        const QDBusConnection &bus, const QString &name, std::chrono::milliseconds patience = std::chrono::seconds(5));

    /// Finds out whether a Velmora runs, which isRunning() tells from then on. False where there is no session bus.
    [[nodiscard]] QCoro::Task<bool> locate(std::stop_token stop);
    [[nodiscard]] bool isRunning() const { return !m_owner.isEmpty(); }

    // Each throws a ControlError when there is no answer, or none that can be understood.
    [[nodiscard]] QCoro::Task<QList<ListedAccount>> accounts(std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<RemovalAnswer> removeAccount(QString login, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<InstallationsAnswer> installations(
        InstallationChoices choices, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<RepositoriesAnswer> repositories(
        RepositoryChoices choices, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<LoadingAnswer> refresh(std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<MonitorReport> report(std::stop_token stop) override;
    /// Does nothing: the running Velmora follows already, and its signals are passed on from locate() on.
    void follow() override { }

Q_SIGNALS:
    /// isRunning() changed, or another Velmora runs now.
    void isRunningChanged();

private Q_SLOTS:
    void noteChange(const QDBusMessage &signal);
    void noteAnnouncement(const QDBusMessage &signal);
    void noteEndOfBus();

private:
    QCoro::Task<QByteArray> call(
        QString method, QVariantList arguments, QDeadlineTimer deadline, std::stop_token stop) const;
    QCoro::Task<QByteArray> callForLong(QString method, QVariantList arguments, std::stop_token stop) const;
    [[nodiscard]] QDeadlineTimer soon() const { return QDeadlineTimer(m_patience); }
    void listen();
    void setOwner(const QString &owner);

    QDBusConnection m_bus;
    QString m_name;
    QString m_path;
    std::chrono::milliseconds m_patience; ///< with an answer that needs nothing but a working program
    QString m_owner; ///< the unique name of the running Velmora; empty when there is none
    QDBusServiceWatcher m_watcher;
};

} // namespace velmora
