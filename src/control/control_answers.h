// SPDX-License-Identifier: MIT
#pragma once

#include "control/listed_records.h"

#include <QStringList>

namespace velmora
{

/// How many installations or repositories can be named at once.
inline constexpr qsizetype kMostNames = 10'000;

/// What to do with installations that are named by key or account, before they are listed.
struct InstallationChoices {
    QStringList enable;
    QStringList disable;

    /// Whether nothing is switched.
    [[nodiscard]] bool areNone() const { return enable.isEmpty() && disable.isEmpty(); }

    friend bool operator==(const InstallationChoices &, const InstallationChoices &) = default;
};

/// What to do with repositories that are named by owner and name, before they are listed.
struct RepositoryChoices {
    std::optional<bool> all; ///< every repository, before the named ones
    QStringList include;
    QStringList exclude;

    /// Whether nothing is switched.
    [[nodiscard]] bool areNone() const { return !all && include.isEmpty() && exclude.isEmpty(); }

    friend bool operator==(const RepositoryChoices &, const RepositoryChoices &) = default;
};

/// How an account was removed.
struct RemovalAnswer {
    QString login; ///< of the account that was removed, as GitHub writes it
    QString refusal; ///< why none was removed; else empty
    std::optional<QString> unsaved; ///< why the removal will not last

    friend bool operator==(const RemovalAnswer &, const RemovalAnswer &) = default;
};

/// What loading from GitHub came to.
struct LoadingAnswer {
    bool hasAccounts = false; ///< without one nothing is asked
    bool isComplete = false; ///< every identity was asked and has answered
    QStringList messages; ///< a line for each identity that failed

    friend bool operator==(const LoadingAnswer &, const LoadingAnswer &) = default;
};

/// Where the App is installed, once everything that was asked for has been switched.
struct InstallationsAnswer {
    LoadingAnswer loading;
    QString refusal; ///< a name that means nothing: then nothing was switched; else empty
    std::optional<QString> unsaved; ///< why what was switched will not last
    QList<ListedInstallation> installations;
    WebAddress installationURL; ///< where it is installed on another account

    friend bool operator==(const InstallationsAnswer &, const InstallationsAnswer &) = default;
};

/// Which repositories there are, once everything that was asked for has been switched.
struct RepositoriesAnswer {
    LoadingAnswer loading;
    QString refusal; ///< a name that means nothing: then nothing was switched; else empty
    std::optional<QString> unsaved; ///< why what was switched will not last
    QList<ListedRepository> repositories;
    WebAddress installationURL; ///< where more of them are granted

    friend bool operator==(const RepositoriesAnswer &, const RepositoriesAnswer &) = default;
};

} // namespace velmora
