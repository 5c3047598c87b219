// SPDX-License-Identifier: MIT
#include "app/display_probe.h"
#include "app/program.h"
#include "diagnostics/patient_work.h"
#include "http/proxy_lookup.h"

#include <QApplication>

#include <cstdio>
#include <sys/resource.h>
#include <unistd.h>

namespace
{

using namespace velmora;

std::unique_ptr<QCoreApplication> makeApplication(const CommandLine &line, int &argc, char **argv)
{
    if (line.isForDesktop() && isDisplayNamed()) {
        endQuietlyWithoutDisplay();
        auto application = std::make_unique<QApplication>(argc, argv);
        // The windows come and go; the tray item stays.
        QApplication::setQuitOnLastWindowClosed(false);
        // How desktops recognise the windows.
        QGuiApplication::setDesktopFileName(QStringLiteral("com.tarvik.Velmora"));
        return application;
    }
    // Only connecting puts something on the clipboard, which belongs to the display.
    if (line.command == CommandLine::Command::Connect && !line.isDemo && isDisplayUsable())
        return std::make_unique<QGuiApplication>(argc, argv);
    return std::make_unique<QCoreApplication>(argc, argv);
}

/// Read before the toolkit does, which keeps it for itself.
QString startupToken()
{
    const QString token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
    return token.isEmpty() ? qEnvironmentVariable("DESKTOP_STARTUP_ID") : token;
}

int runVelmora(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    const CommandLineResult parsed = parseCommandLine(arguments);
    if (!parsed.commandLine) {
        Terminal(STDOUT_FILENO).write(parsed.output.toUtf8());
        Terminal(STDERR_FILENO).write(parsed.error.toUtf8());
        return static_cast<int>(parsed.exitCode);
    }
    const CommandLine &line = *parsed.commandLine;
    if (line.command == CommandLine::Command::IsDisplayUsable) {
        endQuietlyWithoutDisplay();
        const QGuiApplication application(argc, argv);
        return static_cast<int>(ExitCode::Done);
    }
    const QString token = startupToken();
    // Our arguments are none of the toolkit's.
    int count = 1;
    const auto application = makeApplication(line, count, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velmora"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMORA_VERSION));
    if (line.command == CommandLine::Command::IsConfigured)
        return static_cast<int>(reportIsConfigured());
    Program program(line, token);
    return program.run();
}

/// A core file would hold the tokens that are in use. The browser and other programs that are started from here may
/// still raise the limit for themselves.
void forbidCoreFiles()
{
    rlimit limit{};
    ::getrlimit(RLIMIT_CORE, &limit);
    limit.rlim_cur = 0;
    ::setrlimit(RLIMIT_CORE, &limit);
}

} // namespace

int main(int argc, char **argv)
{
    forbidCoreFiles();
    // The keyring is spoken to through GLib, which needs its own event loop below Qt's.
    qunsetenv("QT_NO_GLIB");
    const int code = runVelmora(argc, argv);
    // Everything is written and closed; what cannot be interrupted must not hold the end up.
    if (ProxyLookup::isAskingSystem() || isPatientWorkOpen())
        ::_exit(code);
    return code;
}
