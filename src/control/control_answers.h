// SPDX-License-Identifier: MIT
#pragma once

#include "control/listed_records.h"

#include <QStringList>

namespace velmora
{

/// The greatest number of installations or repositories in one request.
inline constexpr qsizetype kMostNames = 10'000;

/// Which installations, named by key or account, to switch before they are listed.
struct InstallationChoices {
    QStringList enable;
    QStringList disable;

    [[nodiscard]] bool areNone() const { return enable.isEmpty() && disable.isEmpty(); }

    friend bool operator==(const InstallationChoices &, const InstallationChoices &) = default;
};

/// Which repositories, named as owner/name, to switch before they are listed.
struct RepositoryChoices {
    std::optional<bool> all; ///< switches every repository, before the named ones
    QStringList include;
    QStringList exclude;

    [[nodiscard]] bool areNone() const { return !all && include.isEmpty() && exclude.isEmpty(); }

    friend bool operator==(const RepositoryChoices &, const RepositoryChoices &) = default;
};

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

/// The installations, after the requested switching.
struct InstallationsAnswer {
    LoadingAnswer loading;
    QString refusal; ///< why a name was refused, in which case nothing was switched; else empty
    std::optional<QString> unsaved; ///< why the switching could not be saved
    QList<ListedInstallation> installations;
    WebAddress installationURL; ///< the page that installs the App on another account

    friend bool operator==(const InstallationsAnswer &, const InstallationsAnswer &) = default;
};

/// The repositories, after the requested switching.
struct RepositoriesAnswer {
    LoadingAnswer loading;
    QString refusal; ///< why a name was refused, in which case nothing was switched; else empty
    std::optional<QString> unsaved; ///< why the switching could not be saved
    QList<ListedRepository> repositories;
    WebAddress installationURL; ///< the page that grants more repositories

    friend bool operator==(const RepositoriesAnswer &, const RepositoriesAnswer &) = default;
};

} // namespace velmora
