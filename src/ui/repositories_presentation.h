// SPDX-License-Identifier: MIT
#pragma once

#include "github/repository_record.h"
#include "installations/installation_record.h"

#include <QString>
#include <QStringMatcher>

#include <optional>

namespace velmora
{

/// What the area below the search field of the Repositories tab shows.
enum class RepositoriesContent {
    Loading,
    NoResults,
    List,
};

/// Finds the repositories whose name, or whose installation's login, contains a text in any case. The text is not
/// trimmed; the empty one finds all.
class RepositorySearch
{
public:
    explicit RepositorySearch(const QString &text = {});

    [[nodiscard]] QString text() const { return m_matcher.pattern(); }
    [[nodiscard]] bool finds(const RepositoryRecord &record) const;

private:
    QStringMatcher m_matcher;
};

/// Whether a refresh runs, be it one that the tab started or another.
[[nodiscard]] bool repositoryRefreshIsInProgress(bool isRefreshing, const InstallationLoadingState &state);

[[nodiscard]] RepositoriesContent repositoriesContent(
    const InstallationLoadingState &state, bool hasRepositories, bool hasResults);

/// Whether one of the repositories is not included: whether including all of them would change anything.
[[nodiscard]] bool canEnableAll(const QList<RepositoryRecord> &repositories);
/// Whether one of the repositories is included.
[[nodiscard]] bool canDisableAll(const QList<RepositoryRecord> &repositories);

/// The warning below the list; nothing but after a refresh that failed for somebody.
[[nodiscard]] std::optional<QString> repositoriesWarning(const InstallationLoadingState &state);

/// The title of the placeholder for a search that found nothing.
[[nodiscard]] QString noResultsTitle(const QString &search);

/// What assistive technology reads of a switch: the name and whether it is monitored.
[[nodiscard]] QString monitoringSentence(const QString &name, bool isMonitored);

} // namespace velmora
