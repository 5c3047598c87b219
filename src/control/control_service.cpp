// SPDX-License-Identifier: MIT
#include "control/control_service.h"

#include "control/control.h"
#include "control/control_protocol.h"
#include "control/control_texts.h"
#include "dbus/bus_call.h"
#include "support/background.h"
#include "support/cancel_on_stop.h"
#include "support/json.h"

#include <QCoreApplication>
#include <QDBusServiceWatcher>

#include <optional>
#include <utility>

namespace velmora
{

namespace
{

/// Encodes on another thread, because lists may be long.
template <typename Answer>
QCoro::Task<QByteArray> encoded(QCoro::Task<Answer> task)
{
    const Answer answer = co_await task;
    auto encode = [answer] {
        return encodeJSON(answer);
    };
    auto json = co_await runInBackground(QThreadPool::globalInstance(), std::move(encode));
    co_return json;
}

/// Asks the control and encodes its answer.
template <typename Method, typename... Arguments>
auto asking(Method method, Arguments... arguments)
{
    return [=](Control *control, const std::stop_token &stop) {
        return encoded((control->*method)(arguments..., stop));
    };
}

bool areTooMany(const Switches &switches)
{
    return switches.on.size() + switches.off.size() > kMostNames;
}

QString tooManyText()
{
    return QStringLiteral("At most %1 names can be given at once.").arg(kMostNames);
}

bool isNoWord(const QString &all)
{
    return !all.isEmpty() && all != QLatin1String("all") && all != QLatin1String("none");
}

QString noWordText(const QString &all)
{
    return QStringLiteral("“%1” is neither “all” nor “none”.").arg(all);
}

QString noInstantText(const QString &until)
{
    return QStringLiteral("“%1” is no instant such as 2026-05-01T12:00:00Z.").arg(until);
}

/// The caller may have left before the watcher was set up.
QCoro::Task<> stopUnlessPresent(QDBusConnection bus, QString caller, std::stop_source stop)
{
    const QDeadlineTimer deadline(std::chrono::seconds(5));
    const QString owner = co_await ownerOf(bus, caller, deadline, stop.get_token());
    if (owner.isEmpty())
        stop.request_stop();
}

/// While it lives, requests a stop when a caller leaves the bus, so that no work is done for an answer that nothing
/// reads. A caller that has already left is noticed, too. The stop is requested from the event loop.
class CallerWatch
{
public:
    CallerWatch(const QDBusConnection &bus, const QString &caller, const std::stop_source &stop)
        : m_watcher(caller, bus, QDBusServiceWatcher::WatchForUnregistration)
    {
        // Queued, because the handlers of the stop may destroy this watch.
        const auto leave = [stop](const QString &) {
            stop.request_stop();
        };
        QObject::connect(&m_watcher, &QDBusServiceWatcher::serviceUnregistered, QCoreApplication::instance(), leave,
            Qt::QueuedConnection);
        launch(stopUnlessPresent(bus, caller, stop), "looking for a caller");
    }

private:
    QDBusServiceWatcher m_watcher;
};

} // namespace

ControlService::ControlService(const QDBusConnection &bus, QObject *application)
    : QDBusAbstractAdaptor(application)
    , m_bus(bus)
{
}

QString ControlService::version() const
{
    return QStringLiteral(VELMORA_VERSION);
}

void ControlService::setControl(Control *control)
{
    m_control = control;
    connect(control, &Control::reportChanged, this, &ControlService::ReportChanged);
    connect(control, &Control::announced, this, [this](const DeploymentNotification &notification) {
        Q_EMIT Announced(QString::fromUtf8(encodeJSON(notification)));
    });
    const auto waiting = std::exchange(m_waiting, {});
    for (const auto &call : waiting)
        call.resolve();
}

QString ControlService::Accounts(const QDBusMessage &message)
{
    return answer(message, Duration::Short, asking(&Control::accounts));
}

QString ControlService::RemoveAccount(const QString &login, const QDBusMessage &message)
{
    return answer(message, Duration::Open, asking(&Control::removeAccount, login));
}

QString ControlService::Installations(
    const QStringList &enable, const QStringList &disable, const QDBusMessage &message)
{
    const Switches switches{std::nullopt, enable, disable};
    if (areTooMany(switches))
        return refuse(message, tooManyText());
    return answer(message, Duration::Open, asking(&Control::installations, switches));
}

QString ControlService::Repositories(
    const QString &all, const QStringList &include, const QStringList &exclude, const QDBusMessage &message)
{
    if (isNoWord(all))
        return refuse(message, noWordText(all));
    Switches switches{std::nullopt, include, exclude};
    if (areTooMany(switches))
        return refuse(message, tooManyText());
    if (!all.isEmpty())
        switches.all = all == QLatin1String("all");
    return answer(message, Duration::Open, asking(&Control::repositories, switches));
}

QString ControlService::Mute(const QString &name, const QString &until, const QDBusMessage &message)
{
    const auto end = parseISO8601(until);
    if (!end && !until.isEmpty())
        return refuse(message, noInstantText(until));
    return answer(message, Duration::Open, asking(&Control::mute, MutingSwitch{name, true, end}));
}

QString ControlService::Unmute(const QString &name, const QDBusMessage &message)
{
    return answer(message, Duration::Open, asking(&Control::mute, MutingSwitch{name, false, std::nullopt}));
}

QString ControlService::Pause(const QString &until, const QDBusMessage &message)
{
    const auto end = parseISO8601(until);
    if (!end && !until.isEmpty())
        return refuse(message, noInstantText(until));
    return answer(message, Duration::Open, asking(&Control::pause, PauseSwitch{true, end}));
}

QString ControlService::Resume(const QDBusMessage &message)
{
    return answer(message, Duration::Open, asking(&Control::pause, PauseSwitch{false, std::nullopt}));
}

QString ControlService::Notifications(
    const QStringList &enable, const QStringList &disable, const QString &whose, const QDBusMessage &message)
{
    const QString mine = QString::fromUtf16(kMine);
    if (!whose.isEmpty() && whose != mine && whose != QString::fromUtf16(kEverybody))
        return refuse(message, QStringLiteral("“%1” is neither “everybody” nor “mine”.").arg(whose));
    NotificationSwitches switches{enable, disable, std::nullopt};
    if (enable.size() + disable.size() > kMostNames)
        return refuse(message, tooManyText());
    if (!whose.isEmpty())
        switches.onlyMine = whose == mine;
    return answer(message, Duration::Open, asking(&Control::notifications, switches));
}

QString ControlService::Failures(const QString &all, const QStringList &dismiss, const QStringList &restore,
    const QString &mended, const QDBusMessage &message)
{
    if (isNoWord(all))
        return refuse(message, noWordText(all));
    const QString ignore = QString::fromUtf16(kIgnore);
    if (!mended.isEmpty() && mended != ignore && mended != QString::fromUtf16(kCount))
        return refuse(message, QStringLiteral("“%1” is neither “count” nor “ignore”.").arg(mended));
    FailureSwitches switches{std::nullopt, {std::nullopt, dismiss, restore}};
    if (areTooMany(switches.dismissed))
        return refuse(message, tooManyText());
    if (!all.isEmpty())
        switches.dismissed.all = all == QLatin1String("all");
    if (!mended.isEmpty())
        switches.ignoresMended = mended == ignore;
    return answer(message, Duration::Open, asking(&Control::failures, switches));
}

QString ControlService::Environments(const QString &announced, const QStringList &notify, const QStringList &show,
    const QStringList &hide, const QDBusMessage &message)
{
    const QString production = QString::fromUtf16(kProduction);
    if (!announced.isEmpty() && announced != production && announced != QString::fromUtf16(kEveryEnvironment))
        return refuse(message, QStringLiteral("“%1” is neither “production” nor “every”.").arg(announced));
    if (notify.size() + show.size() + hide.size() > kMostNames)
        return refuse(message, tooManyText());
    EnvironmentSwitches switches{notify, show, hide, std::nullopt};
    if (!announced.isEmpty())
        switches.onlyProduction = announced == production;
    return answer(message, Duration::Open, asking(&Control::environments, switches));
}

QString ControlService::Refresh(const QDBusMessage &message)
{
    return answer(message, Duration::Open, asking(&Control::refresh));
}

QString ControlService::Report(const QDBusMessage &message)
{
    return answer(message, Duration::Short, asking(&Control::report));
}

QString ControlService::refuse(const QDBusMessage &message, const QString &reason)
{
    message.setDelayedReply(true);
    m_bus.send(message.createErrorReply(QString::fromUtf16(kControlFailure), reason));
    return QString();
}

/// Answers later; QtDBus ignores the returned text.
QString ControlService::answer(const QDBusMessage &message, Duration duration, Work work)
{
    message.setDelayedReply(true);
    m_scope.launch(serve(message, duration, std::move(work)), "answering a terminal");
    return QString();
}

QCoro::Task<> ControlService::serve(QDBusMessage message, Duration duration, Work work)
{
    const QPointer<ControlService> self(this);
    const QDBusConnection bus = m_bus;
    std::stop_source callerLeft;
    const auto end = [callerLeft] {
        callerLeft.request_stop();
    };
    const std::stop_callback onEnd(m_scope.stopToken(), end);
    std::optional<CallerWatch> watch;
    if (duration == Duration::Open)
        watch.emplace(bus, message.service(), callerLeft);
    const std::stop_token stop = callerLeft.get_token();
    QDBusMessage answer;
    try {
        co_await waitForControl(stop);
        if (!self || !m_control)
            throw CancellationError();
        const QByteArray json = co_await work(m_control, stop);
        answer = message.createReply(QString::fromUtf8(json));
    } catch (const CancellationError &) {
        answer = message.createErrorReply(QString::fromUtf16(kControlFailure), hasBeenQuitText());
    } catch (...) {
        // Every caller gets an answer, whatever the failure.
        answer = message.createErrorReply(QString::fromUtf16(kControlFailure), describe(std::current_exception()));
    }
    bus.send(answer);
    // Ends the query of CallerWatch, if it is still under way.
    callerLeft.request_stop();
}

QCoro::Task<> ControlService::waitForControl(std::stop_token stop)
{
    if (m_control)
        co_return;
    const OneShot<> isThere;
    m_waiting.append(isThere);
    const CancelOnStop cancel(isThere, stop);
    co_await isThere;
}

} // namespace velmora
