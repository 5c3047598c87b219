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

struct BusObject;

/// Controls the Velmora that runs in the session, over the session bus. Never starts one.
///
/// Waits for long work as long as the other process is alive: it is asked every few seconds for a property that it can
/// answer at once.
class RemoteControl final : public Control
{
    Q_OBJECT

public:
    /// `bus` is a connection to the session bus, `name` the application's dotted name on it. A Velmora that answers
    /// nothing for twice the patience counts as hanging.
    RemoteControl(
        const QDBusConnection &bus, const QString &name, std::chrono::milliseconds patience = std::chrono::seconds(5));

    /// False without a session bus.
    [[nodiscard]] QCoro::Task<bool> locate(std::stop_token stop) override;
    [[nodiscard]] bool isRunning() const override { return !m_owner.isEmpty(); }

    // Each throws a ControlError if there is no answer, or one that cannot be understood.
    [[nodiscard]] QCoro::Task<QList<ListedAccount>> accounts(std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<RemovalAnswer> removeAccount(QString login, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<InstallationsAnswer> installations(Switches switches, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<RepositoriesAnswer> repositories(Switches switches, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<MutingAnswer> mute(MutingSwitch muting, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<PauseAnswer> pause(PauseSwitch pause, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<NotificationsAnswer> notifications(
        NotificationSwitches switches, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<FailuresAnswer> failures(FailureSwitches switches, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<EnvironmentsAnswer> environments(
        EnvironmentSwitches switches, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<LoadingAnswer> refresh(std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<MonitorReport> report(std::stop_token stop) override;

private Q_SLOTS:
    void onReportChanged(const QDBusMessage &signal);
    void onAnnounced(const QDBusMessage &signal);
    void onDisconnected();

private:
    QCoro::Task<QByteArray> call(
        QString method, QVariantList arguments, QDeadlineTimer deadline, std::stop_token stop) const;
    QCoro::Task<QByteArray> callForLong(QString method, QVariantList arguments, std::stop_token stop) const;
    [[nodiscard]] QDeadlineTimer soon() const { return QDeadlineTimer(m_patience); }
    [[nodiscard]] BusObject program() const;
    void listen();
    void setOwner(const QString &owner);

    QDBusConnection m_bus;
    QString m_name;
    QString m_path;
    std::chrono::milliseconds m_patience; ///< the deadline of an answer that a working program gives at once
    QString m_owner; ///< the unique name of the running Velmora; empty for none
    QDBusServiceWatcher m_watcher;
};

} // namespace velmora
