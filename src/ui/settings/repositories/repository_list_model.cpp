// SPDX-License-Identifier: MIT
#include "ui/settings/repositories/repository_list_model.h"

#include "installations/installation_store.h"

namespace velmora
{

RepositoryListModel::RepositoryListModel(InstallationStore *installations, QObject *parent)
    : KeyedListModel(parent)
    , m_installations(installations)
    , m_rows(found())
{
    connect(m_installations, &InstallationStore::repositoriesChanged, this, &RepositoryListModel::followStore);
}

RepositoryListModel::Rows RepositoryListModel::found() const
{
    Rows rows;
    for (const RepositoryRecord &record : m_installations->repositories()) {
        if (m_search.finds(record))
            rows.push_back(
                {record.id(), record.repository.nameWithOwner, record.installationAccount.login, record.isIncluded});
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

int RepositoryListModel::rowOf(const QString &nodeID) const
{
    const auto row = std::ranges::find(m_rows, nodeID, &Row::nodeID);
    return row == m_rows.end() ? -1 : static_cast<int>(row - m_rows.begin());
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
        return monitoringSentence(row.name, row.isIncluded);
    case Qt::AccessibleDescriptionRole:
    case LoginRole:
        return row.login;
    case NodeIDRole:
        return row.nodeID;
    default:
        return {};
    }
}

bool RepositoryListModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != Qt::CheckStateRole || !index.isValid() || !checkIndex(index))
        return false;
    // Copied, because the store's signals may remove the row before it returns.
    const QString nodeID = m_rows.at(static_cast<std::size_t>(index.row())).nodeID;
    m_installations->setRepository(nodeID, value.value<Qt::CheckState>() == Qt::Checked);
    return true;
}

Qt::ItemFlags RepositoryListModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable | Qt::ItemNeverHasChildren;
}

void RepositoryListModel::followStore()
{
    Rows next = found();
    if (!std::ranges::equal(m_rows, next, {}, &Row::nodeID, &Row::nodeID))
        replaceRows([&] { m_rows = std::move(next); });
    else
        showChanges(next);
}

/// Takes over rows that are in the places of the present ones.
void RepositoryListModel::showChanges(const Rows &next)
{
    const auto size = m_rows.size();
    for (std::size_t i = 0; i < size; ++i) {
        const std::size_t first = i;
        while (i < size && m_rows[i] != next[i]) {
            m_rows[i] = next[i];
            ++i;
        }
        if (i > first)
            Q_EMIT dataChanged(index(static_cast<int>(first)), index(static_cast<int>(i - 1)));
    }
}

} // namespace velmora
