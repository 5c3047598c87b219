// SPDX-License-Identifier: MIT
#include "presentation/accounts_presentation.h"

#include "presentation/accounts_settings_texts.h"

#include <algorithm>

namespace velmora
{

using Texts = AccountsSettingsTexts;

QString sessionStatusText(GitHubSessionStatus status)
{
    switch (status) {
    case GitHubSessionStatus::Connected:
        return Texts::connected();
    case GitHubSessionStatus::Refreshing:
        return Texts::refreshing();
    case GitHubSessionStatus::ReconnectRequired:
        return Texts::reconnectRequired();
    case GitHubSessionStatus::Disconnected:
    case GitHubSessionStatus::RequestingCode:
    case GitHubSessionStatus::AwaitingAuthorization:
        return Texts::disconnected();
    }
    Q_UNREACHABLE();
}

Tone sessionStatusTone(GitHubSessionStatus status)
{
    switch (status) {
    case GitHubSessionStatus::Connected:
        return Tone::Green;
    case GitHubSessionStatus::ReconnectRequired:
        return Tone::Orange;
    default:
        return Tone::Secondary;
    }
}

InstallationSummary installationSummary(const InstallationKnowledge &knowledge)
{
    if (knowledge.count > 1)
        return {Texts::manyInstallations(knowledge.count), false};
    if (knowledge.count == 1)
        return {Texts::oneInstallation(), false};
    if (knowledge.isLoaded)
        return {Texts::noInstallations(), true};
    return {knowledge.failure.value_or(QString()), false};
}

qsizetype installationCount(const QList<InstallationRecord> &installations, qint64 identityID)
{
    return std::ranges::count(installations, identityID, &InstallationRecord::identityID);
}

QString installationKindText(const GitHubInstallation &installation)
{
    const QString kind = installation.account.type;
    return installation.isSuspended() ? Texts::suspended(kind) : kind;
}

QString installationDescription(const InstallationRecord &record, const QList<InstallationRecord> &installations,
    const QList<GitHubAccountSession> &sessions)
{
    const GitHubInstallationAccount &account = record.installation.account;
    const auto isSeenByAnother = [&](const InstallationRecord &other) {
        return other.identityID != record.identityID && other.installation.account.login == account.login;
    };
    const auto identity = std::ranges::find(sessions, record.identityID, &GitHubAccountSession::id);
    if (identity == sessions.end() || std::ranges::none_of(installations, isSeenByAnother))
        return installationKindText(record.installation);
    return Texts::seenBy(installationKindText(record.installation), identity->account.login);
}

bool showsInstallations(const QList<GitHubAccountSession> &sessions, const QList<InstallationRecord> &installations)
{
    return !sessions.isEmpty() && !installations.isEmpty();
}

} // namespace velmora
