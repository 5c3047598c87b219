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

/// Everything is fetched once within it: the interval of all deployments, and the tick that finds it over.
inline constexpr std::chrono::seconds kFullPoll{35};

/// The desktop of a story: it takes notifications, copies and opens, and its keyring is unlocked.
class StoryDesktop
{
public:
    /// What was announced so far, oldest first: "octo/web failed".
    [[nodiscard]] QStringList notifications() const;

    FakePasteboard pasteboard;
    FakeURLOpener browser;
    std::shared_ptr<FakeNotificationServer> notificationServer = std::make_shared<FakeNotificationServer>();
    std::shared_ptr<LockableCredentialStore> keyring
        = std::make_shared<LockableCredentialStore>(std::make_shared<InMemoryCredentialStore>());
    UserNotificationService notifier{
        notificationServer, std::make_shared<UnrestrictedNotificationPermission>(), browser};
};

/// The application of a story, with its profile in a folder of its own. It runs from the beginning.
class StoryProgram
{
public:
    /// Nothing of it is owned, and all of it outlives the program.
    StoryProgram(StoryGitHub *github, StoryDesktop *desktop, FakeClock *clock);
    /// Another program with the profile of that one, which outlives it.
    explicit StoryProgram(const StoryProgram &other);
    ~StoryProgram();

    /// Starts the program as at login: it polls, and fetches first with the first tick.
    void starts();
    void ends();
    void restarts();
    /// Loads everything once and ends, as "velmora refresh" does where no Velmora runs: it announces nothing.
    void runsOnce();
    /// Waits until everything that was started has ended, or waits for the time, or for what GitHub holds back.
    /// Throws when that takes too long.
    void comesToRest();

    /// The deployments on show, in order: "octo/web production inProgress".
    [[nodiscard]] QStringList shows() const;
    [[nodiscard]] DeploymentMonitorState::Case state() { return m_app->monitor().state().state; }
    /// What there is still to be done, as the window and the terminal are told.
    [[nodiscard]] std::optional<MissingStep> missing() { return m_app->monitor().state().missing; }
    /// What the terminal advises where nothing is listed.
    [[nodiscard]] QString hint();
    /// What the program says of identities that failed.
    [[nodiscard]] QString message() { return m_app->monitor().message(); }
    /// The names of the repositories that are monitored.
    [[nodiscard]] QStringList repositories() const;
    [[nodiscard]] VelmoraApp &app() { return *m_app; }
    /// What the window, the terminal and the session bus can ask of the program.
    [[nodiscard]] Control &control() { return *m_control; }

    /// The name under which the program knows GitHub, from the next start on; empty: the address of the story's own.
    QString host;
    /// How long the machine has been suspended so far.
    std::chrono::microseconds suspended{0};

private:
    [[nodiscard]] AppEnvironment environment(DeploymentNotifying *notifier);
    [[nodiscard]] LocalControl::Services controlServices();
    [[nodiscard]] bool isAtRest() const;

    StoryGitHub *m_github;
    StoryDesktop *m_desktop;
    FakeClock *m_clock;
    WaitingNotifier m_waitingNotifier;
    std::shared_ptr<QTemporaryDir> m_home = std::make_shared<QTemporaryDir>();
    std::unique_ptr<VelmoraApp> m_app;
    std::unique_ptr<LocalControl> m_control;
};

/// Time as the story tells it.
class StoryTime
{
public:
    StoryTime(FakeClock *clock, StoryProgram *program)
        : m_clock(clock)
        , m_program(program)
    {
    }

    /// Lets the time pass, with everything that happens meanwhile. While GitHub holds an answer back, whatever waits
    /// for it stands still.
    void passes(std::chrono::microseconds duration);
    /// The machine is suspended and wakes that much later. Its desktop tells the program of neither.
    void passesAsleep(std::chrono::microseconds duration);

private:
    FakeClock *m_clock;
    StoryProgram *m_program;
};

/// What the user does.
class StoryUser
{
public:
    StoryUser(StoryProgram *program, StoryGitHub *github, StoryTime *time)
        : m_program(program)
        , m_github(github)
        , m_time(time)
    {
    }

    /// Connects that identity, for the first time or again; throws when it does not come to that.
    void connects(const QString &login);
    /// Removes the account from the program.
    void removes(const QString &login);
    /// Asks for everything, as with the button "Refresh" or in the terminal.
    void refreshes();
    /// Turns back to one of the program's windows, as after a visit to the browser.
    void comesBack();
    /// Opens GitHub's page for the App, as with "Manage on GitHub".
    void managesInstallations();
    /// Switches the repository off, as `velmora repositories --exclude` does.
    void excludes(const QString &repository);
    /// How the session of the identity stands; nothing when it has none.
    [[nodiscard]] std::optional<GitHubSessionStatus> session(const QString &login) const;

private:
    StoryProgram *m_program;
    StoryGitHub *m_github;
    StoryTime *m_time;
};

/// What a user lives through with the application, told in a few lines: the real stores over real HTTP, on a clock
/// and a desktop of the story's own. Nothing waits for time to pass.
class Story
{
public:
    FakeClock clock;
    StoryGitHub github{&clock};
    StoryDesktop desktop;
    StoryProgram program{&github, &desktop, &clock};
    StoryTime time{&clock, &program};
    StoryUser user{&program, &github, &time};
};

} // namespace velmora::testing
