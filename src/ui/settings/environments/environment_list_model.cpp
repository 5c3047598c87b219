// SPDX-License-Identifier: MIT
#include "ui/settings/environments/environment_list_model.h"

#include "monitor/environments.h"

namespace velmora
{

EnvironmentListModel::EnvironmentListModel(Environments *environments, QObject *parent)
    : KeyedListModel(parent)
    , m_environments(environments)
    , m_rows(found())
{
    connect(m_environments, &Environments::changed, this, &EnvironmentListModel::follow);
}

EnvironmentListModel::Rows EnvironmentListModel::found() const
{
    Rows rows;
    for (const EnvironmentLine &line : m_environments->lines()) {
        if (m_search.finds(line))
            rows.push_back({line, line.rule.key()});
    }
    return rows;
}

void EnvironmentListModel::setSearch(const QString &text)
{
    if (text == m_search.text())
        return;
    m_search = EnvironmentSearch(text);
    beginResetModel();
    m_rows = found();
    endResetModel();
}

int EnvironmentListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant EnvironmentListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || !checkIndex(index))
        return {};
    const EnvironmentLine &line = m_rows.at(static_cast<std::size_t>(index.row())).line;
    switch (role) {
    case Qt::DisplayRole:
        return line.rule.target();
    case Qt::AccessibleTextRole:
        return environmentSentence(line);
    case Qt::AccessibleDescriptionRole:
        return environmentDetails(line);
    case ChoiceRole:
        return static_cast<int>(line.rule.choice);
    default:
        return {};
    }
}

bool EnvironmentListModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != ChoiceRole || !index.isValid() || !checkIndex(index))
        return false;
    EnvironmentRule rule = m_rows.at(static_cast<std::size_t>(index.row())).line.rule;
    const auto choice = static_cast<EnvironmentChoice>(value.toInt());
    if (rule.choice == choice)
        return false;
    rule.choice = choice;
    m_environments->choose({rule});
    return true;
}

Qt::ItemFlags EnvironmentListModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
}

void EnvironmentListModel::follow()
{
    Rows next = found();
    if (std::ranges::equal(m_rows, next, {}, &Row::key, &Row::key))
        takeOver(m_rows, next);
    else
        replaceRows([&] { m_rows = std::move(next); });
}

} // namespace velmora
