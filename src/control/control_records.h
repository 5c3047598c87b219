// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/github_account.h"
#include "github/repository_record.h"
#include "installations/installation_record.h"
#include "monitor/environment_lines.h"
#include "monitor/failure_marks.h"
#include "monitor/muted_repositories.h"
#include "notifications/deployment_notification_kind.h"

#include <QSet>
#include <QStringList>

#include <string_view>

namespace velmora
{

// What a terminal asks of a Velmora, and the answers. encodeJSON() and decodeJSON() of support/json.h take the answers,
// lists of the listed records, MonitorReport and DeploymentNotification. The commands print the same JSON objects, so
// their keys are stable; the comments name them.

/// The greatest number of installations or repositories in one request.
inline constexpr qsizetype kMostNames = 10'000;

/// Which records to switch before they are listed. An installation is named by its key or account, a repository as
/// owner/name.
struct Switches {
    std::optional<bool> all; ///< of repositories and failures only: switches every one, before the named ones
    QStringList on;
    QStringList off;

    [[nodiscard]] bool areNone() const { return !all && on.isEmpty() && off.isEmpty(); }

    friend bool operator==(const Switches &, const Switches &) = default;
};

/// A connected identity.
struct ListedAccount {
    qint64 id = 0; ///< "id"
    QString login; ///< "login"
    GitHubSessionStatus status = GitHubSessionStatus::Disconnected; ///< "status": its rawValue()
    std::optional<WebAddress> avatarURL; ///< "avatarURL"
    std::optional<QString> advice; ///< "advice": what the user has to do about the account, if anything

    friend bool operator==(const ListedAccount &, const ListedAccount &) = default;
};

/// An installation as one identity sees it.
struct ListedInstallation {
    QString key; ///< "key"
    QString identity; ///< "identity": the login that sees the installation
    QString account; ///< "account": the login of the account or organisation
    QString type; ///< "type"
    QString repositorySelection; ///< "repositorySelection"
    bool isEnabled = true; ///< "enabled"
    bool isSuspended = false; ///< "suspended": by its owner on GitHub; it then grants nothing

    static constexpr std::string_view kPlural = "installations"; ///< the key of their list in an answer
    friend bool operator==(const ListedInstallation &, const ListedInstallation &) = default;
};

/// A repository that an installation grants.
struct ListedRepository {
    QString id; ///< "id": the node identifier
    QString name; ///< "name": owner and name
    WebAddress url; ///< "url"
    bool isPrivate = false; ///< "private"
    QString installation; ///< "installation": its key
    QString account; ///< "account": the login of the account with the installation
    bool isIncluded = true; ///< "included": whether the user lets Velmora monitor it
    bool isMonitored = true; ///< "monitored": included, and its installation is enabled
    bool isMuted = false; ///< "muted": its results are not announced
    std::optional<Instant> mutedUntil = {}; ///< "mutedUntil"; absent: until it is unmuted

    static constexpr std::string_view kPlural = "repositories"; ///< the key of their list in an answer
    friend bool operator==(const ListedRepository &, const ListedRepository &) = default;
};

[[nodiscard]] QList<ListedAccount> listedAccounts(const QList<GitHubAccountSession> &sessions);
[[nodiscard]] QList<ListedInstallation> listedInstallations(
    const QList<InstallationRecord> &installations, const QList<GitHubAccountSession> &sessions);
/// `monitored` holds the node ids of the monitored repositories.
[[nodiscard]] QList<ListedRepository> listedRepositories(
    const QList<RepositoryRecord> &repositories, const QSet<QString> &monitored, const MutedRepositories &muted);

/// The result of removing an account.
struct RemovalAnswer {
    QString login; ///< the login of the removed account, as GitHub writes it
    QString refusal; ///< why no account was removed; empty on success
    std::optional<QString> unsaved; ///< why the removal could not be saved

    friend bool operator==(const RemovalAnswer &, const RemovalAnswer &) = default;
};

/// The result of loading from GitHub.
struct LoadingAnswer {
    bool hasAccounts = false; ///< without an account nothing is loaded
    bool isComplete = false; ///< every identity was asked and has answered
    QStringList messages; ///< a line for each identity that failed

    friend bool operator==(const LoadingAnswer &, const LoadingAnswer &) = default;
};

/// The installations or repositories, after the requested switching.
template <typename Listed>
struct ListAnswer {
    LoadingAnswer loading;
    QString refusal; ///< why a name was refused, in which case nothing was switched; else empty
    std::optional<QString> unsaved; ///< why the switching could not be saved
    QList<Listed> listed;
    WebAddress installationURL; ///< the page that installs the App on another account, or grants it more repositories

    friend bool operator==(const ListAnswer &, const ListAnswer &) = default;
};

/// What to change about the notifications before they are listed. A kind is named by its rawValue().
struct NotificationSwitches {
    QStringList on;
    QStringList off;
    std::optional<bool> onlyMine;

    [[nodiscard]] bool areNone() const { return !onlyMine && on.isEmpty() && off.isEmpty(); }

    friend bool operator==(const NotificationSwitches &, const NotificationSwitches &) = default;
};

/// What the user is notified about.
struct NotificationChoices {
    bool failures = false; ///< "failures"
    bool successes = false; ///< "successes"
    bool approvals = false; ///< "approvals": deployments that wait for approval
    bool onlyMine = false; ///< "onlyMine": only of deployments that a connected identity has created

    friend bool operator==(const NotificationChoices &, const NotificationChoices &) = default;
};

/// The name of a kind in the terminal, which is its key in NotificationChoices.
[[nodiscard]] QString rawValue(DeploymentNotificationKind kind);

/// The choices, after the requested switching.
struct NotificationsAnswer {
    QString refusal; ///< why a kind is unknown, or the desktop lets none be switched on; else empty
    std::optional<QString> unsaved; ///< why the switching could not be saved
    NotificationChoices choices; ///< "notifications"

    friend bool operator==(const NotificationsAnswer &, const NotificationsAnswer &) = default;
};

/// What to change about failures before they are listed. A failure is named by the id of its deployment; owner/name and
/// owner/name:environment name all that are there.
struct FailureSwitches {
    std::optional<bool> ignoresMended;
    Switches dismissed;

    [[nodiscard]] bool areNone() const { return !ignoresMended && dismissed.areNone(); }

    friend bool operator==(const FailureSwitches &, const FailureSwitches &) = default;
};

/// The failures on show, after the requested switching.
struct FailuresAnswer {
    QString refusal; ///< why a choice was refused, in which case nothing was changed; else empty
    std::optional<QString> unsaved; ///< why the change could not be saved
    bool ignoresMended = false; ///< "ignoresMended": mended failures do not count
    DeploymentList deployments; ///< "deployments"
    FailureMarks marks; ///< "failures"

    friend bool operator==(const FailuresAnswer &, const FailuresAnswer &) = default;
};

/// What to choose about environments before they are listed. Each is the name of an environment, a pattern with `*`, or
/// owner/name:environment.
struct EnvironmentSwitches {
    QStringList notify;
    QStringList show;
    QStringList hide;
    std::optional<bool> onlyProduction;

    [[nodiscard]] bool areNone() const
    {
        return !onlyProduction && notify.isEmpty() && show.isEmpty() && hide.isEmpty();
    }

    friend bool operator==(const EnvironmentSwitches &, const EnvironmentSwitches &) = default;
};

/// An environment, or those that a pattern names.
struct ListedEnvironment {
    QString environment; ///< "environment": its name or pattern
    std::optional<QString> repository; ///< "repository": the owner/name of which alone it is; absent for every one
    qint64 repositories = 0; ///< "repositories": how many have had deployments there in the last 30 days
    EnvironmentChoice choice = EnvironmentChoice::Notify; ///< "choice": its rawValue()
    bool isChosen = false; ///< "chosen": by its name or pattern

    friend bool operator==(const ListedEnvironment &, const ListedEnvironment &) = default;
};

/// What the user has chosen about environments.
struct ListedEnvironments {
    bool onlyProduction = false; ///< "onlyProduction": what is not chosen is announced only if it is production
    QList<ListedEnvironment> environments; ///< "environments"

    friend bool operator==(const ListedEnvironments &, const ListedEnvironments &) = default;
};

[[nodiscard]] QList<ListedEnvironment> listedEnvironments(const QList<EnvironmentLine> &lines);

/// The environments, after the requested choosing.
struct EnvironmentsAnswer {
    QString refusal; ///< why a choice was refused, in which case nothing was changed; else empty
    std::optional<QString> unsaved; ///< why the change could not be saved
    ListedEnvironments choices; ///< "choices"

    friend bool operator==(const EnvironmentsAnswer &, const EnvironmentsAnswer &) = default;
};

/// Whether a repository, named as owner/name, is to be muted, and until when.
struct MutingSwitch {
    QString name;
    bool isMuted = true;
    std::optional<Instant> until; ///< absent: until it is unmuted

    friend bool operator==(const MutingSwitch &, const MutingSwitch &) = default;
};

/// The repository after that.
struct MutingAnswer {
    LoadingAnswer loading; ///< of the repositories, which are loaded only if the name is not known
    QString refusal; ///< why the name was refused; empty on success
    std::optional<QString> unsaved; ///< why the change could not be saved
    QString repository; ///< "repository": owner and name
    bool isMuted = false; ///< "muted"
    std::optional<Instant> mutedUntil; ///< "mutedUntil"

    friend bool operator==(const MutingAnswer &, const MutingAnswer &) = default;
};

/// Whether notifications are to be paused, and until when.
struct PauseSwitch {
    bool isPaused = true;
    std::optional<Instant> until; ///< absent: until they are resumed

    friend bool operator==(const PauseSwitch &, const PauseSwitch &) = default;
};

/// Whether notifications are paused after that.
struct PauseAnswer {
    std::optional<QString> unsaved; ///< why the change could not be saved
    bool isPaused = false; ///< "paused"
    std::optional<Instant> pausedUntil; ///< "pausedUntil"

    friend bool operator==(const PauseAnswer &, const PauseAnswer &) = default;
};

using InstallationsAnswer = ListAnswer<ListedInstallation>;
using RepositoriesAnswer = ListAnswer<ListedRepository>;

} // namespace velmora
