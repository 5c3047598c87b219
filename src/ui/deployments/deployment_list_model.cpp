// SPDX-License-Identifier: MIT
#include "ui/deployments/deployment_list_model.h"

#include "presentation/row_presentation.h"

#include <algorithm>

namespace velmora
{

namespace
{

constexpr std::array kSections{
    DeploymentSectionKind::InProgress, DeploymentSectionKind::Failed, DeploymentSectionKind::Completed};
/// Keys of the headers. No deployment identifier begins with a control character.
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

DeploymentListModel::Rows DeploymentListModel::rowsOfList() const
{
    Rows rows;
    rows.reserve(static_cast<std::size_t>(m_deployments.size()) + kSections.size());
    std::array<std::size_t, 3> next{};
    for (const auto section : kSections) {
        const auto count = static_cast<std::size_t>(m_counts.at(place(section)));
        next.at(place(section)) = rows.size() + 1;
        if (count > 0)
            rows.resize(rows.size() + 1 + count, Row{nullptr, section});
    }
    for (const auto &deployment : m_deployments) {
        const auto section = sectionOf(deployment.state);
        rows[next.at(place(section))++].deployment = &deployment;
    }
    return rows;
}

bool DeploymentListModel::isSameRow(const Row &left, const Row &right)
{
    if (!left.deployment || !right.deployment)
        return left.deployment == right.deployment && left.section == right.section;
    return left.deployment->id == right.deployment->id;
}

std::vector<QStringView> DeploymentListModel::keysOf(std::span<const Row> rows)
{
    std::vector<QStringView> keys;
    keys.reserve(rows.size());
    for (const Row &row : rows)
        keys.push_back(row.deployment ? QStringView(row.deployment->id) : kHeaderKeys.at(place(row.section)));
    return keys;
}

/// The edits that turn the current rows into `target`. Makes keys only for the rows between the common prefix and
/// suffix.
std::vector<SequenceEdit> DeploymentListModel::stepsTo(const Rows &target) const
{
    const auto [oldMiddle, newMiddle] = std::ranges::mismatch(m_rows, target, &isSameRow);
    const auto prefix = oldMiddle - m_rows.begin();
    const std::span before(oldMiddle, m_rows.end());
    const std::span after(newMiddle, target.end());
    const auto oldRest = std::mismatch(before.rbegin(), before.rend(), after.rbegin(), after.rend(), &isSameRow).first;
    const auto suffix = static_cast<std::size_t>(oldRest - before.rbegin());
    auto edits = sequenceDiff(keysOf(before.first(before.size() - suffix)), keysOf(after.first(after.size() - suffix)));
    for (SequenceEdit &edit : edits) {
        edit.at += prefix;
        edit.to += prefix;
        edit.source += prefix;
    }
    return edits;
}

void DeploymentListModel::setDeployments(const QList<DeploymentSnapshot> &deployments)
{
    if (deployments.isSharedWith(m_deployments))
        return;
    // The rows of both lists point to their deployments, so both lists must live until the last edit is done.
    const QList<DeploymentSnapshot> previous = std::exchange(m_deployments, deployments);
    const auto previousCounts = std::exchange(m_counts, countsOf(deployments));
    Rows target = rowsOfList();
    Q_EMIT updateStarted();
    takeSteps(target);
    Q_ASSERT(m_rows.size() == target.size());
    const Rows before = std::exchange(m_rows, std::move(target));
    announceContents(before, previousCounts);
    Q_EMIT updateFinished();
}

void DeploymentListModel::setWatchedRows(int first, int last)
{
    m_firstWatched = static_cast<std::size_t>(std::max(0, first));
    m_lastWatched = static_cast<std::size_t>(std::max(0, last));
}

void DeploymentListModel::takeSteps(const Rows &target)
{
    const auto edits = stepsTo(target);
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
            // beginMoveRows() counts the destination with the moved row still in its old place.
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

bool DeploymentListModel::hasChanged(std::size_t row, const Rows &before, const Counts &previousCounts) const
{
    const auto *now = m_rows[row].deployment;
    if (!now) {
        // A header that is new has already been announced by its insertion.
        const auto previous = previousCounts.at(place(m_rows[row].section));
        return previous != 0 && previous != m_counts.at(place(m_rows[row].section));
    }
    const bool isWatched = row >= m_firstWatched && row <= m_lastWatched;
    return isWatched && now != before[row].deployment && *now != *before[row].deployment;
}

void DeploymentListModel::announceContents(const Rows &before, const Counts &previousCounts)
{
    for (std::size_t first = 0; first < m_rows.size(); ++first) {
        if (!hasChanged(first, before, previousCounts))
            continue;
        std::size_t last = first;
        while (last + 1 < m_rows.size() && hasChanged(last + 1, before, previousCounts))
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
    return shown ? deploymentData(*shown, role) : titleData(section(index.row()), role);
}

QVariant DeploymentListModel::titleData(DeploymentSectionKind section, int role) const
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
        return rowKeys(deployment);
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
