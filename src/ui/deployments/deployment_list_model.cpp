// SPDX-License-Identifier: MIT
#include "ui/deployments/deployment_list_model.h"

#include "presentation/row_presentation.h"

namespace velmora
{

namespace
{

constexpr std::array kSections{DeploymentSectionKind::InProgress, DeploymentSectionKind::Failed,
    DeploymentSectionKind::Completed, DeploymentSectionKind::Hidden};
/// Keys of the headers. No deployment identifier begins with a control character.
constexpr std::array<QStringView, 4> kHeaderKeys{
    u"\u0001in progress", u"\u0001failed", u"\u0001completed", u"\u0001hidden"};

constexpr std::size_t place(DeploymentSectionKind section)
{
    return static_cast<std::size_t>(section);
}

} // namespace

DeploymentListModel::DeploymentListModel(Clock *clock, QObject *parent)
    : KeyedListModel(parent)
    , m_clock(clock)
{
}

void DeploymentListModel::setDeployments(
    const DeploymentList &deployments, const FailureMarks &marks, const MarkedDeployments &hidden)
{
    m_marks = marks;
    m_hidden.marks = hidden.marks;
    const bool isSameHidden = hidden.deployments.isEmpty() ? m_hidden.deployments.isEmpty()
                                                           : hidden.deployments.isSharedWith(m_hidden.deployments);
    if (deployments.isSharedWith(m_deployments) && isSameHidden)
        return;
    replaceRows([&] {
        m_deployments = deployments;
        m_hidden.deployments = hidden.deployments;
        m_showsHidden = m_showsHidden && !hidden.deployments.isEmpty();
        fillSections();
    });
}

void DeploymentListModel::setShowsHidden(bool shows)
{
    if (shows == m_showsHidden || m_hidden.deployments.isEmpty())
        return;
    replaceRows([&] {
        m_showsHidden = shows;
        fillSections();
    });
}

void DeploymentListModel::fillSections()
{
    for (auto &section : m_sections)
        section.clear();
    for (const auto &deployment : std::as_const(m_deployments))
        m_sections.at(place(sectionOf(deployment.state()))).push_back(&deployment);
    if (!m_showsHidden)
        return;
    for (const auto &deployment : std::as_const(m_hidden.deployments))
        m_sections.at(place(DeploymentSectionKind::Hidden)).push_back(&deployment);
}

bool DeploymentListModel::hasHeader(DeploymentSectionKind section) const
{
    return section == DeploymentSectionKind::Hidden ? !m_hidden.deployments.isEmpty()
                                                    : !m_sections.at(place(section)).empty();
}

DeploymentListModel::Row DeploymentListModel::rowAt(int row) const
{
    for (const auto section : kSections) {
        const auto &deployments = m_sections.at(place(section));
        const int rows = hasHeader(section) ? static_cast<int>(deployments.size()) + 1 : 0;
        if (row >= 0 && row < rows)
            return {row == 0 ? nullptr : deployments[static_cast<std::size_t>(row - 1)], section};
        row -= rows;
    }
    return {};
}

QStringView DeploymentListModel::key(int row) const
{
    const Row shown = rowAt(row);
    return shown.deployment ? QStringView((*shown.deployment)->id) : kHeaderKeys.at(place(shown.section));
}

std::size_t DeploymentListModel::keyHash(int row) const
{
    const Row shown = rowAt(row);
    return shown.deployment ? shown.deployment->idHash() : qHash(kHeaderKeys.at(place(shown.section)));
}

const DeploymentSnapshot *DeploymentListModel::deployment(int row) const
{
    const Row shown = rowAt(row);
    return shown.deployment ? &**shown.deployment : nullptr;
}

FailureMark DeploymentListModel::mark(const DeploymentSnapshot &deployment) const
{
    const auto found = m_marks.constFind(deployment.id);
    return found == m_marks.constEnd() ? m_hidden.marks.value(deployment.id) : *found;
}

QString DeploymentListModel::title(DeploymentSectionKind section) const
{
    return section == DeploymentSectionKind::Hidden ? hiddenText(count(section)) : sectionTitle(section);
}

qsizetype DeploymentListModel::count(DeploymentSectionKind section) const
{
    if (section == DeploymentSectionKind::Hidden)
        return m_hidden.deployments.size();
    const auto listed = static_cast<qsizetype>(m_sections.at(place(section)).size());
    return section == DeploymentSectionKind::Failed ? listed - uncounted(m_marks) : listed;
}

QSet<QString> DeploymentListModel::undismissed() const
{
    QSet<QString> ids;
    for (const SharedDeployment *failure : m_sections.at(place(DeploymentSectionKind::Failed))) {
        if (!mark(*failure).isDismissed)
            ids.insert((*failure)->id);
    }
    return ids;
}

bool DeploymentListModel::hasUndismissed() const
{
    const auto dismissed = std::ranges::count(m_marks, true, &FailureMark::isDismissed);
    return static_cast<qsizetype>(m_sections.at(place(DeploymentSectionKind::Failed)).size()) > dismissed;
}

std::vector<int> DeploymentListModel::headerRows() const
{
    std::vector<int> headers;
    int row = 0;
    for (const auto section : kSections) {
        if (!hasHeader(section))
            continue;
        headers.push_back(row);
        row += 1 + static_cast<int>(m_sections.at(place(section)).size());
    }
    return headers;
}

int DeploymentListModel::rowCount(const QModelIndex &parent) const
{
    if (parent.isValid())
        return 0;
    const auto headers = std::ranges::count_if(kSections, [this](auto section) { return hasHeader(section); });
    const auto shown = m_showsHidden ? m_hidden.deployments.size() : 0;
    return static_cast<int>(m_deployments.size() + shown + headers);
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
        return title(section);
    case Qt::AccessibleTextRole:
        return section == DeploymentSectionKind::Hidden
            ? title(section)
            : QStringLiteral("%1, %2").arg(title(section)).arg(count(section));
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
        return rowToolTip(deployment, m_clock->now(), mark(deployment));
    case Qt::AccessibleTextRole:
        return rowSentence(deployment, m_clock->now(), mark(deployment));
    case Qt::AccessibleDescriptionRole:
        return keysOf(deployment);
    default:
        return {};
    }
}

QString DeploymentListModel::keysOf(const DeploymentSnapshot &deployment) const
{
    QStringList keys{rowKeys(deployment)};
    const auto action = dismissal(deployment, mark(deployment));
    if (action && action->kind == RowActionKind::Dismiss)
        keys.append(dismissalKey());
    keys.removeAll(QString());
    return keys.join(QLatin1Char(' '));
}

Qt::ItemFlags DeploymentListModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    const Qt::ItemFlags all = Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    const bool isLine = isHeader(index.row()) && section(index.row()) != DeploymentSectionKind::Hidden;
    return isLine ? all : all | Qt::ItemIsSelectable;
}

} // namespace velmora
