// SPDX-License-Identifier: MIT
#include "platform/browser_url_opener.h"

#include "platform/activation_token.h"
#include "platform/window_frames.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>

#include <unistd.h>

namespace velmora
{

namespace
{

/// A launcher that fails within this time has opened nothing. Later, the browser itself may have ended.
constexpr std::chrono::seconds kLongestStart{10};

/// The launcher process, which may become the browser. Watched, but not ended with this object.
class Launcher final : public QProcess
{
public:
    explicit Launcher(const QString &program, QObject *parent)
        : QProcess(parent)
    {
        setProgram(program);
        // Detach it from the terminal, where a browser would write its messages and with which it would end.
        setStandardInputFile(nullDevice());
        setStandardOutputFile(nullDevice());
        setStandardErrorFile(nullDevice());
        setChildProcessModifier([] { ::setsid(); });
    }
    ~Launcher() override { setProcessState(NotRunning); }
    Launcher(const Launcher &) = delete;
    Launcher &operator=(const Launcher &) = delete;
};

QProcessEnvironment environmentWith(const QString &activationToken)
{
    QProcessEnvironment environment = environmentWithQtFrames();
    if (isActivationToken(activationToken)) {
        environment.insert(QStringLiteral("XDG_ACTIVATION_TOKEN"), activationToken);
        // The name of the same token on X11.
        environment.insert(QStringLiteral("DESKTOP_STARTUP_ID"), activationToken);
    }
    return environment;
}

} // namespace

bool BrowserURLOpener::start(const WebAddress &address, const QString &activationToken)
{
    // Openable addresses begin with "http", so xdg-open cannot take one for an option.
    if (!address.isOpenable())
        return false;
    const QString program = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    if (program.isEmpty())
        return false;
    auto *const launcher = new Launcher(program, this);
    launcher->setProcessEnvironment(environmentWith(activationToken));
    launcher->setArguments({address.url().toString(QUrl::FullyEncoded)});
    QElapsedTimer sinceStart;
    sinceStart.start();
    connect(launcher, &QProcess::errorOccurred, this, [this, launcher, address](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        recordUnopened(address);
        launcher->deleteLater();
    });
    connect(launcher, &QProcess::finished, this,
        [this, launcher, address, sinceStart](int code, QProcess::ExitStatus status) {
            const bool hasFailed = status == QProcess::CrashExit || code != 0;
            if (hasFailed && sinceStart.elapsed() < std::chrono::milliseconds(kLongestStart).count())
                recordUnopened(address);
            launcher->deleteLater();
        });
    launcher->start();
    return true;
}

} // namespace velmora
