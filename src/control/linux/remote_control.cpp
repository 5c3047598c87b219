// SPDX-License-Identifier: MIT
#include "control/linux/remote_control.h"

#include "control/control_coding.h"
#include "control/control_error.h"
#include "control/control_texts.h"
#include "control/linux/control_protocol.h"
#include "platform/bus_call.h"

#include <QDBusError>

namespace velmora
{

namespace
{

/// For what is answered from memory.
constexpr std::chrono::seconds kPatience{5};

QDeadlineTimer soon()
{
    return QDeadlineTimer(kPatience);
}

/// GitHub, or a person in front of the keyring's question, may take their time.
QDeadlineTimer whenItIsDone()
{
    return QDeadlineTimer(QDeadlineTimer::Forever);
}

QString otherVersion()
{
    return QStringLiteral("The Velmora that is running is of another version. Quit it and start it again.");
}

ControlError errorFor(const QDBusMessage &answer)
{
    const QDBusError error(answer);
    switch (error.type()) {
    case QDBusError::UnknownInterface:
    case QDBusError::UnknownMethod:
    case QDBusError::UnknownObject:
    case QDBusError::InvalidArgs:
    case QDBusError::InvalidSignature:
        return ControlError(otherVersion());
    default:
        break;
    }
    if (answer.errorName() == QString::fromUtf16(kControlFailure))
        return ControlError(error.message());
    if (answer.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
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

QString wordFor(std::optional<bool> all)
{
    if (!all)
        return QString();
    return *all ? QStringLiteral("all") : QStringLiteral("none");
}

} // namespace

RemoteControl::RemoteControl(const QDBusConnection &bus, const QString &name, QObject *parent)
    : Control(parent)
    , m_bus(bus)
    , m_name(name)
    , m_path(applicationPath(name))
{
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
        [this](const QString &, const QString &, const QString &newOwner) { setOwner(newOwner); });
}

QCoro::Task<bool> RemoteControl::locate(std::stop_token stop)
{
    if (!m_bus.isConnected())
        co_return false;
    const QPointer<RemoteControl> self(this);
    listen();
    QDBusMessage question = callOfTheBus(QStringLiteral("GetNameOwner"));
    question << m_name;
    const QDBusMessage answer = co_await callBus(m_bus, question, soon(), stop);
    if (!self)
        throw CancellationError();
    if (answer.type() == QDBusMessage::ReplyMessage)
        setOwner(answer.arguments().value(0).toString());
    co_return isRunning();
}

void RemoteControl::listen()
{
    m_watcher.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    m_watcher.setConnection(m_bus);
    m_watcher.addWatchedService(m_name);
    // Not the bus, but our own end of the connection says so.
    m_bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
        QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this, SLOT(noteEndOfBus()));
    // From any sender: naming the service would make Qt ask for its owner and wait. Who sent them is looked at below.
    const QString interface = QString::fromUtf16(kControlInterface);
    m_bus.connect(QString(), m_path, interface, QStringLiteral("ReportChanged"), this, SLOT(noteChange(QDBusMessage)));
    m_bus.connect(
        QString(), m_path, interface, QStringLiteral("Announced"), this, SLOT(noteAnnouncement(QDBusMessage)));
}

/// Nobody can be asked any more, wherever the other one is now.
void RemoteControl::noteEndOfBus()
{
    setOwner(QString());
}

void RemoteControl::setOwner(const QString &owner)
{
    if (std::exchange(m_owner, owner) != owner)
        Q_EMIT isRunningChanged();
}

void RemoteControl::noteChange(const QDBusMessage &signal)
{
    if (signal.service() == m_owner)
        Q_EMIT reportChanged();
}

void RemoteControl::noteAnnouncement(const QDBusMessage &signal)
{
    if (signal.service() != m_owner)
        return;
    try {
        Q_EMIT announced(decodeJSON<DeploymentNotification>(signal.arguments().value(0).toString().toUtf8()));
    } catch (const DecodingError &) {
        // Of another version; the report that follows says so.
        return;
    }
}

QCoro::Task<QByteArray> RemoteControl::call(
    QString method, QVariantList arguments, QDeadlineTimer deadline, std::stop_token stop) const
{
    QDBusMessage question
        = QDBusMessage::createMethodCall(m_name, m_path, QString::fromUtf16(kControlInterface), method);
    question.setAutoStartService(false);
    question.setArguments(arguments);
    const QDBusMessage answer = co_await callBus(m_bus, question, deadline, stop);
    if (answer.type() != QDBusMessage::ReplyMessage)
        throw errorFor(answer);
    co_return answer.arguments().value(0).toString().toUtf8();
}

QCoro::Task<QList<ListedAccount>> RemoteControl::accounts(std::stop_token stop)
{
    return decoded<QList<ListedAccount>>(call(QStringLiteral("Accounts"), {}, soon(), stop));
}

QCoro::Task<RemovalAnswer> RemoteControl::removeAccount(QString login, std::stop_token stop)
{
    return decoded<RemovalAnswer>(call(QStringLiteral("RemoveAccount"), {login}, whenItIsDone(), stop));
}

QCoro::Task<InstallationsAnswer> RemoteControl::installations(InstallationChoices choices, std::stop_token stop)
{
    return decoded<InstallationsAnswer>(
        call(QStringLiteral("Installations"), {choices.enable, choices.disable}, whenItIsDone(), stop));
}

QCoro::Task<RepositoriesAnswer> RemoteControl::repositories(RepositoryChoices choices, std::stop_token stop)
{
    return decoded<RepositoriesAnswer>(call(QStringLiteral("Repositories"),
        {wordFor(choices.all), choices.include, choices.exclude}, whenItIsDone(), stop));
}

QCoro::Task<LoadingAnswer> RemoteControl::refresh(std::stop_token stop)
{
    return decoded<LoadingAnswer>(call(QStringLiteral("Refresh"), {}, whenItIsDone(), stop));
}

QCoro::Task<MonitorReport> RemoteControl::report(std::stop_token stop)
{
    return decoded<MonitorReport>(call(QStringLiteral("Report"), {}, soon(), stop));
}

} // namespace velmora
