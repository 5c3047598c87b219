// SPDX-License-Identifier: MIT
#include "app/logging.h"

#include "cli/terminal.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QThread>

#include <atomic>

namespace velmora
{

namespace
{

std::atomic<Terminal *> s_terminal = nullptr;

void write(const QString &line)
{
    if (Terminal *terminal = s_terminal)
        terminal->writeLine(line);
}

void handle(QtMsgType, const QMessageLogContext &context, const QString &message)
{
    const QString category = QString::fromUtf8(context.category ? context.category : "default");
    const QString line = category + QStringLiteral(": ") + message;
    QCoreApplication *application = QCoreApplication::instance();
    if (!application || QThread::currentThread() == application->thread()) {
        write(line);
        return;
    }
    // Only the main thread may write to the terminal.
    QMetaObject::invokeMethod(
        application, [line] { write(line); }, Qt::QueuedConnection);
}

} // namespace

void startLogging(Terminal *terminal, bool isVerbose)
{
    s_terminal = terminal;
    qInstallMessageHandler(handle);
    if (isVerbose)
        QLoggingCategory::setFilterRules(QStringLiteral("velmora.*=true"));
}

void stopLogging()
{
    qInstallMessageHandler(nullptr);
    s_terminal = nullptr;
}

} // namespace velmora
