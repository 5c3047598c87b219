// SPDX-License-Identifier: MIT
#include "presentation/repositories_presentation.h"

#include "presentation/repositories_settings_texts.h"

#include <algorithm>

namespace velmora
{

using Texts = RepositoriesSettingsTexts;
using Case = InstallationLoadingState::Case;

RepositorySearch::RepositorySearch(const QString &text)
    : m_matcher(text, Qt::CaseInsensitive)
{
}

bool RepositorySearch::finds(const RepositoryRecord &record) const
{
    // Without a pattern indexIn() finds nothing, but an empty search finds all.
    return m_matcher.pattern().isEmpty() || m_matcher.indexIn(record.repository.nameWithOwner) >= 0
        || m_matcher.indexIn(record.installationAccount.login) >= 0;
}

bool repositoryRefreshIsInProgress(bool isRefreshing, const InstallationLoadingState &state)
{
    return isRefreshing || state.state == Case::Loading;
}

RepositoriesContent repositoriesContent(const InstallationLoadingState &state, bool hasRepositories, bool hasResults)
{
    if (state.state == Case::Loading && !hasRepositories)
        return RepositoriesContent::Loading;
    return hasResults ? RepositoriesContent::List : RepositoriesContent::NoResults;
}

bool canEnableAll(const QList<RepositoryRecord> &repositories)
{
    return !std::ranges::all_of(repositories, &RepositoryRecord::isIncluded);
}

bool canDisableAll(const QList<RepositoryRecord> &repositories)
{
    return std::ranges::any_of(repositories, &RepositoryRecord::isIncluded);
}

std::optional<QString> repositoriesWarning(const InstallationLoadingState &state)
{
    return state.state == Case::Stale ? std::optional(state.message) : std::nullopt;
}

QString noResultsTitle(const QString &search)
{
    return search.isEmpty() ? Texts::noResults() : Texts::noResultsFor(search);
}

QString monitoringSentence(const QString &name, bool isMonitored)
{
    return isMonitored ? Texts::monitored(name) : Texts::notMonitored(name);
}

} // namespace velmora
