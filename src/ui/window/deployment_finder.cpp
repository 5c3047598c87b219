// SPDX-License-Identifier: MIT
#include "ui/window/deployment_finder.h"

#include "presentation/repositories_presentation.h"
#include "presentation/repositories_settings_texts.h"
#include "ui/controls/empty_state_view.h"
#include "ui/controls/search_field.h"
#include "ui/controls/text_label.h"
#include "ui/deployments/deployment_list_view.h"
#include "ui/deployments/row_metrics.h"

#include <QAccessible>
#include <QApplication>
#include <QHideEvent>
#include <QKeyEvent>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace velmora
{

DeploymentFinder::DeploymentFinder(DeploymentListView *list, QWidget *parent)
    : QWidget(parent)
    , m_list(list)
    , m_field(new SearchField(findDeploymentsText()))
    , m_hits(new TextLabel(TextSize::Caption))
    , m_row(makeSearchRow())
    , m_area(new QStackedWidget)
    , m_nothing(new EmptyStateView({QStringLiteral("magnifyingglass"), QString(),
          RepositoriesSettingsTexts::noResultsHelp(), showAllDeploymentsText()}))
{
    m_area->addWidget(m_list);
    m_area->addWidget(m_nothing);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_row);
    layout->addWidget(m_area, 1);
    m_row->hide();
    connect(m_field, &QLineEdit::textChanged, this, &DeploymentFinder::search);
    connect(m_field, &SearchField::leftAtBottom, m_list, &DeploymentListView::focusFirstRow);
    connect(m_field, &QLineEdit::returnPressed, m_list, &DeploymentListView::focusFirstRow);
    connect(m_list, &DeploymentListView::leftAtTop, this, [this] {
        if (m_row->isVisible())
            m_field->setFocus(Qt::OtherFocusReason);
    });
    connect(m_nothing->button(), &QPushButton::clicked, this, &DeploymentFinder::showAll);
}

QWidget *DeploymentFinder::makeSearchRow()
{
    m_hits->setTone(Tone::Secondary);
    auto *row = new QWidget;
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(kRowMargin, kRowGap, kRowMargin, kRowGap);
    layout->setSpacing(kRowGap);
    layout->addWidget(m_field, 1);
    layout->addWidget(m_hits);
    return row;
}

void DeploymentFinder::setDeployments(
    const DeploymentList &deployments, const FailureMarks &marks, const MarkedDeployments &hidden)
{
    m_marks = marks;
    m_hidden = hidden;
    if (!deployments.isSharedWith(m_all)) {
        m_all = deployments;
        m_found = m_search.found(m_all);
    }
    showFound();
}

void DeploymentFinder::search(const QString &text)
{
    const DeploymentSearch next(text);
    // What goes on finds nothing that was not found before.
    m_found = next.found(next.narrows(m_search) ? m_found : m_all);
    m_search = next;
    showFound();
}

void DeploymentFinder::showFound()
{
    const DeploymentList hidden = m_search.found(m_hidden.deployments);
    if (m_search.findsAll())
        m_list->setDeployments(m_found, m_marks, m_hidden);
    else
        m_list->setDeployments(m_found, marksOf(m_found, m_marks), {hidden, marksOf(hidden, m_hidden.marks)});
    const bool isNothing = m_found.isEmpty() && hidden.isEmpty() && !m_search.findsAll();
    if (isNothing)
        m_nothing->setTitle(noResultsTitle(m_search.text().simplified()));
    m_area->setCurrentWidget(isNothing ? static_cast<QWidget *>(m_nothing) : m_list);
    const QString hits = m_search.findsAll() ? QString() : foundText(m_found.size(), m_all.size());
    if (m_hits->text() == hits)
        return;
    const QString sentence = hits.isEmpty() ? QString() : foundSentence(m_found.size(), m_all.size());
    m_hits->setText(hits);
    m_hits->setAccessibleName(sentence);
    m_field->setAccessibleDescription(sentence);
    if (sentence.isEmpty())
        return;
    QAccessibleEvent event(m_hits, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

bool DeploymentFinder::takeKey(const QKeyEvent &event)
{
    if (event.key() == Qt::Key_Escape && event.modifiers() == Qt::NoModifier && m_row->isVisible()) {
        showAll();
        return true;
    }
    // These look for nothing by themselves.
    const bool isEmpty = event.key() == Qt::Key_Space || event.key() == Qt::Key_Backspace;
    if (!SearchField::isTyping(event) || (isEmpty && !m_row->isVisible()))
        return false;
    m_row->show();
    m_field->typeKey(event);
    return true;
}

void DeploymentFinder::focusDeployments()
{
    m_list->setFocus(Qt::OtherFocusReason);
}

void DeploymentFinder::find()
{
    m_row->show();
    m_field->setFocus(Qt::ShortcutFocusReason);
    m_field->selectAll();
}

void DeploymentFinder::showAll()
{
    // Hiding what has the focus would move the focus to the next control.
    if (isAncestorOf(QApplication::focusWidget()))
        focusDeployments();
    m_row->hide();
    m_field->clear();
}

void DeploymentFinder::hideEvent(QHideEvent *event)
{
    if (!event->spontaneous())
        showAll();
    QWidget::hideEvent(event);
}

} // namespace velmora
