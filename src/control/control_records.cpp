// SPDX-License-Identifier: MIT
#include "control/control_records.h"

#include "control/monitor_report.h"
#include "model/deployment_snapshot_coding.h"

namespace velmora
{

/// A failure that has a mark, as a report names it.
struct MarkedFailure {
    QString id;
    std::optional<QString> mendedBy;
    std::optional<Instant> mendedAt;
    std::optional<bool> counted; ///< absent: it counts
    std::optional<bool> dismissed; ///< absent: it is not
};

template <>
struct JSONTable<MarkedFailure> {
    using Record = MarkedFailure;
    static constexpr auto fields = std::tuple{json::required("id", &Record::id),
        json::optional("mendedBy", &Record::mendedBy), json::optional("mendedAt", &Record::mendedAt),
        json::optional("counted", &Record::counted), json::optional("dismissed", &Record::dismissed)};
};

namespace json
{

/// A list of the marked failures.
template <>
struct Codec<FailureMarks> {
    static void decode(FailureMarks &marks, Element element, const Path &path)
    {
        QList<MarkedFailure> failures;
        Codec<QList<MarkedFailure>>::decode(failures, element, path);
        for (const MarkedFailure &failure : std::as_const(failures)) {
            FailureMark &mark = marks[failure.id];
            if (failure.mendedBy && failure.mendedAt)
                mark.mending = Mending{*failure.mendedBy, *failure.mendedAt};
            mark.isCounted = failure.counted.value_or(true);
            mark.isDismissed = failure.dismissed.value_or(false);
        }
    }
    static void encode(Writer &writer, const FailureMarks &marks)
    {
        QList<MarkedFailure> failures;
        for (auto mark = marks.begin(); mark != marks.end(); ++mark) {
            MarkedFailure failure;
            failure.id = mark.key();
            if (mark->mending) {
                failure.mendedBy = mark->mending->by;
                failure.mendedAt = mark->mending->at;
            }
            if (!mark->isCounted)
                failure.counted = false;
            if (mark->isDismissed)
                failure.dismissed = true;
            failures.append(failure);
        }
        Codec<QList<MarkedFailure>>::encode(writer, failures);
    }
};

/// An enumeration as the rawValue() of one of its cases.
template <auto... cases>
struct NamedCases {
    template <typename Case>
    static void decode(Case &value, Element element, const Path &path)
    {
        QString text;
        Codec<QString>::decode(text, element, path);
        const auto choose = [&](Case known) {
            if (rawValue(known) != text)
                return false;
            value = known;
            return true;
        };
        if (!(choose(cases) || ...))
            failExpected(path, "a known name");
    }
    template <typename Case>
    static void encode(Writer &writer, Case value)
    {
        Codec<QString>::encode(writer, rawValue(value));
    }
};

using enum GitHubSessionStatus;
template <>
struct Codec<GitHubSessionStatus> : NamedCases<GitHubSessionStatus::Disconnected, RequestingCode, AwaitingAuthorization,
                                        Connected, Refreshing, ReconnectRequired> {
};

using enum MissingStep;
template <>
struct Codec<MissingStep> : NamedCases<Account, Installation, Access, Selection> {
};

using enum EnvironmentChoice;
template <>
struct Codec<EnvironmentChoice> : NamedCases<Notify, Show, Hide> {
};

using State = DeploymentMonitorState::Case;
template <>
struct Codec<State> : NamedCases<State::Loading, State::Ready, State::Stale, State::RateLimited, State::Disconnected> {
};

} // namespace json

template <>
struct JSONTable<ListedAccount> {
    using Record = ListedAccount;
    static constexpr auto fields = std::tuple{json::required("id", &Record::id),
        json::required("login", &Record::login), json::required("status", &Record::status),
        json::optional("avatarURL", &Record::avatarURL), json::optional("advice", &Record::advice)};
};

template <>
struct JSONTable<ListedInstallation> {
    using Record = ListedInstallation;
    static constexpr auto fields = std::tuple{json::required("key", &Record::key),
        json::required("identity", &Record::identity), json::required("account", &Record::account),
        json::required("type", &Record::type), json::required("repositorySelection", &Record::repositorySelection),
        json::required("enabled", &Record::isEnabled), json::required("suspended", &Record::isSuspended)};
};

template <>
struct JSONTable<ListedRepository> {
    using Record = ListedRepository;
    static constexpr auto fields = std::tuple{json::required("id", &Record::id), json::required("name", &Record::name),
        json::required("url", &Record::url), json::required("private", &Record::isPrivate),
        json::required("installation", &Record::installation), json::required("account", &Record::account),
        json::required("included", &Record::isIncluded), json::required("monitored", &Record::isMonitored),
        // A Velmora of an earlier version sends neither.
        json::Field<Record, bool>{"muted", &Record::isMuted, json::Presence::Optional},
        json::optional("mutedUntil", &Record::mutedUntil)};
};

template <>
struct JSONTable<RemovalAnswer> {
    using Record = RemovalAnswer;
    static constexpr auto fields = std::tuple{json::required("login", &Record::login),
        json::required("refusal", &Record::refusal), json::optional("unsaved", &Record::unsaved)};
};

template <>
struct JSONTable<LoadingAnswer> {
    using Record = LoadingAnswer;
    static constexpr auto fields = std::tuple{json::required("hasAccounts", &Record::hasAccounts),
        json::required("complete", &Record::isComplete), json::required("messages", &Record::messages)};
};

template <typename Listed>
struct JSONTable<ListAnswer<Listed>> {
    using Record = ListAnswer<Listed>;
    static constexpr auto fields = std::tuple{json::required("loading", &Record::loading),
        json::required("refusal", &Record::refusal), json::optional("unsaved", &Record::unsaved),
        json::required(Listed::kPlural, &Record::listed), json::required("installationURL", &Record::installationURL)};
};

template <>
struct JSONTable<NotificationChoices> {
    using Record = NotificationChoices;
    static constexpr auto fields
        = std::tuple{json::required("failures", &Record::failures), json::required("successes", &Record::successes),
            json::required("approvals", &Record::approvals), json::required("onlyMine", &Record::onlyMine)};
};

template <>
struct JSONTable<NotificationsAnswer> {
    using Record = NotificationsAnswer;
    static constexpr auto fields = std::tuple{json::required("refusal", &Record::refusal),
        json::optional("unsaved", &Record::unsaved), json::required("notifications", &Record::choices)};
};

template <>
struct JSONTable<FailuresAnswer> {
    using Record = FailuresAnswer;
    static constexpr auto fields = std::tuple{json::required("refusal", &Record::refusal),
        json::optional("unsaved", &Record::unsaved), json::required("ignoresMended", &Record::ignoresMended),
        json::required("deployments", &Record::deployments), json::required("failures", &Record::marks)};
};

template <>
struct JSONTable<ListedEnvironment> {
    using Record = ListedEnvironment;
    static constexpr auto fields = std::tuple{json::required("environment", &Record::environment),
        json::optional("repository", &Record::repository), json::required("repositories", &Record::repositories),
        json::required("choice", &Record::choice), json::required("chosen", &Record::isChosen)};
};

template <>
struct JSONTable<ListedEnvironments> {
    using Record = ListedEnvironments;
    static constexpr auto fields = std::tuple{json::required("onlyProduction", &Record::onlyProduction),
        json::required("environments", &Record::environments)};
};

template <>
struct JSONTable<EnvironmentsAnswer> {
    using Record = EnvironmentsAnswer;
    static constexpr auto fields = std::tuple{json::required("refusal", &Record::refusal),
        json::optional("unsaved", &Record::unsaved), json::required("choices", &Record::choices)};
};

template <>
struct JSONTable<MutingAnswer> {
    using Record = MutingAnswer;
    static constexpr auto fields
        = std::tuple{json::required("loading", &Record::loading), json::required("refusal", &Record::refusal),
            json::optional("unsaved", &Record::unsaved), json::required("repository", &Record::repository),
            json::required("muted", &Record::isMuted), json::optional("mutedUntil", &Record::mutedUntil)};
};

template <>
struct JSONTable<PauseAnswer> {
    using Record = PauseAnswer;
    static constexpr auto fields = std::tuple{json::optional("unsaved", &Record::unsaved),
        json::required("paused", &Record::isPaused), json::optional("pausedUntil", &Record::pausedUntil)};
};

template <>
struct JSONTable<DeploymentMonitorState> {
    using Record = DeploymentMonitorState;
    static constexpr auto fields = std::tuple{json::required("case", &Record::state),
        json::required("hasContent", &Record::hasContent), json::optional("lastUpdatedAt", &Record::lastUpdatedAt),
        json::optional("resumeAt", &Record::resumeAt), json::optional("missing", &Record::missing),
        json::optional("refreshIntervalSeconds", &Record::refreshIntervalSeconds)};
};

template <>
struct JSONTable<MonitorReport> {
    using Record = MonitorReport;
    static constexpr auto fields
        = std::tuple{json::required("saved", &Record::isSaved), json::required("application", &Record::applicationName),
            json::required("state", &Record::state), json::required("deployments", &Record::deployments),
            // A Velmora of an earlier version does not send them.
            json::Field<Record, FailureMarks>{"failures", &Record::marks, json::Presence::Optional},
            json::Field<Record, DeploymentList>{"hidden", &Record::hidden, json::Presence::Optional},
            json::optional("lastRefreshedAt", &Record::lastRefreshedAt), json::required("message", &Record::message),
            json::optional("unsaved", &Record::unsaved), json::required("hint", &Record::hint),
            json::optional("savedAt", &Record::savedAt),
            json::Field<Record, bool>{"paused", &Record::isPaused, json::Presence::Optional},
            json::optional("pausedUntil", &Record::pausedUntil)};
};

template <>
struct JSONTable<DeploymentNotification> {
    using Record = DeploymentNotification;
    static constexpr auto fields = std::tuple{json::required("title", &Record::title),
        json::required("subtitle", &Record::subtitle), json::required("body", &Record::body),
        json::required("url", &Record::url), json::required("identifier", &Record::identifier)};
};

template QByteArray encodeJSON(const QList<ListedAccount> &);
template QByteArray encodeJSON(const QList<ListedInstallation> &);
template QByteArray encodeJSON(const QList<ListedRepository> &);
template QByteArray encodeJSON(const QList<ListedAccount> &, InstantForm);
template QByteArray encodeJSON(const QList<ListedInstallation> &, InstantForm);
template QByteArray encodeJSON(const QList<ListedRepository> &, InstantForm);
template QByteArray encodeJSON(const MutingAnswer &);
template QByteArray encodeJSON(const PauseAnswer &);
template QByteArray encodeJSON(const RemovalAnswer &);
template QByteArray encodeJSON(const LoadingAnswer &);
template QByteArray encodeJSON(const InstallationsAnswer &);
template QByteArray encodeJSON(const RepositoriesAnswer &);
template QByteArray encodeJSON(const NotificationChoices &);
template QByteArray encodeJSON(const NotificationsAnswer &);
template QByteArray encodeJSON(const FailuresAnswer &);
template QByteArray encodeJSON(const ListedEnvironments &);
template QByteArray encodeJSON(const EnvironmentsAnswer &);
template QByteArray encodeJSON(const MonitorReport &);
template QByteArray encodeJSON(const DeploymentNotification &);
template QList<ListedAccount> decodeJSON(QByteArrayView);
template RemovalAnswer decodeJSON(QByteArrayView);
template LoadingAnswer decodeJSON(QByteArrayView);
template InstallationsAnswer decodeJSON(QByteArrayView);
template RepositoriesAnswer decodeJSON(QByteArrayView);
template MutingAnswer decodeJSON(QByteArrayView);
template PauseAnswer decodeJSON(QByteArrayView);
template NotificationsAnswer decodeJSON(QByteArrayView);
template FailuresAnswer decodeJSON(QByteArrayView);
template EnvironmentsAnswer decodeJSON(QByteArrayView);
template MonitorReport decodeJSON(QByteArrayView);
template DeploymentNotification decodeJSON(QByteArrayView);

namespace
{

/// The login of the account, or its id in decimal if the account has been removed.
QString loginOf(qint64 identityID, const QList<GitHubAccountSession> &sessions)
{
    const auto found = std::ranges::find(sessions, identityID, &GitHubAccountSession::id);
    return found == sessions.end() ? QString::number(identityID) : found->account.login;
}

} // namespace

QString rawValue(DeploymentNotificationKind kind)
{
    switch (kind) {
    case DeploymentNotificationKind::Failure:
        return QStringLiteral("failures");
    case DeploymentNotificationKind::Success:
        return QStringLiteral("successes");
    case DeploymentNotificationKind::Waiting:
        return QStringLiteral("approvals");
    }
    Q_UNREACHABLE();
}

QList<ListedAccount> listedAccounts(const QList<GitHubAccountSession> &sessions)
{
    QList<ListedAccount> listed;
    for (const auto &[account, status] : sessions)
        listed.append({account.id, account.login, status, account.avatarURL, std::nullopt});
    return listed;
}

QList<ListedEnvironment> listedEnvironments(const QList<EnvironmentLine> &lines)
{
    QList<ListedEnvironment> listed;
    for (const EnvironmentLine &line : lines) {
        const EnvironmentRule &rule = line.rule;
        const auto repository = rule.repositoryID.isEmpty() ? std::nullopt : std::optional(rule.repositoryName);
        listed.append({rule.pattern, repository, line.repositories, rule.choice, line.isChosen});
    }
    return listed;
}

QList<ListedInstallation> listedInstallations(
    const QList<InstallationRecord> &installations, const QList<GitHubAccountSession> &sessions)
{
    QList<ListedInstallation> listed;
    for (const auto &record : installations) {
        const auto &account = record.installation.account;
        listed.append({record.id(), loginOf(record.identityID, sessions), account.login, account.type,
            record.installation.repositorySelection, record.isEnabled, record.installation.isSuspended()});
    }
    return listed;
}

QList<ListedRepository> listedRepositories(
    const QList<RepositoryRecord> &repositories, const QSet<QString> &monitored, const MutedRepositories &muted)
{
    QList<ListedRepository> listed;
    for (const auto &record : repositories) {
        const auto &repository = record.repository;
        const auto muting = muted.muting(record.id());
        listed.append({record.id(), repository.nameWithOwner, repository.url, repository.isPrivate,
            installationKey(record.identityID, record.installationID), record.installationAccount.login,
            record.isIncluded, monitored.contains(record.id()), muting.has_value(),
            muting ? muting->until : std::nullopt});
    }
    return listed;
}

} // namespace velmora
