// SPDX-License-Identifier: MIT
#include "ui/window/menu_bar_view.h"

#include "accounts/authentication_store.h"
#include "accounts/installation_page.h"
#include "installations/installation_store.h"
#include "monitor/deployment_monitor.h"
#include "platform/url_opener.h"
#include "presentation/muting_texts.h"
#include "presentation/relative_time.h"
#include "presentation/status_text.h"
#include "ui/controls/age_ticker.h"
#include "ui/controls/empty_state_view.h"
#include "ui/controls/message_row.h"
#include "ui/controls/progress_spinner.h"
#include "ui/controls/separator.h"
#include "ui/controls/text_label.h"
#include "ui/controls/unopened_page_row.h"
#include "ui/deployments/deployment_list_view.h"
#include "ui/deployments/row_metrics.h"
#include "ui/window/deployment_finder.h"
#include "ui/window/device_code_panel.h"
#include "ui/window/menu_bar_header.h"
#include "ui/window/refresh_keys.h"

#include <QApplication>
#include <QHideEvent>
#include <QKeyEvent>
#include <QPushButton>
#include <QShortcut>
#include <QToolButton>
#include <QVBoxLayout>

#include <array>

namespace velmora
{

namespace
{

constexpr std::array kContents{MenuBarContent::CodePanel, MenuBarContent::ConnectionPrompt, MenuBarContent::Loading,
    MenuBarContent::List, MenuBarContent::NotInstalled, MenuBarContent::NoAccess, MenuBarContent::NothingSelected,
    MenuBarContent::NoDeployments};
constexpr int kListHeight = 360;
constexpr int kContentHeight = 240;
constexpr int kWidth = 360;
/// With a large font the window is this many line heights wide instead.
constexpr int kWidthInLines = 20;
constexpr int kSpinnerSide = 28;
constexpr int kFooterMargin = 8;

} // namespace

MenuBarView::MenuBarView(const Stores &stores, const DesktopPorts &ports, QWidget *parent)
    : QWidget(parent)
    , m_stores(stores)
    , m_ports(ports)
    , m_header(new MenuBarHeader(ports.applicationName, this))
    , m_unsaved(new MessageRow(TextSize::Caption, Tone::Red, this))
    , m_unopened(new UnopenedPageRow(ports.urlOpener, ports.pasteboard, this))
    , m_updateTime(new AgeTicker(ports.clock, this))
{
    makeContents();
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_header);
    m_unsaved->setContentsMargins(kRowMargin, 0, kRowMargin, kRowMargin);
    layout->addWidget(m_unsaved);
    m_unopened->setContentsMargins(kRowMargin, 0, kRowMargin, kRowMargin);
    layout->addWidget(m_unopened);
    layout->addWidget(new Separator(this));
    for (const MenuBarContent content : kContents) {
        contentWidget(content)->hide();
        layout->addWidget(contentWidget(content));
    }
    layout->addWidget(new Separator(this));
    layout->addWidget(makeFooter());
    adoptFont();
    addShortcuts();
    connectStores();
    showStores();
}

/// Cancelling makes the stores emit; do it while the members still exist.
MenuBarView::~MenuBarView()
{
    m_isShown = false;
    m_work.cancelAll();
}

void MenuBarView::makeContents()
{
    m_codePanel = new DeviceCodePanel(m_stores.authentication, m_ports, DeviceCodePanel::Arrangement::Column, this);
    m_connectionPrompt
        = new EmptyStateView({QStringLiteral("person.crop.circle.badge.plus"), QStringLiteral("Connect GitHub"),
                                 QStringLiteral("Connect a GitHub account, then choose the personal account or "
                                                "organisation where Velmora should be installed."),
                                 QStringLiteral("Add GitHub account")},
            this);
    connect(m_connectionPrompt->button(), &QPushButton::clicked, m_stores.authentication,
        &AuthenticationStore::startConnecting);
    m_loading = makeLoadingView();
    auto *list = new DeploymentListView(m_ports);
    connect(list, &DeploymentListView::dismissalChosen, m_stores.monitor, &DeploymentMonitor::setDismissed);
    list->offerMuting(&m_stores.monitor->announcements().muted());
    list->offerChoices(&m_stores.monitor->environments());
    m_list = new DeploymentFinder(list, this);
    makeMissingSteps();
    m_noDeployments = new EmptyStateView(
        {QStringLiteral("checkmark.circle"), noDeploymentsText(), noDeploymentsExplanation()}, this);
    for (const MenuBarContent content : kContents)
        contentWidget(content)->setMinimumHeight(kContentHeight);
    m_list->setFixedHeight(kListHeight);
}

/// The views that name the next step after an account is connected.
void MenuBarView::makeMissingSteps()
{
    m_notInstalled = new EmptyStateView(
        {QStringLiteral("arrow.up.circle.dotted"), QStringLiteral("Install Velmora"),
            QStringLiteral(
                "Your account is connected. Choose the personal account or organisation where Velmora should be "
                "installed; its deployments then appear here."),
            QStringLiteral("Install on GitHub")},
        this);
    m_noAccess = new EmptyStateView({QStringLiteral("questionmark.circle"), QStringLiteral("No repositories granted"),
                                        QString(), QStringLiteral("Manage on GitHub")},
        this);
    m_nothingSelected
        = new EmptyStateView({QStringLiteral("folder"), QStringLiteral("No repositories selected"),
                                 QStringLiteral("Velmora is installed, but every repository is switched off."),
                                 QStringLiteral("Choose repositories")},
            this);
    for (const EmptyStateView *view : {m_notInstalled, m_noAccess})
        connect(view->button(), &QPushButton::clicked, this, [this] { m_stores.installationPage->open(); });
    connect(m_nothingSelected->button(), &QPushButton::clicked, this, &MenuBarView::repositoriesRequested);
}

QWidget *MenuBarView::makeLoadingView()
{
    const QString text = loadingDeploymentsText();
    auto *view = new QWidget(this);
    auto *label = new TextLabel(TextSize::Body, TextLabel::Overflow::Elide, view);
    label->setText(text);
    label->setTone(Tone::Secondary);
    label->setAlignment(Qt::AlignHCenter);
    auto *layout = new QVBoxLayout(view);
    layout->setSpacing(kRowGap);
    layout->addStretch();
    layout->addWidget(new ProgressSpinner(text, kSpinnerSide, view), 0, Qt::AlignHCenter);
    layout->addWidget(label);
    layout->addStretch();
    return view;
}

QWidget *MenuBarView::makeFooter()
{
    auto *footer = new QWidget(this);
    m_updated = new TextLabel(TextSize::Caption, TextLabel::Overflow::Elide, footer);
    m_updated->setTone(Tone::Secondary);
    auto *quit = new QToolButton(footer);
    quit->setText(QStringLiteral("Quit"));
    quit->setAutoRaise(true);
    connect(quit, &QToolButton::clicked, this, &MenuBarView::quitRequested);
    auto *line = new QHBoxLayout;
    line->addWidget(m_updated, 1);
    line->addWidget(quit);
    auto *layout = new QVBoxLayout(footer);
    layout->setContentsMargins(kRowMargin, kFooterMargin, kFooterMargin + 4, kFooterMargin);
    layout->setSpacing(0);
    layout->addWidget(makePauseRow());
    layout->addLayout(line);
    return footer;
}

/// Says until when notifications are paused, and resumes them.
QWidget *MenuBarView::makePauseRow()
{
    m_pauseRow = new QWidget(this);
    m_pause = new TextLabel(TextSize::Caption, TextLabel::Overflow::Elide, m_pauseRow);
    auto *resume = new QToolButton(m_pauseRow);
    resume->setText(QStringLiteral("Resume"));
    resume->setAutoRaise(true);
    connect(resume, &QToolButton::clicked, this, [this] { m_stores.monitor->announcements().pause().resume(); });
    auto *layout = new QHBoxLayout(m_pauseRow);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_pause, 1);
    layout->addWidget(resume);
    return m_pauseRow;
}

void MenuBarView::connectStores()
{
    connect(m_updateTime, &AgeTicker::ticked, this, &MenuBarView::showUpdateTime);
    connect(m_header, &MenuBarHeader::settingsRequested, this, &MenuBarView::settingsRequested);
    connect(m_header, &MenuBarHeader::refreshRequested, this, &MenuBarView::refresh);
    connect(m_header, &MenuBarHeader::closeRequested, this, &MenuBarView::closeRequested);
    connect(m_stores.monitor, &DeploymentMonitor::changed, this, &MenuBarView::followStores);
    connect(m_stores.authentication, &AuthenticationStore::sessionsChanged, this, &MenuBarView::followStores);
    connect(m_stores.authentication, &AuthenticationStore::lockedChanged, this, &MenuBarView::followStores);
    connect(m_stores.authentication, &AuthenticationStore::connectionChanged, this, &MenuBarView::followStores);
}

void MenuBarView::addShortcuts()
{
    const auto add = [this](const QKeySequence &keys) {
        return new QShortcut(keys, this);
    };
    onRefreshKeys(this, [this] { refresh(); });
    connect(add(QKeySequence::Find), &QShortcut::activated, this, [this] {
        if (m_content == MenuBarContent::List)
            m_list->find();
    });
    connect(add(Qt::CTRL | Qt::Key_Comma), &QShortcut::activated, this, &MenuBarView::settingsRequested);
    connect(add(Qt::CTRL | Qt::Key_Q), &QShortcut::activated, this, &MenuBarView::quitRequested);
}

void MenuBarView::adoptFont()
{
    setFixedWidth(std::max(kWidth, QFontMetrics(font()).height() * kWidthInLines));
}

QWidget *MenuBarView::contentWidget(MenuBarContent content) const
{
    switch (content) {
    case MenuBarContent::CodePanel:
        return m_codePanel;
    case MenuBarContent::ConnectionPrompt:
        return m_connectionPrompt;
    case MenuBarContent::Loading:
        return m_loading;
    case MenuBarContent::List:
        return m_list;
    case MenuBarContent::NotInstalled:
        return m_notInstalled;
    case MenuBarContent::NoAccess:
        return m_noAccess;
    case MenuBarContent::NothingSelected:
        return m_nothingSelected;
    case MenuBarContent::NoDeployments:
        return m_noDeployments;
    }
    Q_UNREACHABLE();
}

void MenuBarView::followStores()
{
    if (m_isShown)
        showStores();
}

void MenuBarView::showStores()
{
    const auto &monitor = *m_stores.monitor;
    const auto &authentication = *m_stores.authentication;
    m_header->setStatus(
        statusText(monitor.state(), monitor.deployments()), statusExplanation(monitor.state(), monitor.message()));
    m_header->setLocked(authentication.isLocked());
    m_unsaved->setMessage(monitor.unsaved());
    m_connectionPrompt->button()->setEnabled(canStartConnecting(authentication.connectionState()));
    m_connectionPrompt->setError(authentication.errorMessage().value_or(QString()));
    m_noAccess->setDescription(noAccessDescription(m_stores.installations->installations()));
    m_list->setDeployments(monitor.deployments(), monitor.marks(), monitor.hidden());
    showContent(menuBarContent({authentication.pendingAuthorization().has_value(), !authentication.sessions().isEmpty(),
        monitor.state(), !monitor.deployments().isEmpty() || !monitor.hidden().deployments.isEmpty()}));
    showPause();
    showUpdateTime();
}

void MenuBarView::showPause()
{
    const auto pause = m_stores.monitor->announcements().pause().term();
    const QString text = pausedText(pause, m_ports.clock->now());
    // Hiding the focused button would move the focus to the next control, Quit.
    if (!pause && m_pauseRow->isAncestorOf(QApplication::focusWidget())) {
        if (m_content == MenuBarContent::List)
            m_list->focusDeployments();
        else
            setFocus(Qt::OtherFocusReason);
    }
    m_pauseRow->setVisible(pause.has_value());
    if (m_pause->text() != text)
        m_pause->setText(text);
}

void MenuBarView::showContent(MenuBarContent content)
{
    QWidget *previous = contentWidget(m_content);
    QWidget *next = contentWidget(content);
    m_content = content;
    // Hiding the focused widget would move the focus to the next control, Quit. Take it here; the list gets it when
    // shown.
    if (previous != next && previous->isAncestorOf(QApplication::focusWidget()))
        setFocus(Qt::OtherFocusReason);
    if (previous != next)
        previous->hide();
    next->show();
    if (next == m_list && hasFocus())
        m_list->focusDeployments();
}

void MenuBarView::showUpdateTime()
{
    const auto updatedAt = shownUpdateTime(m_stores.monitor->state());
    const Instant now = m_ports.clock->now();
    const QString text = updatedText(updatedAt, now);
    if (m_updated->text() != text)
        m_updated->setText(text);
    const bool hasAge = updatedAt && m_isShown;
    m_updateTime->waitFor(hasAge ? std::optional(nextRelativeTimeChange(*updatedAt, now)) : std::nullopt);
}

void MenuBarView::setFrame(FramedWindow::Frame frame)
{
    m_header->setTitleShown(frame != FramedWindow::Frame::Desktop);
    m_header->setCloseOffered(frame == FramedWindow::Frame::Window);
}

void MenuBarView::setNotice(const QString &notice)
{
    m_header->setNotice(notice);
}

void MenuBarView::setRefreshing(bool isRefreshing)
{
    m_isRefreshing = isRefreshing;
    m_header->setRefreshing(isRefreshing);
}

void MenuBarView::refresh()
{
    if (m_isRefreshing)
        return;
    setRefreshing(true);
    m_work.launch(refreshEverything(m_work.stopToken()), "Refreshing");
}

QCoro::Task<> MenuBarView::refreshEverything(std::stop_token stop)
{
    const QPointer<MenuBarView> self(this);
    co_await m_stores.authentication->unlock();
    if (!self || stop.stop_requested())
        co_return;
    co_await m_stores.installations->refresh(m_stores.authentication, stop);
    if (!self || stop.stop_requested())
        co_return;
    co_await m_stores.monitor->refreshAll(m_stores.authentication, m_stores.installations, m_ports.clock->now());
    if (self)
        setRefreshing(false);
}

QCoro::Task<> MenuBarView::loadInstallations(std::stop_token stop)
{
    const QPointer<MenuBarView> self(this);
    m_isLoadingInstallations = true;
    co_await m_stores.installations->refresh(m_stores.authentication, stop);
    if (self)
        m_isLoadingInstallations = false;
}

void MenuBarView::showEvent(QShowEvent *event)
{
    m_isShown = true;
    showStores();
    QWidget::showEvent(event);
    if (m_content == MenuBarContent::List)
        m_list->focusDeployments();
    const auto &installations = *m_stores.installations;
    if (!m_isLoadingInstallations && !m_isRefreshing
        && needsInstallations(installations.state(), installations.lastRefreshedAt()))
        m_work.launch(loadInstallations(m_work.stopToken()), "Loading the installations");
    else
        m_work.launch(m_stores.monitor->refreshExpected(m_stores.authentication, m_stores.installations),
            "Looking for new installations");
}

void MenuBarView::hideEvent(QHideEvent *event)
{
    m_isShown = false;
    m_updateTime->waitFor(std::nullopt);
    // Dropped, so that a hidden window holds no memory and opens at the top of the list.
    if (!event->spontaneous()) {
        m_list->setDeployments({}, {});
        m_ports.urlOpener->forgetUnopened();
    }
    QWidget::hideEvent(event);
}

void MenuBarView::keyPressEvent(QKeyEvent *event)
{
    if (m_content != MenuBarContent::List || !m_list->takeKey(*event))
        QWidget::keyPressEvent(event);
}

bool MenuBarView::event(QEvent *event)
{
    const bool isHandled = QWidget::event(event);
    // A window does not follow the size hint of its content, so the view fixes its own height to it.
    if (event->type() == QEvent::LayoutRequest)
        setFixedHeight(sizeHint().height());
    return isHandled;
}

QSize MenuBarView::sizeHint() const
{
    const int width = minimumWidth();
    const bool wraps = layout()->hasHeightForWidth();
    return {width, wraps ? layout()->totalHeightForWidth(width) : layout()->totalSizeHint().height()};
}

void MenuBarView::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::ApplicationFontChange) {
        adoptFont();
        updateGeometry();
    } else if (event->type() == QEvent::LocaleChange) {
        followStores();
    }
}

} // namespace velmora
