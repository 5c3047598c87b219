// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"
#include "presentation/deployment_sections.h"
#include "support/clock.h"
#include "ui/controls/sequence_diff.h"

#include <QAbstractListModel>

#include <array>
#include <limits>
#include <span>
#include <vector>

namespace velmora
{

/// The deployments as rows: for each section that is not empty, a header and the deployments below it.
///
/// setDeployments() applies the difference in steps and never resets the model, so that persistent indexes stay with
/// their deployment. Texts are made when a view asks for them.
class DeploymentListModel final : public QAbstractListModel
{
    Q_OBJECT

public:
    /// The clock is not owned and outlives the model.
    explicit DeploymentListModel(Clock *clock, QObject *parent = nullptr);

    /// Shows another list, which must be filtered and ordered and hold each id once.
    void setDeployments(const QList<DeploymentSnapshot> &deployments);
    /// Sets which rows are visible; by default all. Changes within a row are announced only for these, because
    /// comparing twenty thousand hidden rows costs more than painting the visible ones. Rows that come, go or move, and
    /// headers, are always announced.
    void setWatchedRows(int first, int last);
    [[nodiscard]] const QList<DeploymentSnapshot> &deployments() const { return m_deployments; }

    /// The deployment of a row; null for a header. Valid until the next setDeployments().
    [[nodiscard]] const DeploymentSnapshot *deployment(int row) const;
    [[nodiscard]] bool isHeader(int row) const { return !deployment(row); }
    [[nodiscard]] DeploymentSectionKind section(int row) const;
    [[nodiscard]] qsizetype count(DeploymentSectionKind section) const;
    /// The rows of the headers, ascending.
    [[nodiscard]] std::vector<int> headerRows() const;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;

Q_SIGNALS:
    /// Emitted before the rows change in one or more steps.
    void updateStarted();
    /// Emitted after the last step.
    void updateFinished();

private:
    struct Row {
        const DeploymentSnapshot *deployment; ///< in the list on show, or, during an update, in the previous one
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
