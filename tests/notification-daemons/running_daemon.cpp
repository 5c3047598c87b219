// SPDX-License-Identifier: MIT
#include "running_daemon.h"

#include "fake_notification_daemon.h"
#include "support/await.h"

#include <QDBusConnectionInterface>
#include <QVariantMap>
#include <QXmlStreamReader>

#include <csignal>
#include <sys/prctl.h>

namespace velmora::testing
{

namespace
{

const QString kService = QStringLiteral("org.freedesktop.Notifications");

QDBusConnection otherProgram()
{
    return connectToTestBus(QStringLiteral("other program"));
}

bool isServed()
{
    return otherProgram().interface()->isServiceRegistered(kService);
}

} // namespace

QDBusMessage callNotificationService(const QString &interface, const QString &method, const QVariantList &arguments)
{
    QDBusMessage call
        = QDBusMessage::createMethodCall(kService, QStringLiteral("/org/freedesktop/Notifications"), interface, method);
    call.setArguments(arguments);
    const QDBusMessage answer = otherProgram().call(call, QDBus::Block, 10'000);
    if (answer.type() != QDBusMessage::ReplyMessage)
        qFatal("%s", qPrintable(answer.errorMessage()));
    return answer;
}

uint postAsAnotherProgram(const QString &summary)
{
    const QVariantList arguments{
        QStringLiteral("Another program"), 0U, QString(), summary, QString(), QStringList(), QVariantMap(), 0};
    return callNotificationService(kService, QStringLiteral("Notify"), arguments).arguments().constFirst().toUInt();
}

bool becomesTrue(const std::function<bool()> &condition)
{
    return waitUntil(condition);
}

std::optional<QString> shownText(const QString &markup)
{
    QXmlStreamReader reader(QStringLiteral("<text>") + markup + QStringLiteral("</text>"));
    if (!reader.readNextStartElement())
        return std::nullopt;
    const QString text = reader.readElementText(QXmlStreamReader::ErrorOnUnexpectedElement);
    if (reader.hasError())
        return std::nullopt;
    return text;
}

RunningDaemon::RunningDaemon(QString program, QStringList arguments)
    : m_program(std::move(program))
    , m_arguments(std::move(arguments))
{
    m_process.setStandardOutputFile(QProcess::nullDevice());
    m_process.setStandardErrorFile(QProcess::nullDevice());
    // Make the kernel kill the daemon if the test crashes.
    m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
}

RunningDaemon::~RunningDaemon()
{
    end();
}

void RunningDaemon::start()
{
    m_process.start(m_program, m_arguments);
    if (!m_process.waitForStarted() || !becomesTrue(isServed))
        qFatal("%s does not run", qPrintable(m_program));
}

void RunningDaemon::end()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished();
    if (!becomesTrue([] { return !isServed(); }))
        qFatal("the daemon is still on the bus");
}

} // namespace velmora::testing
