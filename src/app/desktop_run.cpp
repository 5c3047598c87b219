// SPDX-License-Identifier: MIT
#include "app/desktop_run.h"

#include "app/display_probe.h"
#include "control/control_error.h"
#include "control/control_service.h"
#include "control/control_texts.h"
#include "control/remote_control.h"
#include "platform/appearance_watch.h"
#include "support/task_scope.h"
#include "ui/appearance/application_look.h"

#include <QApplication>

namespace velmora
{

DesktopRun::DesktopRun(RunContext runContext)
    : Run(std::move(runContext))
    , m_service(context().bus, context().busName())
    , m_controlService(new ControlService(context().bus, &m_service))
{
    const CommandLine &line = context().line;
    m_options.isBackground = line.isBackground;
    m_options.opensAtStart = line.command == CommandLine::Command::Show;
    m_options.opensSettingsAtStart = line.command == CommandLine::Command::Settings;
    connect(&m_service, &ApplicationService::activated, this, &DesktopRun::open);
    connect(&m_service, &ApplicationService::actionActivated, this, &DesktopRun::act);
    // A Velmora that is started later, on another bus, could not find this one, and no other process reaches it.
    connect(&m_service, &ApplicationService::busLost, this, &Run::endRequested);
}

DesktopRun::~DesktopRun() = default;

QCoro::Task<ExitCode> DesktopRun::execute()
{
    if (!qobject_cast<QApplication *>(QCoreApplication::instance())) {
        const ExitCode code = co_await askWithoutDisplay();
        co_return code;
    }
    const bool isFirst = co_await claimName();
    if (!isFirst)
        co_return ExitCode::Done;
    co_await createSession();
    m_controlService->setControl(session()->control());
    session()->watchMachine();
    co_await runDesktop();
    co_return ExitCode::Done;
}

/// A terminal without a display, as in a network login, can still ask the Velmora that has one.
QCoro::Task<ExitCode> DesktopRun::askWithoutDisplay()
{
    RemoteControl remote(context().bus, context().busName());
    const bool isRunning = co_await remote.locate(context().stop);
    if (!isRunning) {
        reportNoDisplay();
        co_return ExitCode::Failed;
    }
    if (!context().line.isBackground)
        co_await askRunning();
    co_return ExitCode::Done;
}

/// Whether this is the only Velmora of the session, as far as can be told. Otherwise the other one has been asked to
/// open; a start at login leaves it as it is.
QCoro::Task<bool> DesktopRun::claimName()
{
    const ApplicationService::Claim claim = co_await m_service.claim();
    if (claim != ApplicationService::Claim::Taken)
        co_return true;
    if (!context().line.isBackground)
        co_await askRunning();
    co_return false;
}

/// Has the running Velmora open what this one was started for.
QCoro::Task<> DesktopRun::askRunning()
{
    bool isAnswered = false;
    if (context().line.command == CommandLine::Command::Settings)
        isAnswered = co_await m_service.actOnRunning(QStringLiteral("settings"), context().startupToken);
    else
        isAnswered = co_await m_service.activateRunning(context().startupToken);
    if (!isAnswered)
        throw ControlError(noAnswerText());
}

QCoro::Task<> DesktopRun::runDesktop()
{
    const ApplicationLook look;
    AppearanceWatch appearance(context().bus);
    connect(
        &appearance, &AppearanceWatch::changed, &appearance, [&look](const Appearance &wanted) { look.apply(wanted); });
    appearance.start();
    m_desktop = std::make_unique<Desktop>(session()->app(), context().bus, m_options);
    connect(m_desktop.get(), &Desktop::quitRequested, this, &Run::endRequested);
    session()->setWindowOpener([this](const QString &activationToken) { open(activationToken); });
    const OneShot<> ended;
    const auto end = [ended] {
        ended.resolve();
    };
    const std::stop_callback onStop(context().stop, end);
    m_desktop->start();
    launch(session()->connectDemo(context().stop), "connecting the demo");
    co_await ended;
    // A Velmora that is started from now on finds none to ask, and runs itself.
    withdraw();
    session()->setWindowOpener({});
    m_desktop.reset();
}

/// Another process wants to see the window. It may ask before the desktop exists.
void DesktopRun::open(const QString &activationToken)
{
    if (m_desktop)
        m_desktop->open(activationToken);
    else
        m_options.opensAtStart = true;
}

/// Does what another process asks for. An action that is not known does nothing.
void DesktopRun::act(const QString &action, const QString &activationToken)
{
    if (action == QLatin1String("quit"))
        Q_EMIT endRequested();
    else if (action == QLatin1String("settings") && !m_desktop)
        m_options.opensSettingsAtStart = true;
    else if (action == QLatin1String("settings"))
        m_desktop->openSettings(activationToken);
    else if (action == QLatin1String("refresh") && m_desktop)
        m_desktop->refresh();
}

} // namespace velmora
