// SPDX-License-Identifier: MIT
#include "ui/accounts_presentation.h"

#include "ui/accounts_settings_texts.h"

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

bool showsInstallations(const QList<GitHubAccountSession> &sessions, const QList<InstallationRecord> &installations)
{
    return !sessions.isEmpty() && !installations.isEmpty();
}

} // namespace velmora
