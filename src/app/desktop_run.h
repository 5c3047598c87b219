// SPDX-License-Identifier: MIT
#pragma once

#include "app/desktop.h"
#include "app/run.h"
#include "platform/application_service.h"

#include <memory>

namespace velmora
{

class ControlService;

/// Velmora on the desktop: with its tray item and windows until the stop, or, where another Velmora runs in the session
/// already, as a messenger to that one.
class DesktopRun final : public Run
{
    Q_OBJECT

public:
    explicit DesktopRun(RunContext context);
    ~DesktopRun() override;

    [[nodiscard]] QCoro::Task<ExitCode> execute() override;
    void withdraw() override { m_service.release(); }

private:
    QCoro::Task<ExitCode> askWithoutDisplay();
    QCoro::Task<bool> claimName();
    QCoro::Task<> askRunning();
    QCoro::Task<> runDesktop();
    void open(const QString &activationToken);
    void act(const QString &action, const QString &activationToken);

    ApplicationService m_service;
    ControlService *m_controlService; ///< owned by m_service
    Desktop::Options m_options; ///< what to open once there is a desktop
    std::unique_ptr<Desktop> m_desktop; ///< null before the stores exist, and after the stop
};

} // namespace velmora
