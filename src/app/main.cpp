// SPDX-License-Identifier: MIT
#include "app/display_probe.h"
#include "app/program.h"
#include "http/proxy_lookup.h"
#include "platform/window_frames.h"
#include "support/background.h"
#include "support/freed_memory.h"

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
        switchOffQtFrames();
        auto application = std::make_unique<QApplication>(argc, argv);
        // The tray item stays when the last window is closed.
        QApplication::setQuitOnLastWindowClosed(false);
        // Desktops find name and picture of the windows by it.
        QGuiApplication::setDesktopFileName(QStringLiteral("com.tarvik.Velmora"));
        return application;
    }
    // Only “connect” uses the clipboard, which belongs to the display.
    if (line.command == CommandLine::Command::Connect && !line.isDemo && isDisplayUsable())
        return std::make_unique<QGuiApplication>(argc, argv);
    return std::make_unique<QCoreApplication>(argc, argv);
}

/// The desktop's permission to take the focus. Call it before the toolkit is started, which removes the variables.
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
        Terminal out(STDOUT_FILENO);
        Terminal err(STDERR_FILENO);
        out.write(parsed.output.toUtf8());
        err.write(parsed.error.toUtf8());
        return static_cast<int>(codeAfterWriting(out, err, parsed.exitCode));
    }
    const CommandLine &line = *parsed.commandLine;
    if (line.command == CommandLine::Command::IsDisplayUsable) {
        endQuietlyWithoutDisplay();
        const QGuiApplication application(argc, argv);
        return static_cast<int>(ExitCode::Done);
    }
    const QString token = startupToken();
    // The toolkit gets the name of the program only, so that it interprets no argument of ours.
    int count = 1;
    const auto application = makeApplication(line, count, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velmora"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMORA_VERSION));
    if (line.command == CommandLine::Command::IsConfigured)
        return static_cast<int>(reportIsConfigured());
    Program program(line, token);
    return program.run();
}

/// A core file would hold the tokens that are in use. The hard limit stays, so that the browser and other programs that
/// are started from here may raise theirs.
void forbidCoreFiles()
{
    rlimit limit{};
    ::getrlimit(RLIMIT_CORE, &limit);
    limit.rlim_cur = 0;
    ::setrlimit(RLIMIT_CORE, &limit);
}

} // namespace

/// GnuTLS asks the program whether its start may be left out. It comes with libcurl, for protocols that are not used
/// here; a library that does use it starts it by itself.
// NOLINTNEXTLINE(bugprone-reserved-identifier): this very one is meant
extern "C" [[gnu::visibility("default")]] int _gnutls_global_init_skip()
{
    return 1;
}

int main(int argc, char **argv)
{
    forbidCoreFiles();
    velmora::keepLittleFreedMemory();
    // The keyring's library works on GLib's event loop, so Qt must run on that one.
    qunsetenv("QT_NO_GLIB");
    const int code = runVelmora(argc, argv);
    // Everything is written and closed. A thread that cannot be interrupted must not delay the end.
    if (ProxyLookup::isAskingSystem() || isPatientWorkOpen())
        ::_exit(code);
    return code;
}
