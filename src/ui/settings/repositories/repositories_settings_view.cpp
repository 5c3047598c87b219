// SPDX-License-Identifier: MIT
#include "ui/settings/repositories/repositories_settings_view.h"

#include "installations/installation_store.h"
#include "presentation/repositories_settings_texts.h"
#include "ui/controls/busy_button.h"
#include "ui/controls/card.h"
#include "ui/controls/empty_state_view.h"
#include "ui/controls/message_row.h"
#include "ui/controls/progress_spinner.h"
#include "ui/controls/scrolling_page.h"
#include "ui/controls/search_field.h"
#include "ui/settings/repositories/repository_list_model.h"
#include "ui/settings/repositories/repository_list_view.h"
#include "ui/settings/settings_header.h"

#include <QKeyEvent>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace velmora
{

namespace
{

using Texts = RepositoriesSettingsTexts;

constexpr int kPadding = 20;
constexpr int kSpacing = 10;
constexpr int kGap = 8;
constexpr int kSpinner = 24;
constexpr int kLeastArea = 120;
constexpr int kListPadding = 4;

QWidget *makeLoading()
{
    auto *loading = new QWidget;
    auto *label = new TextLabel(TextSize::Body);
    label->setTone(Tone::Secondary);
    label->setText(Texts::loading());
    auto *layout = new QVBoxLayout(loading);
    layout->setSpacing(kGap);
    layout->addStretch();
    layout->addWidget(new ProgressSpinner(Texts::loading(), kSpinner), 0, Qt::AlignHCenter);
    layout->addWidget(label, 0, Qt::AlignHCenter);
    layout->addStretch();
    return loading;
}

QWidget *makeResults(QWidget *list)
{
    auto *card = new Card(kListPadding);
    card->addRow(list);
    return card;
}

} // namespace

RepositoriesSettingsView::RepositoriesSettingsView(AuthenticationStore *authentication,
    InstallationStore *installations, MutedRepositories *muted, const Clock *clock, QWidget *parent)
    : QWidget(parent)
    , m_authentication(authentication)
    , m_installations(installations)
    , m_model(new RepositoryListModel(installations, muted, clock, this))
    , m_refresh(new BusyButton(QStringLiteral("arrow.clockwise"), Texts::refresh()))
    , m_search(new SearchField(Texts::search()))
    , m_enableAll(new QPushButton(Texts::enableAll()))
    , m_disableAll(new QPushButton(Texts::disableAll()))
    , m_area(new QStackedWidget)
    , m_loading(makeLoading())
    , m_noResults(new EmptyStateView({QStringLiteral("magnifyingglass"), QString(), QString()}))
    , m_list(new RepositoryListView(m_model))
    , m_warning(new MessageRow(TextSize::Caption, Tone::Orange))
{
    m_list->setAccessibleName(Texts::title());
    m_results = makeResults(m_list);
    for (QWidget *content : {m_loading, static_cast<QWidget *>(m_noResults), m_results})
        m_area->addWidget(content);
    m_area->setMinimumHeight(kLeastArea);

    auto *page = new ScrollingPage(this);
    page->setContent(makeContent());
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(page);
    setFocusProxy(m_search);
    connectControls();
    connectKeys();
    showRepositories();
    showState();
}

QWidget *RepositoriesSettingsView::makeContent()
{
    auto *row = new QHBoxLayout;
    row->setSpacing(kGap);
    row->addWidget(m_search, 1);
    row->addWidget(m_enableAll);
    row->addWidget(m_disableAll);

    auto *content = new QWidget;
    auto *layout = new QVBoxLayout(content);
    layout->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    layout->setSpacing(kSpacing);
    layout->addWidget(new SettingsHeader(Texts::title(), Texts::subtitle(), m_refresh));
    layout->addLayout(row);
    layout->addWidget(m_area, 1);
    layout->addWidget(m_warning);
    return content;
}

void RepositoriesSettingsView::connectControls()
{
    connect(m_refresh, &QPushButton::clicked, this, &RepositoriesSettingsView::refresh);
    connect(m_search, &QLineEdit::textChanged, this, [this](const QString &text) {
        m_model->setSearch(text);
        showArea();
    });
    connect(m_enableAll, &QPushButton::clicked, this, [this] { m_installations->setAllRepositories(true); });
    connect(m_disableAll, &QPushButton::clicked, this, [this] { m_installations->setAllRepositories(false); });
    connect(m_search, &SearchField::leftAtBottom, m_list, &RepositoryListView::focusRow);
    connect(m_list, &RepositoryListView::leftAtTop, this, [this] { m_search->setFocus(Qt::OtherFocusReason); });
    connect(
        m_installations, &InstallationStore::repositoriesChanged, this, &RepositoriesSettingsView::showRepositories);
    connect(m_installations, &InstallationStore::stateChanged, this, &RepositoriesSettingsView::showState);
}

void RepositoriesSettingsView::connectKeys()
{
    auto *find = new QShortcut(QKeySequence::Find, this);
    find->setContext(Qt::WidgetWithChildrenShortcut);
    connect(find, &QShortcut::activated, m_search, [this] {
        m_search->setFocus(Qt::ShortcutFocusReason);
        m_search->selectAll();
    });
}

void RepositoriesSettingsView::keyPressEvent(QKeyEvent *event)
{
    const bool isCommand = event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    const bool isText = !event->text().isEmpty() && event->text().at(0).isPrint();
    if (!isCommand && (isText || event->key() == Qt::Key_Backspace))
        return m_search->typeKey(*event);
    QWidget::keyPressEvent(event);
}

void RepositoriesSettingsView::refresh()
{
    if (repositoryRefreshIsInProgress(m_isRefreshing, m_installations->state()))
        return;
    setRefreshing(true);
    m_work.launch(refreshStore(this, m_authentication, m_installations, m_work.stopToken()), "Refreshing repositories");
}

QCoro::Task<> RepositoriesSettingsView::refreshStore(QPointer<RepositoriesSettingsView> view,
    AuthenticationStore *authentication, InstallationStore *installations, std::stop_token stop)
{
    co_await authentication->unlock();
    if (!view || stop.stop_requested())
        co_return;
    co_await installations->refresh(authentication, stop);
    // A stop is requested by the destructor, when `view` is not null yet but must not be used.
    if (view && !stop.stop_requested())
        view->setRefreshing(false);
}

void RepositoriesSettingsView::setRefreshing(bool isRefreshing)
{
    m_isRefreshing = isRefreshing;
    showState();
}

void RepositoriesSettingsView::showState()
{
    const InstallationLoadingState &state = m_installations->state();
    const bool isBusy = repositoryRefreshIsInProgress(m_isRefreshing, state);
    // Disabling the focused button moves the focus to an arbitrary widget; the search field is more useful.
    if (isBusy && m_refresh->hasFocus())
        m_search->setFocus(Qt::OtherFocusReason);
    m_refresh->setBusy(isBusy);
    m_refresh->setEnabled(!isBusy);
    m_refresh->setToolTip(isBusy ? Texts::refreshingHelp() : Texts::refreshHelp());
    m_warning->setMessage(repositoriesWarning(state).value_or(QString()));
    showArea();
}

void RepositoriesSettingsView::showRepositories()
{
    const auto &repositories = m_installations->repositories();
    m_enableAll->setEnabled(canEnableAll(repositories));
    m_disableAll->setEnabled(canDisableAll(repositories));
    showArea();
}

void RepositoriesSettingsView::showArea()
{
    const auto content = repositoriesContent(
        m_installations->state(), !m_installations->repositories().isEmpty(), m_model->rowCount() > 0);
    switch (content) {
    case RepositoriesContent::Loading:
        return m_area->setCurrentWidget(m_loading);
    case RepositoriesContent::NoResults:
        m_noResults->setTitle(noResultsTitle(m_model->search()));
        m_noResults->setDescription(m_model->search().isEmpty() ? QString() : Texts::noResultsHelp());
        return m_area->setCurrentWidget(m_noResults);
    case RepositoriesContent::List:
        return m_area->setCurrentWidget(m_results);
    }
}

} // namespace velmora
