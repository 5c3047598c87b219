// SPDX-License-Identifier: MIT
#include "ui/settings/repositories/repository_list_model.h"

#include "installations/installation_store.h"
#include "ui/controls/sequence_diff.h"

namespace velmora
{

namespace
{

/// With more edits than this a reset is cheaper.
constexpr std::size_t kMostSteps = 64;

} // namespace

RepositoryListModel::RepositoryListModel(InstallationStore *installations, QObject *parent)
    : QAbstractListModel(parent)
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
    startAnew(found());
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
    if (tellMoves(next))
        tellChanges(next);
    else
        startAnew(std::move(next));
}

bool RepositoryListModel::tellMoves(const Rows &next)
{
    if (std::ranges::equal(m_rows, next, {}, &Row::nodeID, &Row::nodeID))
        return true;
    const auto keys = [](const Rows &rows) {
        std::vector<QStringView> ids;
        ids.reserve(rows.size());
        for (const Row &row : rows)
            ids.emplace_back(row.nodeID);
        return ids;
    };
    const auto steps = sequenceDiff(keys(m_rows), keys(next));
    if (steps.size() > kMostSteps)
        return false;
    for (const SequenceEdit &step : steps)
        take(step, next);
    return true;
}

void RepositoryListModel::take(const SequenceEdit &step, const Rows &next)
{
    const int at = static_cast<int>(step.at);
    const int last = static_cast<int>(step.at + step.count - 1);
    const auto first = m_rows.begin() + step.at;
    switch (step.kind) {
    case SequenceEdit::Kind::Remove:
        beginRemoveRows({}, at, last);
        m_rows.erase(first, first + step.count);
        return endRemoveRows();
    case SequenceEdit::Kind::Move: {
        const bool isDown = step.to > step.at;
        const auto target = m_rows.begin() + step.to;
        beginMoveRows({}, at, at, {}, static_cast<int>(isDown ? step.to + 1 : step.to));
        if (isDown)
            std::rotate(first, first + 1, target + 1);
        else
            std::rotate(target, first, first + 1);
        return endMoveRows();
    }
    case SequenceEdit::Kind::Insert:
        beginInsertRows({}, at, last);
        m_rows.insert(first, next.begin() + step.source, next.begin() + step.source + step.count);
        return endInsertRows();
    }
}

void RepositoryListModel::tellChanges(const Rows &next)
{
    const auto size = m_rows.size();
    for (std::size_t i = 0; i < size; ++i) {
        if (m_rows[i] == next[i])
            continue;
        const std::size_t first = i;
        while (i < size && m_rows[i] != next[i]) {
            m_rows[i] = next[i];
            ++i;
        }
        Q_EMIT dataChanged(index(static_cast<int>(first)), index(static_cast<int>(i - 1)));
    }
}

void RepositoryListModel::startAnew(Rows next)
{
    beginResetModel();
    m_rows = std::move(next);
    endResetModel();
}

} // namespace velmora
