// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"
#include "monitor/deployment_sections.h"
#include "support/clock.h"
#include "ui/sequence_diff.h"

#include <QAbstractListModel>

#include <array>
#include <limits>
#include <span>
#include <vector>

namespace velmora
{

/// The deployments as rows: for each section that has any a header and the deployments below it.
///
/// A new list is taken over by the steps that lead to it; the model is never reset, so that whatever points into it
/// keeps pointing at the same deployment. No text is made before somebody asks for it.
class DeploymentListModel final : public QAbstractListModel
{
    Q_OBJECT

public:
    /// The clock is not owned and outlives the model.
    explicit DeploymentListModel(Clock *clock, QObject *parent = nullptr);

    /// Shows another list: already filtered and ordered, each id once.
    void setDeployments(const QList<DeploymentSnapshot> &deployments);
    /// Says which rows somebody sees; all, when nobody has said so. What changes within a row is announced for these
    /// only, because comparing twenty thousand rows that nobody sees costs more than painting those that somebody does.
    /// Rows that come, go or move, and headers, are always announced.
    void setWatchedRows(int first, int last);
    [[nodiscard]] const QList<DeploymentSnapshot> &deployments() const { return m_deployments; }

    /// The deployment of a row; null for a header. Good until the next setDeployments().
    [[nodiscard]] const DeploymentSnapshot *deployment(int row) const;
    [[nodiscard]] bool isHeader(int row) const { return !deployment(row); }
    [[nodiscard]] DeploymentSectionKind section(int row) const;
    /// The number of deployments in a section.
    [[nodiscard]] qsizetype count(DeploymentSectionKind section) const;
    /// The rows that are headers, ascending.
    [[nodiscard]] std::vector<int> headerRows() const;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;

Q_SIGNALS:
    /// The rows are about to change, in as many steps as it takes.
    void updateStarted();
    /// They have changed.
    void updateFinished();

private:
    struct Row {
        const DeploymentSnapshot *deployment; ///< in the list that is shown, or, meanwhile, in the one before it
        DeploymentSectionKind section;
    };
    using Rows = std::vector<Row>;

    using Counts = std::array<qsizetype, 3>;

    [[nodiscard]] Rows rowsOfList() const;
    [[nodiscard]] static bool isSameRow(const Row &left, const Row &right);
    [[nodiscard]] static std::vector<QStringView> keysOf(std::span<const Row> rows);
    [[nodiscard]] std::vector<SequenceEdit> stepsTo(const Rows &target) const;
    void takeSteps(const Rows &target);
    void announceContents(const Rows &before, const Counts &previousCounts);
    [[nodiscard]] bool hasChanged(std::size_t row, const Rows &before, const Counts &previousCounts) const;
    [[nodiscard]] QVariant titleData(DeploymentSectionKind section, int role) const;
    [[nodiscard]] QVariant deploymentData(const DeploymentSnapshot &deployment, int role) const;

    Clock *m_clock;
    QList<DeploymentSnapshot> m_deployments;
    Rows m_rows;
    Counts m_counts{};
    std::size_t m_firstWatched = 0;
    std::size_t m_lastWatched = std::numeric_limits<std::size_t>::max();
};

} // namespace velmora
