// SPDX-License-Identifier: MIT
#include "control/control_service.h"

#include "control/caller_watch.h"
#include "control/control.h"
#include "control/control_protocol.h"
#include "control/control_texts.h"
#include "support/background.h"
#include "support/cancel_on_stop.h"
#include "support/json.h"

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

bool areTooMany(const QStringList &some, const QStringList &others)
{
    return some.size() + others.size() > kMostNames;
}

QString tooManyText()
{
    return QStringLiteral("At most %1 names can be given at once.").arg(kMostNames);
}

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
    const Work work = [](Control *control, const std::stop_token &stop) {
        return encoded(control->accounts(stop));
    };
    return answer(message, Duration::Short, work);
}

QString ControlService::RemoveAccount(const QString &login, const QDBusMessage &message)
{
    const Work work = [login](Control *control, const std::stop_token &stop) {
        return encoded(control->removeAccount(login, stop));
    };
    return answer(message, Duration::Open, work);
}

QString ControlService::Installations(
    const QStringList &enable, const QStringList &disable, const QDBusMessage &message)
{
    if (areTooMany(enable, disable))
        return refuse(message, tooManyText());
    const InstallationChoices choices{enable, disable};
    const Work work = [choices](Control *control, const std::stop_token &stop) {
        return encoded(control->installations(choices, stop));
    };
    return answer(message, Duration::Open, work);
}

QString ControlService::Repositories(
    const QString &all, const QStringList &include, const QStringList &exclude, const QDBusMessage &message)
{
    if (!all.isEmpty() && all != QLatin1String("all") && all != QLatin1String("none"))
        return refuse(message, QStringLiteral("“%1” is neither “all” nor “none”.").arg(all));
    if (areTooMany(include, exclude))
        return refuse(message, tooManyText());
    RepositoryChoices choices;
    choices.include = include;
    choices.exclude = exclude;
    if (!all.isEmpty())
        choices.all = all == QLatin1String("all");
    const Work work = [choices](Control *control, const std::stop_token &stop) {
        return encoded(control->repositories(choices, stop));
    };
    return answer(message, Duration::Open, work);
}

QString ControlService::Refresh(const QDBusMessage &message)
{
    const Work work = [](Control *control, const std::stop_token &stop) {
        return encoded(control->refresh(stop));
    };
    return answer(message, Duration::Open, work);
}

QString ControlService::Report(const QDBusMessage &message)
{
    const Work work = [](Control *control, const std::stop_token &stop) {
        return encoded(control->report(stop));
    };
    return answer(message, Duration::Short, work);
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
    auto end = [callerLeft]() mutable {
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
