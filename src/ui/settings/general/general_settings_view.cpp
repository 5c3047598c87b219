// SPDX-License-Identifier: MIT
#include "ui/settings/general/general_settings_view.h"

#include "platform/settings_page_opener.h"
#include "presentation/general_settings_texts.h"
#include "settings/general_settings_store.h"
#include "support/task_scope.h"
#include "ui/controls/card.h"
#include "ui/controls/scrolling_page.h"
#include "ui/controls/switch_control.h"

#include <QComboBox>
#include <QPushButton>
#include <QShowEvent>
#include <QVBoxLayout>
#include <QWheelEvent>

namespace velmora
{

namespace
{

using Texts = GeneralSettingsTexts;

constexpr int kPadding = 12;
constexpr int kSpacing = 8;
constexpr int kSectionGap = 12;

// The rows of the choice whose deployments are announced.
constexpr int kEverybodys = 0;
constexpr int kOnlyMine = 1;

/// A wheel over it scrolls the page, and chooses nothing by accident.
class ChoiceBox final : public QComboBox
{
protected:
    void wheelEvent(QWheelEvent *event) override { event->ignore(); }
};

TextLabel *explanation(const QString &text)
{
    auto *label = new TextLabel(TextSize::Caption, TextLabel::Overflow::Wrap);
    label->setTone(Tone::Secondary);
    label->setText(text);
    return label;
}

TextLabel *sectionHeader(const QString &text)
{
    auto *label = new TextLabel(TextSize::Body);
    label->setWeight(QFont::DemiBold);
    label->setText(text);
    return label;
}

} // namespace

GeneralSettingsView::GeneralSettingsView(
    GeneralSettingsStore *settings, SettingsPageOpener *pageOpener, QWidget *parent)
    : QWidget(parent)
    , m_settings(settings)
    , m_pageOpener(pageOpener)
    , m_failures(new SwitchControl(Texts::notifyFailures()))
    , m_successes(new SwitchControl(Texts::notifySuccesses()))
    , m_waiting(new SwitchControl(Texts::notifyWaiting()))
    , m_whose(new ChoiceBox)
    , m_ignoreMended(new SwitchControl(Texts::ignoreMended()))
    , m_launchAtLogin(new SwitchControl(Texts::launchAtLogin()))
    , m_openSettings(new QPushButton(Texts::openNotificationSettings()))
    , m_openFailure(explanation(QString()))
    , m_errorSection(new Card)
    , m_error(new MessageRow(TextSize::Body, Tone::Red))
{
    auto *page = new ScrollingPage(this);
    page->setContent(makeContent());
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(page);
    setFocusProxy(m_failures);
    connectControls();
    connect(m_settings, &GeneralSettingsStore::changed, this, &GeneralSettingsView::showSettings);
    showSettings();
}

QWidget *GeneralSettingsView::makeContent()
{
    auto *content = new QWidget;
    auto *layout = new QVBoxLayout(content);
    layout->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    layout->setSpacing(kSpacing);
    layout->addWidget(sectionHeader(Texts::notifications()));
    layout->addWidget(makeNotifications());
    layout->addSpacing(kSectionGap);
    layout->addWidget(sectionHeader(Texts::startup()));
    layout->addWidget(makeStartup());
    layout->addSpacing(kSectionGap);
    layout->addWidget(sectionHeader(Texts::failures()));
    layout->addWidget(makeFailures());
    layout->addSpacing(kSectionGap);
    m_errorSection->addRow(m_error);
    layout->addWidget(m_errorSection);
    layout->addStretch();
    return content;
}

Card *GeneralSettingsView::makeNotifications()
{
    auto *card = new Card;
    card->addRow(m_failures);
    card->addRow(m_successes);
    card->addRow(m_waiting);
    card->addRow(explanation(Texts::notificationsHelp()));
    m_openSettings->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    card->addRow(m_openSettings);
    card->addRow(m_openFailure);
    card->addRow(makeWhose());
    card->addRow(explanation(Texts::whoseHelp()));
    return card;
}

QWidget *GeneralSettingsView::makeWhose()
{
    auto *row = new QWidget;
    auto *title = new TextLabel(TextSize::Body);
    title->setText(Texts::whose());
    m_whose->addItems({Texts::everybodys(), Texts::onlyMine()});
    // Assistive technology takes the choice for the name.
    m_whose->setAccessibleDescription(Texts::whose());
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, kSpacing, 0, 0);
    layout->addWidget(title, 1);
    layout->addWidget(m_whose);
    return row;
}

Card *GeneralSettingsView::makeFailures()
{
    auto *card = new Card;
    card->addRow(m_ignoreMended);
    card->addRow(explanation(Texts::ignoreMendedHelp()));
    return card;
}

Card *GeneralSettingsView::makeStartup()
{
    auto *card = new Card;
    card->addRow(m_launchAtLogin);
    card->addRow(explanation(Texts::startupHelp()));
    return card;
}

void GeneralSettingsView::connectControls()
{
    const auto connectKind = [this](SwitchControl *control, DeploymentNotificationKind kind) {
        connect(control, &SwitchControl::clicked, this, [this, kind](bool enabled) {
            // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): it takes the captured view for null
            launch(switchNotifications(this, m_settings, enabled, kind), "Switching notifications");
        });
    };
    connectKind(m_failures, DeploymentNotificationKind::Failure);
    connectKind(m_successes, DeploymentNotificationKind::Success);
    connectKind(m_waiting, DeploymentNotificationKind::Waiting);
    connect(m_whose, &QComboBox::activated, this,
        [this](int choice) { m_settings->setNotifiesOnlyMine(choice == kOnlyMine); });
    connect(m_ignoreMended, &SwitchControl::clicked, m_settings, &GeneralSettingsStore::setIgnoresMendedFailures);
    connect(m_launchAtLogin, &SwitchControl::clicked, this, [this](bool enabled) {
        // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): it takes the captured view for null
        launch(switchLaunchAtLogin(this, m_settings, enabled), "Switching the start at login");
    });
    connect(m_openSettings, &QPushButton::clicked, this, &GeneralSettingsView::openNotificationSettings);
}

void GeneralSettingsView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (!event->spontaneous())
        m_settings->reloadLaunchAtLogin();
}

void GeneralSettingsView::refresh()
{
    m_settings->reloadLaunchAtLogin();
    launch(m_settings->retryPreparation(), "preparing notifications again");
}

void GeneralSettingsView::showSettings()
{
    m_failures->setChecked(m_settings->failureNotificationsEnabled());
    m_successes->setChecked(m_settings->successNotificationsEnabled());
    m_waiting->setChecked(m_settings->notificationsEnabled(DeploymentNotificationKind::Waiting));
    m_whose->setCurrentIndex(m_settings->notifiesOnlyMine() ? kOnlyMine : kEverybodys);
    m_ignoreMended->setChecked(m_settings->ignoresMendedFailures());
    m_launchAtLogin->setChecked(m_settings->launchAtLoginEnabled());
    const bool needsPermission = m_settings->notificationsRequireSystemPermission();
    m_openSettings->setVisible(needsPermission);
    if (!needsPermission)
        m_openFailure->setText(QString());
    m_openFailure->setVisible(!m_openFailure->text().isEmpty());
    m_error->setMessage(m_settings->errorMessage().value_or(QString()));
    m_errorSection->setVisible(m_settings->errorMessage().has_value());
}

void GeneralSettingsView::openNotificationSettings()
{
    const auto failure = m_pageOpener->openNotificationSettings();
    m_openFailure->setText(failure.value_or(QString()));
    m_openFailure->setVisible(failure.has_value());
}

QCoro::Task<> GeneralSettingsView::switchNotifications(
    QPointer<GeneralSettingsView> view, GeneralSettingsStore *settings, bool enabled, DeploymentNotificationKind kind)
{
    co_await settings->setNotificationsEnabled(enabled, kind);
    // The store emits nothing when it refuses without a change, so the switch is set back here.
    if (view)
        view->showSettings();
}

QCoro::Task<> GeneralSettingsView::switchLaunchAtLogin(
    QPointer<GeneralSettingsView> view, GeneralSettingsStore *settings, bool enabled)
{
    co_await settings->setLaunchAtLogin(enabled);
    if (view)
        view->showSettings();
}

} // namespace velmora
