// SPDX-License-Identifier: MIT
#include "ui/settings/repositories/repositories_settings_view.h"

#include "installations/installation_store.h"
#include "presentation/repositories_settings_texts.h"
#include "ui/controls/busy_button.h"
#include "ui/controls/message_row.h"
#include "ui/controls/progress_spinner.h"
#include "ui/controls/search_field.h"
#include "ui/settings/repositories/repository_list_model.h"
#include "ui/settings/repositories/repository_list_view.h"

#include <QPushButton>
#include <QVBoxLayout>

namespace velmora
{

namespace
{

using Texts = RepositoriesSettingsTexts;

constexpr int kGap = 8;
constexpr int kSpinner = 24;

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

} // namespace

RepositoriesSettingsView::RepositoriesSettingsView(AuthenticationStore *authentication,
    InstallationStore *installations, MutedRepositories *muted, const Clock *clock, QWidget *parent)
    : SearchedPage({Texts::title(), Texts::subtitle(), Texts::search()}, parent)
    , m_authentication(authentication)
    , m_installations(installations)
    , m_model(new RepositoryListModel(installations, muted, clock, this))
    , m_refresh(new BusyButton(QStringLiteral("arrow.clockwise"), Texts::refresh()))
    , m_enableAll(new QPushButton(Texts::enableAll()))
    , m_disableAll(new QPushButton(Texts::disableAll()))
    , m_loading(makeLoading())
    , m_warning(new MessageRow(TextSize::Caption, Tone::Orange))
{
    compose(new RepositoryListView(m_model), {m_enableAll, m_disableAll}, m_refresh);
    addInstead(m_loading);
    addBelow(m_warning);
    connectControls();
    showRepositories();
    showState();
}

void RepositoriesSettingsView::connectControls()
{
    connect(m_refresh, &QPushButton::clicked, this, &RepositoriesSettingsView::refresh);
    connect(search(), &QLineEdit::textChanged, this, [this](const QString &text) {
        m_model->setSearch(text);
        showArea();
    });
    connect(m_enableAll, &QPushButton::clicked, this, [this] { m_installations->setAllRepositories(true); });
    connect(m_disableAll, &QPushButton::clicked, this, [this] { m_installations->setAllRepositories(false); });
    connect(
        m_installations, &InstallationStore::repositoriesChanged, this, &RepositoriesSettingsView::showRepositories);
    connect(m_installations, &InstallationStore::stateChanged, this, &RepositoriesSettingsView::showState);
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
        search()->setFocus(Qt::OtherFocusReason);
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
        return showInstead(m_loading);
    case RepositoriesContent::NoResults:
        return showNothing(Texts::noResults(), QString());
    case RepositoriesContent::List:
        return showList();
    }
}

} // namespace velmora
