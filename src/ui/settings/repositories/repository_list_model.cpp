// SPDX-License-Identifier: MIT
#include "ui/settings/repositories/repository_list_model.h"

#include "installations/installation_store.h"
#include "monitor/muted_repositories.h"
#include "presentation/muting_texts.h"
#include "support/clock.h"

namespace velmora
{

RepositoryListModel::RepositoryListModel(
    InstallationStore *installations, MutedRepositories *muted, const Clock *clock, QObject *parent)
    : KeyedListModel(parent)
    , m_installations(installations)
    , m_muted(muted)
    , m_clock(clock)
    , m_rows(found())
{
    connect(m_installations, &InstallationStore::repositoriesChanged, this, &RepositoryListModel::followStores);
    connect(m_muted, &MutedRepositories::changed, this, &RepositoryListModel::followStores);
}

RepositoryListModel::Rows RepositoryListModel::found() const
{
    Rows rows;
    for (const RepositoryRecord &record : m_installations->repositories()) {
        if (m_search.finds(record))
            rows.push_back({record.id(), record.repository.nameWithOwner, record.installationAccount.login,
                record.isIncluded, m_muted->muting(record.id())});
    }
    return rows;
}

void RepositoryListModel::setSearch(const QString &text)
{
    if (text == m_search.text())
        return;
    m_search = RepositorySearch(text);
    beginResetModel();
    m_rows = found();
    endResetModel();
}

int RepositoryListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant RepositoryListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || !checkIndex(index))
        return {};
    const Row &row = m_rows.at(static_cast<std::size_t>(index.row()));
    switch (role) {
    case Qt::DisplayRole:
        return row.name;
    case Qt::CheckStateRole:
        return row.isIncluded ? Qt::Checked : Qt::Unchecked;
    case Qt::AccessibleTextRole:
        return sentence(row);
    case Qt::AccessibleDescriptionRole:
    case LoginRole:
        return row.login;
    case NodeIDRole:
        return row.nodeID;
    case MutedRole:
        return row.muting.has_value();
    case MutingRole:
        return bellHelp(row);
    default:
        return {};
    }
}

QString RepositoryListModel::sentence(const Row &row) const
{
    const QString muted = mutedText(row.muting, m_clock->now());
    const QString monitored = monitoringSentence(row.name, row.isIncluded);
    return muted.isEmpty() ? monitored : monitored + QStringLiteral(", ") + muted;
}

QString RepositoryListModel::bellHelp(const Row &row) const
{
    QString muted = mutedText(row.muting, m_clock->now());
    QString action = mutingAction(row.name, row.muting.has_value()) + QStringLiteral(" (Ctrl+M)");
    if (muted.isEmpty())
        return action;
    muted[0] = muted.at(0).toUpper();
    return muted + QLatin1Char('\n') + action;
}

bool RepositoryListModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if ((role != Qt::CheckStateRole && role != MutedRole) || !index.isValid() || !checkIndex(index))
        return false;
    // Copied, because the signals of a store may remove the row before it returns.
    const QString nodeID = m_rows.at(static_cast<std::size_t>(index.row())).nodeID;
    if (role == Qt::CheckStateRole)
        m_installations->setRepository(nodeID, value.value<Qt::CheckState>() == Qt::Checked);
    else if (value.toBool())
        m_muted->mute(nodeID);
    else
        m_muted->unmute(nodeID);
    return true;
}

Qt::ItemFlags RepositoryListModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable | Qt::ItemNeverHasChildren;
}

void RepositoryListModel::followStores()
{
    Rows next = found();
    if (std::ranges::equal(m_rows, next, {}, &Row::nodeID, &Row::nodeID))
        takeOver(m_rows, next);
    else
        replaceRows([&] { m_rows = std::move(next); });
}

} // namespace velmora
