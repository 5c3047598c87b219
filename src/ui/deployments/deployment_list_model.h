// SPDX-License-Identifier: MIT
#pragma once

#include "model/shared_deployment.h"
#include "monitor/failure_marks.h"
#include "presentation/deployment_sections.h"
#include "support/clock.h"
#include "ui/controls/keyed_list_model.h"

#include <array>
#include <vector>

namespace velmora
{

/// The deployments as rows: for each section that is not empty, a header and the deployments below it. Those below the
/// header of what is hidden are rows only while showsHidden(). Texts are made when a view asks for them.
class DeploymentListModel final : public KeyedListModel
{
    Q_OBJECT

public:
    /// The clock is not owned and outlives the model.
    explicit DeploymentListModel(Clock *clock, QObject *parent = nullptr);

    /// Shows another list, which must be filtered and ordered and hold each id once, with its marks, and what is hidden
    /// of it. Announces one change of layout, unless it is the same list; persistent indexes stay with their
    /// deployment.
    void setDeployments(
        const DeploymentList &deployments, const FailureMarks &marks = {}, const MarkedDeployments &hidden = {});

    /// Whether what is hidden has rows. Ends when nothing is hidden.
    [[nodiscard]] bool showsHidden() const { return m_showsHidden; }
    void setShowsHidden(bool shows);

    /// The deployment of a row; null for a header. Valid until the next setDeployments().
    [[nodiscard]] const DeploymentSnapshot *deployment(int row) const;
    [[nodiscard]] FailureMark mark(const DeploymentSnapshot &deployment) const;
    [[nodiscard]] bool isHeader(int row) const { return !rowAt(row).deployment; }
    [[nodiscard]] DeploymentSectionKind section(int row) const { return rowAt(row).section; }
    /// The title of the section, which has the number of what is hidden.
    [[nodiscard]] QString title(DeploymentSectionKind section) const;
    /// The number beside the section's title: of its deployments that count. Of Hidden, which no number stands beside,
    /// that of all.
    [[nodiscard]] qsizetype count(DeploymentSectionKind section) const;
    /// The ids of the failures that are not dismissed.
    [[nodiscard]] QSet<QString> undismissed() const;
    /// Whether there is one.
    [[nodiscard]] bool hasUndismissed() const;
    /// The rows of the headers, ascending.
    [[nodiscard]] std::vector<int> headerRows() const;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;

protected:
    [[nodiscard]] QStringView key(int row) const override;
    [[nodiscard]] std::size_t keyHash(int row) const override;

private:
    struct Row {
        const SharedDeployment *deployment = nullptr;
        DeploymentSectionKind section = DeploymentSectionKind::Completed;
    };

    [[nodiscard]] Row rowAt(int row) const;
    [[nodiscard]] bool hasHeader(DeploymentSectionKind section) const;
    void fillSections();
    [[nodiscard]] QVariant titleData(DeploymentSectionKind section, int role) const;
    [[nodiscard]] QString keysOf(const DeploymentSnapshot &deployment) const;
    [[nodiscard]] QVariant deploymentData(const DeploymentSnapshot &deployment, int role) const;

    Clock *m_clock;
    DeploymentList m_deployments;
    FailureMarks m_marks;
    MarkedDeployments m_hidden;
    bool m_showsHidden = false;
    std::array<std::vector<const SharedDeployment *>, 4> m_sections; ///< of m_deployments, and of m_hidden if shown
};

} // namespace velmora
