// SPDX-License-Identifier: MIT
#include "control/remote_control.h"

#include "control/control_error.h"
#include "control/control_protocol.h"
#include "control/control_texts.h"
#include "dbus/bus_call.h"
#include "dbus/bus_error.h"
#include "support/clock.h"
#include "support/json.h"
#include "support/task_scope.h"

#include <memory>

namespace velmora
{

namespace
{

/// After a machine slept or a terminal was stopped, the deadline may have passed before an answer that has already
/// arrived is read, so one unanswered query proves nothing.
constexpr int kMostUnanswered = 2;

QString otherVersion()
{
    return QStringLiteral("The Velmora that is running is of another version. Quit it and start it again.");
}

ControlError errorFor(const QDBusMessage &answer)
{
    const BusError error(answer);
    if (error.name() == QString::fromUtf16(kControlFailure))
        return ControlError(answer.errorMessage());
    if (error.kind() == BusError::Kind::Unknown)
        return ControlError(otherVersion());
    if (error.kind() == BusError::Kind::NoOwner)
        return ControlError(hasBeenQuitText());
    return ControlError(noAnswerText());
}

template <typename Answer>
QCoro::Task<Answer> decoded(QCoro::Task<QByteArray> call)
{
    const QByteArray json = co_await call;
    try {
        co_return decodeJSON<Answer>(json);
    } catch (const DecodingError &) {
        throw ControlError(otherVersion());
    }
}

/// Repeats a query that a working program answers at once. Requests the stop when answers stay out.
QCoro::Task<> watchLife(QDBusConnection bus, QDBusMessage question, std::chrono::milliseconds patience,
    std::stop_source end, std::shared_ptr<bool> isHanging)
{
    SystemClock clock;
    const std::stop_token stop = end.get_token();
    int unanswered = 0;
    while (unanswered < kMostUnanswered) {
        const QDeadlineTimer deadline(patience);
        const QDBusMessage answer = co_await callBus(bus, question, deadline, stop);
        unanswered = BusError(answer).kind() == BusError::Kind::NoAnswer ? unanswered + 1 : 0;
        if (unanswered == 0)
            co_await clock.sleep(patience / 2, stop);
    }
    *isHanging = true;
    end.request_stop();
}

QString wordFor(std::optional<bool> all)
{
    if (!all)
        return QString();
    return *all ? QStringLiteral("all") : QStringLiteral("none");
}

} // namespace

RemoteControl::RemoteControl(const QDBusConnection &bus, const QString &name, std::chrono::milliseconds patience)
    : m_bus(bus)
    , m_name(name)
    , m_path(applicationPath(name))
    , m_patience(patience)
{
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
        [this](const QString &, const QString &, const QString &newOwner) { setOwner(newOwner); });
}

BusObject RemoteControl::program() const
{
    return {m_name, m_path, QString::fromUtf16(kControlInterface)};
}

QCoro::Task<bool> RemoteControl::locate(std::stop_token stop)
{
    if (!m_bus.isConnected())
        co_return false;
    const QPointer<RemoteControl> self(this);
    listen();
    QString owner;
    try {
        owner = co_await ownerOf(m_bus, m_name, soon(), stop);
    } catch (const BusError &) {
        co_return false;
    }
    if (!self)
        throw CancellationError();
    setOwner(owner);
    co_return isRunning();
}

void RemoteControl::listen()
{
    m_watcher.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    m_watcher.setConnection(m_bus);
    m_watcher.addWatchedService(m_name);
    // This message comes from our own end of the connection, not from the bus.
    m_bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
        QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this, SLOT(onDisconnected()));
    // Accepts any sender, because Qt would block to resolve the owner of a service name. The slots check the sender.
    const QString interface = QString::fromUtf16(kControlInterface);
    m_bus.connect(
        QString(), m_path, interface, QStringLiteral("ReportChanged"), this, SLOT(onReportChanged(QDBusMessage)));
    m_bus.connect(QString(), m_path, interface, QStringLiteral("Announced"), this, SLOT(onAnnounced(QDBusMessage)));
}

/// Without a bus nothing can be asked, whether the other process still runs or not.
void RemoteControl::onDisconnected()
{
    setOwner(QString());
}

void RemoteControl::setOwner(const QString &owner)
{
    if (std::exchange(m_owner, owner) != owner)
        Q_EMIT isRunningChanged();
}

void RemoteControl::onReportChanged(const QDBusMessage &signal)
{
    if (signal.service() == m_owner)
        Q_EMIT reportChanged();
}

void RemoteControl::onAnnounced(const QDBusMessage &signal)
{
    if (signal.service() != m_owner)
        return;
    try {
        Q_EMIT announced(decodeJSON<DeploymentNotification>(signal.arguments().value(0).toString().toUtf8()));
    } catch (const DecodingError &) {
        // The other process has another version; the next report() says so.
        return;
    }
}

QCoro::Task<QByteArray> RemoteControl::call(
    QString method, QVariantList arguments, QDeadlineTimer deadline, std::stop_token stop) const
{
    const QDBusMessage question = program().call(method, arguments);
    const QDBusMessage answer = co_await callBus(m_bus, question, deadline, stop);
    if (answer.type() != QDBusMessage::ReplyMessage)
        throw errorFor(answer);
    co_return answer.arguments().value(0).toString().toUtf8();
}

/// A call without a deadline: GitHub or the user at the keyring's prompt may take any time. Meanwhile the property of
/// the program is queried, to detect one that hangs.
QCoro::Task<QByteArray> RemoteControl::callForLong(QString method, QVariantList arguments, std::stop_token stop) const
{
    std::stop_source end;
    auto forward = [end]() mutable {
        end.request_stop();
    };
    const std::stop_callback onStop(stop, forward);
    const QDBusMessage question = program().get(QStringLiteral("Version"));
    const auto isHanging = std::make_shared<bool>(false);
    launch(watchLife(m_bus, question, m_patience, end, isHanging), "looking whether Velmora works");
    const QDeadlineTimer whenItIsDone(QDeadlineTimer::Forever);
    QByteArray answer;
    std::exception_ptr failure;
    try {
        answer = co_await call(method, arguments, whenItIsDone, end.get_token());
    } catch (...) {
        failure = std::current_exception();
    }
    end.request_stop();
    if (*isHanging && !stop.stop_requested())
        throw ControlError(noAnswerText());
    if (failure)
        std::rethrow_exception(failure);
    co_return answer;
}

QCoro::Task<QList<ListedAccount>> RemoteControl::accounts(std::stop_token stop)
{
    return decoded<QList<ListedAccount>>(call(QStringLiteral("Accounts"), {}, soon(), stop));
}

QCoro::Task<RemovalAnswer> RemoteControl::removeAccount(QString login, std::stop_token stop)
{
    return decoded<RemovalAnswer>(callForLong(QStringLiteral("RemoveAccount"), {login}, stop));
}

QCoro::Task<InstallationsAnswer> RemoteControl::installations(Switches switches, std::stop_token stop)
{
    return decoded<InstallationsAnswer>(
        callForLong(QStringLiteral("Installations"), {switches.on, switches.off}, stop));
}

QCoro::Task<RepositoriesAnswer> RemoteControl::repositories(Switches switches, std::stop_token stop)
{
    return decoded<RepositoriesAnswer>(
        callForLong(QStringLiteral("Repositories"), {wordFor(switches.all), switches.on, switches.off}, stop));
}

QCoro::Task<MutingAnswer> RemoteControl::mute(MutingSwitch muting, std::stop_token stop)
{
    if (!muting.isMuted)
        return decoded<MutingAnswer>(callForLong(QStringLiteral("Unmute"), {muting.name}, stop));
    const QString until = muting.until ? toISO8601(*muting.until) : QString();
    return decoded<MutingAnswer>(callForLong(QStringLiteral("Mute"), {muting.name, until}, stop));
}

QCoro::Task<PauseAnswer> RemoteControl::pause(PauseSwitch pause, std::stop_token stop)
{
    if (!pause.isPaused)
        return decoded<PauseAnswer>(callForLong(QStringLiteral("Resume"), {}, stop));
    const QString until = pause.until ? toISO8601(*pause.until) : QString();
    return decoded<PauseAnswer>(callForLong(QStringLiteral("Pause"), {until}, stop));
}

QCoro::Task<NotificationsAnswer> RemoteControl::notifications(NotificationSwitches switches, std::stop_token stop)
{
    QString whose;
    if (switches.onlyMine)
        whose = QString::fromUtf16(*switches.onlyMine ? kMine : kEverybody);
    return decoded<NotificationsAnswer>(
        callForLong(QStringLiteral("Notifications"), {switches.on, switches.off, whose}, stop));
}

QCoro::Task<FailuresAnswer> RemoteControl::failures(FailureSwitches switches, std::stop_token stop)
{
    QString mended;
    if (switches.ignoresMended)
        mended = QString::fromUtf16(*switches.ignoresMended ? kIgnore : kCount);
    return decoded<FailuresAnswer>(callForLong(QStringLiteral("Failures"),
        {wordFor(switches.dismissed.all), switches.dismissed.on, switches.dismissed.off, mended}, stop));
}

QCoro::Task<EnvironmentsAnswer> RemoteControl::environments(EnvironmentSwitches switches, std::stop_token stop)
{
    QString announced;
    if (switches.onlyProduction)
        announced = QString::fromUtf16(*switches.onlyProduction ? kProduction : kEveryEnvironment);
    return decoded<EnvironmentsAnswer>(
        callForLong(QStringLiteral("Environments"), {announced, switches.notify, switches.show, switches.hide}, stop));
}

QCoro::Task<LoadingAnswer> RemoteControl::refresh(std::stop_token stop)
{
    return decoded<LoadingAnswer>(callForLong(QStringLiteral("Refresh"), {}, stop));
}

QCoro::Task<MonitorReport> RemoteControl::report(std::stop_token stop)
{
    return decoded<MonitorReport>(call(QStringLiteral("Report"), {}, soon(), stop));
}

} // namespace velmora
