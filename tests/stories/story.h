// SPDX-License-Identifier: MIT
#pragma once

#include "story_github.h"

#include "app/velmora_app.h"
#include "control/local_control.h"
#include "notifications/user_notification_service.h"
#include "notifications/waiting_notifier.h"
#include "support/await.h"
#include "support/fake_clock.h"
#include "support/fake_notification_server.h"
#include "support/fake_pasteboard.h"
#include "support/fake_url_opener.h"
#include "support/lockable_credential_store.h"

#include <QTemporaryDir>

#include <memory>

namespace velmora::testing
{

/// Within this time everything is fetched once: the interval of a full poll and one tick.
inline constexpr std::chrono::seconds kFullPoll{35};

/// The desktop of a story. It accepts notifications, copies and opens; its keyring is unlocked.
class StoryDesktop
{
public:
    /// The clock is not owned and outlives the desktop.
    explicit StoryDesktop(const Clock *clock)
        : notifier(notificationServer, std::make_shared<UnrestrictedNotificationPermission>(), browser, *clock)
    {
    }

    /// All announced notifications, oldest first, such as "octo/web failed".
    [[nodiscard]] QStringList notifications() const;

    FakePasteboard pasteboard;
    FakeURLOpener browser;
    std::shared_ptr<FakeNotificationServer> notificationServer = std::make_shared<FakeNotificationServer>();
    std::shared_ptr<LockableCredentialStore> keyring
        = std::make_shared<LockableCredentialStore>(std::make_shared<InMemoryCredentialStore>());
    UserNotificationService notifier;
};

/// The application of a story, with its profile in a temporary folder. It starts with its construction.
class StoryProgram
{
public:
    /// The pointers are not owned and outlive the program.
    StoryProgram(StoryGitHub *github, StoryDesktop *desktop, FakeClock *clock);
    /// Another program with the profile of `other`, which outlives it.
    explicit StoryProgram(const StoryProgram &other);
    ~StoryProgram();

    /// Starts the program as at login: it polls, and its first tick fetches.
    void starts();
    void ends();
    void restarts();
    /// Loads everything once and ends, like "velmora refresh" without a running Velmora. Announces nothing.
    void runsOnce();
    /// Waits until all work has ended, or sleeps, or waits for answers that GitHub holds back. Throws if that takes too
    /// long.
    void comesToRest();

    /// The deployments on show, in order, such as "octo/web production inProgress".
    [[nodiscard]] QStringList shows() const;
    [[nodiscard]] DeploymentMonitorState::Case state() { return m_app->monitor().state().state; }
    /// The next step for the user, as window and terminal show it.
    [[nodiscard]] std::optional<MissingStep> missing() { return m_app->monitor().state().missing; }
    /// The terminal's advice for an empty list.
    [[nodiscard]] QString hint();
    /// The messages about identities that failed.
    [[nodiscard]] QString message() { return m_app->monitor().message(); }
    /// The names of the monitored repositories.
    [[nodiscard]] QStringList repositories() const;
    [[nodiscard]] VelmoraApp &app() { return *m_app; }
    /// The interface of window, terminal and session bus to the program.
    [[nodiscard]] Control &control() { return *m_control; }

    /// The host under which the next start knows GitHub; empty: the address of the story's GitHub.
    QString host;
    /// How long the machine has been suspended so far.
    std::chrono::microseconds suspended{0};

private:
    [[nodiscard]] AppEnvironment environment(DeploymentNotifying *notifier);
    [[nodiscard]] bool isAtRest() const;

    StoryGitHub *m_github;
    StoryDesktop *m_desktop;
    FakeClock *m_clock;
    WaitingNotifier m_waitingNotifier;
    std::shared_ptr<QTemporaryDir> m_home = std::make_shared<QTemporaryDir>();
    std::unique_ptr<VelmoraApp> m_app;
    std::unique_ptr<LocalControl> m_control;
};

/// The passing of time.
class StoryTime
{
public:
    StoryTime(FakeClock *clock, StoryProgram *program)
        : m_clock(clock)
        , m_program(program)
    {
    }

    /// Lets time pass, including all work due in it. While GitHub holds back an answer, work that depends on it stands
    /// still.
    void passes(std::chrono::microseconds duration);
    /// Suspends the machine for this time. The desktop announces neither the suspension nor the wake-up.
    void passesAsleep(std::chrono::microseconds duration);

private:
    FakeClock *m_clock;
    StoryProgram *m_program;
};

/// The actions of the user.
class StoryUser
{
public:
    StoryUser(StoryProgram *program, StoryGitHub *github, StoryTime *time)
        : m_program(program)
        , m_github(github)
        , m_time(time)
    {
    }

    /// Connects the identity, for the first time or again; throws if that fails.
    void connects(const QString &login);
    /// Removes the account from the program.
    void removes(const QString &login);
    /// Refreshes everything, like the button "Refresh" or `velmora refresh`.
    void refreshes();
    /// Returns to a window of the program, for instance after a visit to the browser.
    void comesBack();
    /// Opens GitHub's page for the App, like "Manage on GitHub".
    void managesInstallations();
    /// Switches the repository off, like `velmora repositories --exclude`.
    void excludes(const QString &repository);
    /// Switches this kind of notifications on, like `velmora notifications --enable`.
    void isNotifiedAbout(const QString &kind);
    /// Restricts the notifications, like `velmora notifications --mine`.
    void isNotifiedOnlyAboutOwn();
    /// The status of the identity's session; nothing without a session.
    [[nodiscard]] std::optional<GitHubSessionStatus> session(const QString &login) const;

private:
    void switchNotifications(const NotificationSwitches &switches);

    StoryProgram *m_program;
    StoryGitHub *m_github;
    StoryTime *m_time;
};

/// An experience of a user in a few lines: the real stores over real HTTP, with a clock and a desktop in memory. Never
/// waits for real time to pass.
class Story
{
public:
    FakeClock clock;
    StoryGitHub github{&clock};
    StoryDesktop desktop{&clock};
    StoryProgram program{&github, &desktop, &clock};
    StoryTime time{&clock, &program};
    StoryUser user{&program, &github, &time};
};

} // namespace velmora::testing
