// SPDX-License-Identifier: MIT
#include "ui/deployment_list_model.h"

#include "ui/row_presentation.h"
#include "ui/sequence_diff.h"

namespace velmora
{

namespace
{

constexpr std::array kSections{
    DeploymentSectionKind::InProgress, DeploymentSectionKind::Failed, DeploymentSectionKind::Completed};
/// No identifier begins with a control character.
constexpr std::array<QStringView, 3> kHeaderKeys{u"\u0001in progress", u"\u0001failed", u"\u0001completed"};

constexpr std::size_t place(DeploymentSectionKind section)
{
    return static_cast<std::size_t>(section);
}

std::array<qsizetype, 3> countsOf(const QList<DeploymentSnapshot> &deployments)
{
    std::array<qsizetype, 3> counts{};
    for (const auto &deployment : deployments)
        ++counts.at(place(sectionOf(deployment.state)));
    return counts;
}

} // namespace

DeploymentListModel::DeploymentListModel(Clock *clock, QObject *parent)
    : QAbstractListModel(parent)
    , m_clock(clock)
{
}

DeploymentListModel::Rows DeploymentListModel::rowsOf(const QList<DeploymentSnapshot> &deployments)
{
    const auto counts = countsOf(deployments);
    Rows rows;
    std::array<std::size_t, 3> next{};
    for (const auto section : kSections) {
        const auto count = static_cast<std::size_t>(counts.at(place(section)));
        next.at(place(section)) = rows.size() + 1;
        if (count > 0)
            rows.resize(rows.size() + 1 + count, Row{nullptr, section});
    }
    for (const auto &deployment : deployments) {
        const auto section = sectionOf(deployment.state);
        rows[next.at(place(section))++].deployment = &deployment;
    }
    return rows;
}

std::vector<QStringView> DeploymentListModel::keysOf(const Rows &rows)
{
    std::vector<QStringView> keys;
    keys.reserve(rows.size());
    for (const Row &row : rows)
        keys.push_back(row.deployment ? QStringView(row.deployment->id) : kHeaderKeys.at(place(row.section)));
    return keys;
}

void DeploymentListModel::setDeployments(const QList<DeploymentSnapshot> &deployments)
{
    if (deployments.isSharedWith(m_deployments))
        return;
    // The rows point into the lists, so both live until the last step.
    const QList<DeploymentSnapshot> previous = std::exchange(m_deployments, deployments);
    const auto previousCounts = std::exchange(m_counts, countsOf(deployments));
    Rows target = rowsOf(m_deployments);
    Q_EMIT updateStarted();
    takeSteps(target);
    adopt(std::move(target), previousCounts);
    Q_EMIT updateFinished();
}

void DeploymentListModel::takeSteps(const Rows &target)
{
    const auto edits = sequenceDiff(keysOf(m_rows), keysOf(target));
    for (const SequenceEdit &edit : edits) {
        const int first = static_cast<int>(edit.at);
        const int last = static_cast<int>(edit.at + edit.count - 1);
        const auto begin = m_rows.begin() + edit.at;
        switch (edit.kind) {
        case SequenceEdit::Kind::Remove:
            beginRemoveRows({}, first, last);
            m_rows.erase(begin, begin + edit.count);
            endRemoveRows();
            break;
        case SequenceEdit::Kind::Move: {
            const int to = static_cast<int>(edit.to);
            // Counted before the row is taken out.
            beginMoveRows({}, first, first, {}, to > first ? to + 1 : to);
            if (to > first)
                std::rotate(begin, begin + 1, m_rows.begin() + to + 1);
            else
                std::rotate(m_rows.begin() + to, begin, begin + 1);
            endMoveRows();
            break;
        }
        case SequenceEdit::Kind::Insert: {
            beginInsertRows({}, first, last);
            const auto source = target.begin() + edit.source;
            m_rows.insert(begin, source, source + edit.count);
            endInsertRows();
            break;
        }
        }
    }
}

void DeploymentListModel::adopt(Rows &&target, const std::array<qsizetype, 3> &previousCounts)
{
    Q_ASSERT(m_rows.size() == target.size());
    const Rows before = std::exchange(m_rows, std::move(target));
    const auto hasChanged = [&](std::size_t row) {
        const auto *now = m_rows[row].deployment;
        if (!now) {
            // A header that was not there before has just been announced.
            const auto previous = previousCounts.at(place(m_rows[row].section));
            return previous != 0 && previous != m_counts.at(place(m_rows[row].section));
        }
        return now != before[row].deployment && *now != *before[row].deployment;
    };
    for (std::size_t first = 0; first < m_rows.size(); ++first) {
        if (!hasChanged(first))
            continue;
        std::size_t last = first;
        while (last + 1 < m_rows.size() && hasChanged(last + 1))
            ++last;
        Q_EMIT dataChanged(index(static_cast<int>(first)), index(static_cast<int>(last)));
        first = last;
    }
}

const DeploymentSnapshot *DeploymentListModel::deployment(int row) const
{
    const auto position = static_cast<std::size_t>(row);
    return row >= 0 && position < m_rows.size() ? m_rows[position].deployment : nullptr;
}

DeploymentSectionKind DeploymentListModel::section(int row) const
{
    return m_rows.at(static_cast<std::size_t>(row)).section;
}

qsizetype DeploymentListModel::count(DeploymentSectionKind section) const
{
    return m_counts.at(place(section));
}

std::vector<int> DeploymentListModel::headerRows() const
{
    std::vector<int> headers;
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        if (!m_rows[row].deployment)
            headers.push_back(static_cast<int>(row));
    }
    return headers;
}

int DeploymentListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant DeploymentListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const auto *shown = deployment(index.row());
    return shown ? deploymentData(*shown, role) : headerData(section(index.row()), role);
}

QVariant DeploymentListModel::headerData(DeploymentSectionKind section, int role) const
{
    switch (role) {
    case Qt::DisplayRole:
        return sectionTitle(section);
    case Qt::AccessibleTextRole:
        return QStringLiteral("%1, %2").arg(sectionTitle(section)).arg(count(section));
    default:
        return {};
    }
}

QVariant DeploymentListModel::deploymentData(const DeploymentSnapshot &deployment, int role) const
{
    switch (role) {
    case Qt::DisplayRole:
        return shownOnOneLine(deployment.repositoryName);
    case Qt::ToolTipRole:
        return rowToolTip(deployment, m_clock->now());
    case Qt::AccessibleTextRole:
        return rowSentence(deployment, m_clock->now());
    case Qt::AccessibleDescriptionRole:
        return environmentAddress(deployment) ? tr("Return opens the log, Control Return the environment")
                                              : tr("Return opens the log");
    default:
        return {};
    }
}

Qt::ItemFlags DeploymentListModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    const Qt::ItemFlags all = Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    return isHeader(index.row()) ? all : all | Qt::ItemIsSelectable;
}

} // namespace velmora
