// SPDX-License-Identifier: MIT
#include "ui/settings/searched_page.h"

#include "presentation/repositories_presentation.h"
#include "presentation/repositories_settings_texts.h"
#include "ui/controls/card.h"
#include "ui/controls/empty_state_view.h"
#include "ui/controls/scrolling_page.h"
#include "ui/controls/search_field.h"
#include "ui/controls/searched_list_view.h"
#include "ui/settings/settings_header.h"

#include <QKeyEvent>
#include <QShortcut>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace velmora
{

namespace
{

constexpr int kPadding = 20;
constexpr int kSpacing = 12;
constexpr int kGap = 8;
constexpr int kLeastArea = 120;
constexpr int kListPadding = 4;

QWidget *makeResults(QWidget *list)
{
    auto *card = new Card(kListPadding);
    card->addRow(list);
    return card;
}

} // namespace

SearchedPage::SearchedPage(const Heading &heading, QWidget *parent)
    : QWidget(parent)
    , m_heading(heading)
    , m_search(new SearchField(heading.search))
    , m_area(new QStackedWidget)
    , m_noResults(new EmptyStateView({QStringLiteral("magnifyingglass"), QString(), QString()}))
{
}

void SearchedPage::compose(SearchedListView *list, const QList<QWidget *> &controls, QWidget *button)
{
    list->setAccessibleName(m_heading.title);
    m_results = makeResults(list);
    for (QWidget *content : {m_results, static_cast<QWidget *>(m_noResults)})
        m_area->addWidget(content);
    m_area->setMinimumHeight(kLeastArea);

    auto *row = new QHBoxLayout;
    row->setSpacing(kGap);
    row->addWidget(m_search, 1);
    for (QWidget *control : controls)
        row->addWidget(control);
    auto *content = new QWidget;
    m_layout = new QVBoxLayout(content);
    m_layout->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    m_layout->setSpacing(kSpacing);
    m_layout->addWidget(new SettingsHeader(m_heading.title, m_heading.subtitle, button));
    m_layout->addLayout(row);
    m_layout->addWidget(m_area, 1);

    auto *page = new ScrollingPage(this);
    page->setContent(content);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(page);
    setFocusProxy(m_search);
    connectKeys(list);
}

void SearchedPage::connectKeys(SearchedListView *list)
{
    connect(m_search, &SearchField::leftAtBottom, list, &SearchedListView::focusRow);
    connect(list, &SearchedListView::leftAtTop, this, [this] { m_search->setFocus(Qt::OtherFocusReason); });
    auto *find = new QShortcut(QKeySequence::Find, this);
    find->setContext(Qt::WidgetWithChildrenShortcut);
    connect(find, &QShortcut::activated, m_search, [this] {
        m_search->setFocus(Qt::ShortcutFocusReason);
        m_search->selectAll();
    });
}

void SearchedPage::showList()
{
    m_area->setCurrentWidget(m_results);
}

void SearchedPage::showNothing(const QString &nothing, const QString &nothingHelp)
{
    const QString text = m_search->text();
    m_noResults->setTitle(text.isEmpty() ? nothing : noResultsTitle(text));
    m_noResults->setDescription(text.isEmpty() ? nothingHelp : RepositoriesSettingsTexts::noResultsHelp());
    m_area->setCurrentWidget(m_noResults);
}

void SearchedPage::addInstead(QWidget *content)
{
    m_area->addWidget(content);
}

void SearchedPage::showInstead(QWidget *content)
{
    m_area->setCurrentWidget(content);
}

void SearchedPage::addBelow(QWidget *widget)
{
    m_layout->addWidget(widget);
}

void SearchedPage::keyPressEvent(QKeyEvent *event)
{
    if (SearchField::isTyping(*event))
        return m_search->typeKey(*event);
    QWidget::keyPressEvent(event);
}

} // namespace velmora
