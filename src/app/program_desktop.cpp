// SPDX-License-Identifier: MIT
#include "app/program.h"

#include "support/one_shot.h"
#include "support/task_scope.h"

namespace velmora
{

/// Whether this is the only Velmora of the session, or there is no telling. Otherwise the other one has been asked to
/// come forward; at login it is left where it is.
QCoro::Task<bool> Program::claimDesktop()
{
    const QString name = QStringLiteral("com.tarvik.Velmora");
    m_service = std::make_unique<ApplicationService>(
        QDBusConnection::sessionBus(), m_line.isDemo ? name + QStringLiteral(".Demo") : name);
    connect(m_service.get(), &ApplicationService::activated, this, &Program::openDesktop);
    connect(m_service.get(), &ApplicationService::actionActivated, this, &Program::actOnDesktop);
    // Whoever is started on another bus would not find this one, and nobody reaches it any more.
    connect(m_service.get(), &ApplicationService::busLost, this, &Program::requestEnd);
    const ApplicationService::Claim claim = co_await m_service->claim();
    if (claim != ApplicationService::Claim::Taken)
        co_return true;
    if (!m_line.isBackground) {
        const bool isAnswered = co_await m_service->activateRunning(m_startupToken);
        if (!isAnswered)
            throw ConfigurationError(QStringLiteral("Velmora is running already, but does not answer."));
    }
    co_return false;
}

void Program::openDesktop(const QString &activationToken)
{
    if (m_desktop)
        m_desktop->open(activationToken);
    else
        m_opensAtStart = true;
}

void Program::actOnDesktop(const QString &action, const QString &activationToken)
{
    if (!m_desktop)
        return;
    if (action == QLatin1String("refresh"))
        m_desktop->refresh();
    else if (action == QLatin1String("settings"))
        m_desktop->openSettings(activationToken);
    else if (action == QLatin1String("quit"))
        requestEnd();
}

QCoro::Task<ExitCode> Program::runDesktop()
{
    Desktop::Options options;
    options.isBackground = m_line.isBackground;
    options.opensAtStart = m_opensAtStart;
    m_desktop = std::make_unique<Desktop>(m_app.get(), options);
    connect(m_desktop.get(), &Desktop::quitRequested, this, &Program::requestEnd);
    const OneShot<> ended;
    const auto end = [ended] {
        ended.resolve();
    };
    const std::stop_callback onStop(m_stop.get_token(), end);
    m_desktop->start();
    if (m_demo)
        launch(connectDemo(), "connecting the demo");
    co_await ended;
    m_desktop.reset();
    co_return ExitCode::Done;
}

QCoro::Task<> Program::connectDemo()
{
    co_await Demo::connectAccounts(&m_app->authentication(), m_stop.get_token());
    if (m_demo)
        m_demo->handOver();
}

} // namespace velmora
