// SPDX-License-Identifier: MIT
#pragma once

#include "control/control.h"
#include "support/cancel_on_stop.h"

#include <QPointer>

namespace velmora::testing
{

/// Returns prepared answers and records the requests.
class FakeControl final : public Control
{
public:
    FakeControl()
    {
        installationsAnswer.installationURL = WebAddress(QStringLiteral("https://github.com/apps/velmora"));
        repositoriesAnswer.installationURL = installationsAnswer.installationURL;
    }

    [[nodiscard]] QCoro::Task<QList<ListedAccount>> accounts(std::stop_token stop) override
    {
        return answer(QStringLiteral("accounts"), listed, stop);
    }
    [[nodiscard]] QCoro::Task<RemovalAnswer> removeAccount(QString login, std::stop_token stop) override
    {
        return answer(QStringLiteral("remove ") + login, removal, stop);
    }
    [[nodiscard]] QCoro::Task<InstallationsAnswer> installations(Switches switches, std::stop_token stop) override
    {
        installationSwitches = switches;
        return answer(QStringLiteral("installations"), installationsAnswer, stop);
    }
    [[nodiscard]] QCoro::Task<RepositoriesAnswer> repositories(Switches switches, std::stop_token stop) override
    {
        repositorySwitches = switches;
        return answer(QStringLiteral("repositories"), repositoriesAnswer, stop);
    }
    [[nodiscard]] QCoro::Task<MutingAnswer> mute(MutingSwitch muting, std::stop_token stop) override
    {
        mutingSwitch = muting;
        return answer(QStringLiteral("mute"), mutingAnswer, stop);
    }
    [[nodiscard]] QCoro::Task<PauseAnswer> pause(PauseSwitch pause, std::stop_token stop) override
    {
        pauseSwitch = pause;
        return answer(QStringLiteral("pause"), pauseAnswer, stop);
    }
    [[nodiscard]] QCoro::Task<NotificationsAnswer> notifications(
        NotificationSwitches switches, std::stop_token stop) override
    {
        notificationSwitches = switches;
        return answer(QStringLiteral("notifications"), notificationsAnswer, stop);
    }
    [[nodiscard]] QCoro::Task<FailuresAnswer> failures(FailureSwitches switches, std::stop_token stop) override
    {
        failureSwitches = switches;
        return answer(QStringLiteral("failures"), failuresAnswer, stop);
    }
    [[nodiscard]] QCoro::Task<EnvironmentsAnswer> environments(
        EnvironmentSwitches switches, std::stop_token stop) override
    {
        environmentSwitches = switches;
        return answer(QStringLiteral("environments"), environmentsAnswer, stop);
    }
    [[nodiscard]] QCoro::Task<LoadingAnswer> refresh(std::stop_token stop) override
    {
        return answer(QStringLiteral("refresh"), loading, stop);
    }
    [[nodiscard]] QCoro::Task<MonitorReport> report(std::stop_token stop) override
    {
        return answer(QStringLiteral("report"), shown, stop);
    }
    void start() override { asked.append(QStringLiteral("start")); }

    QList<ListedAccount> listed;
    RemovalAnswer removal;
    InstallationsAnswer installationsAnswer;
    RepositoriesAnswer repositoriesAnswer;
    MutingAnswer mutingAnswer;
    PauseAnswer pauseAnswer;
    NotificationsAnswer notificationsAnswer;
    FailuresAnswer failuresAnswer;
    EnvironmentsAnswer environmentsAnswer;
    LoadingAnswer loading;
    MonitorReport shown;
    Switches installationSwitches;
    Switches repositorySwitches;
    MutingSwitch mutingSwitch;
    PauseSwitch pauseSwitch;
    NotificationSwitches notificationSwitches;
    FailureSwitches failureSwitches;
    EnvironmentSwitches environmentSwitches;
    QStringList asked;
    QString failure; ///< thrown by every operation; empty for none
    std::exception_ptr surprise; ///< thrown likewise: an exception of an unknown type
    std::optional<OneShot<>> gate; ///< answers wait for it
    int cancelled = 0; ///< the number of answers that a stop ended

private:
    template <typename Answer>
    QCoro::Task<Answer> answer(QString question, Answer value, std::stop_token stop)
    {
        const QPointer<FakeControl> self(this);
        asked.append(question);
        if (gate) {
            const OneShot<> opened = *gate;
            const CancelOnStop cancel(opened, stop);
            try {
                co_await opened;
            } catch (const CancellationError &) {
                if (self)
                    ++self->cancelled;
                throw;
            }
        }
        if (surprise)
            std::rethrow_exception(surprise);
        if (!failure.isEmpty())
            throw FileError(failure);
        co_return value;
    }
};

} // namespace velmora::testing
