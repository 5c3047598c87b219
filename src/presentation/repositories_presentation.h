// SPDX-License-Identifier: MIT
#pragma once

#include "github/repository_record.h"
#include "installations/installation_record.h"

#include <QString>
#include <QStringMatcher>

#include <optional>

namespace velmora
{

/// The content below the search field of the Repositories tab.
enum class RepositoriesContent {
    Loading,
    NoResults,
    List,
};

/// Finds the repositories whose name or installation login contains the text, ignoring case. The text is not trimmed;
/// an empty text finds all.
class RepositorySearch
{
public:
    explicit RepositorySearch(const QString &text = {});

    [[nodiscard]] QString text() const { return m_matcher.pattern(); }
    [[nodiscard]] bool finds(const RepositoryRecord &record) const;

private:
    QStringMatcher m_matcher;
};

/// Whether a refresh runs, whether the tab started it (`isRefreshing`) or the store reports it.
[[nodiscard]] bool repositoryRefreshIsInProgress(bool isRefreshing, const InstallationLoadingState &state);

[[nodiscard]] RepositoriesContent repositoriesContent(
    const InstallationLoadingState &state, bool hasRepositories, bool hasResults);

/// Whether any repository is not included.
[[nodiscard]] bool canEnableAll(const QList<RepositoryRecord> &repositories);
/// Whether any repository is included.
[[nodiscard]] bool canDisableAll(const QList<RepositoryRecord> &repositories);

/// The warning below the list: present only after a refresh that failed for at least one identity.
[[nodiscard]] std::optional<QString> repositoriesWarning(const InstallationLoadingState &state);

/// The title shown when a search finds nothing.
[[nodiscard]] QString noResultsTitle(const QString &search);

/// What assistive technology reads for a switch: the name and whether it is monitored.
[[nodiscard]] QString monitoringSentence(const QString &name, bool isMonitored);

} // namespace velmora
