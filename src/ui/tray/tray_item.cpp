// SPDX-License-Identifier: MIT
#include "ui/tray/tray_item.h"

#include "monitor/deployment_monitor.h"
#include "platform/status_item.h"
#include "presentation/muting_texts.h"
#include "presentation/status_text.h"
#include "support/clock.h"

#include <QStringList>

namespace velmora
{

namespace
{

enum Entry { Open = 1, Refresh, Settings, Quit, FirstSeparator, SecondSeparator, ThirdSeparator, Resume, FirstPause };

QList<StatusItem::MenuEntry> menuEntries(const QString &resume)
{
    const auto entry = [](int id, const QString &label) {
        return StatusItem::MenuEntry{id, label, true, false};
    };
    const auto separator = [](int id) {
        return StatusItem::MenuEntry{id, QString(), true, true};
    };
    QList<StatusItem::MenuEntry> pausing;
    if (!resume.isEmpty())
        pausing.append(entry(Resume, resume));
    for (const PauseChoice choice : kPauseChoices) {
        if (resume.isEmpty())
            pausing.append(entry(FirstPause + static_cast<int>(choice), pauseText(choice)));
    }
    // Some desktops open the menu on every click, so the action of a click comes first.
    return QList<StatusItem::MenuEntry>{
               entry(Open, QStringLiteral("Open Velmora")),
               separator(FirstSeparator),
               entry(Refresh, QStringLiteral("Refresh")),
               entry(Settings, QStringLiteral("Settings…")),
               separator(SecondSeparator),
           }
    + pausing
        + QList<StatusItem::MenuEntry>{
            separator(ThirdSeparator),
            entry(Quit, QStringLiteral("Quit")),
        };
}

QString countsInWords(const DeploymentMonitorPresentation &presentation)
{
    QStringList parts;
    if (presentation.activeCount > 0)
        parts.append(QStringLiteral("%1 in progress").arg(presentation.activeCount));
    if (presentation.failedCount > 0)
        parts.append(QStringLiteral("%1 failed").arg(presentation.failedCount));
    return parts.join(QStringLiteral(", "));
}

} // namespace

QString trayStatusLine(
    const DeploymentMonitorState &state, const DeploymentList &deployments, const FailureMarks &marks)
{
    const QString counts = countsInWords(presentation(state, deployments, marks));
    return counts.isEmpty() ? statusText(state, deployments) : counts;
}

TrayItem::TrayItem(DeploymentMonitor *monitor, StatusItem *item, QString applicationName, QObject *parent)
    : QObject(parent)
    , m_monitor(monitor)
    , m_item(item)
    , m_applicationName(std::move(applicationName))
{
    show(wanted());
    connect(monitor, &DeploymentMonitor::changed, this, &TrayItem::update);
    connect(item, &StatusItem::activated, this, &TrayItem::toggleRequested);
    connect(item, &StatusItem::menuTriggered, this, &TrayItem::trigger);
}

TrayItem::Shown TrayItem::wanted() const
{
    const auto presentation = m_monitor->presentation();
    const NotificationPause &pause = m_monitor->announcements().pause();
    const auto term = pause.term();
    const bool isCounting = !TrayIcon::countText(presentation).isEmpty();
    return {isCounting ? presentation.title() : m_applicationName,
        trayStatusLine(m_monitor->state(), m_monitor->deployments(), m_monitor->marks()), presentation,
        term ? resumeText(*term, pause.clock().now()) : QString()};
}

void TrayItem::update()
{
    if (const Shown shown = wanted(); shown != m_shown)
        show(shown);
}

void TrayItem::show(const Shown &shown)
{
    m_shown = shown;
    m_item->show({shown.title, shown.line, m_icon.images(shown.presentation), menuEntries(shown.resume)});
}

void TrayItem::trigger(int entry, const QString &activationToken)
{
    NotificationPause &pause = m_monitor->announcements().pause();
    for (const PauseChoice choice : kPauseChoices) {
        if (entry == FirstPause + static_cast<int>(choice))
            return pause.begin(endOf(choice, pause.clock().now()));
    }
    switch (entry) {
    case Resume:
        return pause.resume();
    case Open:
        Q_EMIT openRequested(activationToken);
        break;
    case Refresh:
        Q_EMIT refreshRequested();
        break;
    case Settings:
        Q_EMIT settingsRequested(activationToken);
        break;
    case Quit:
        Q_EMIT quitRequested();
        break;
    default:
        break;
    }
}

} // namespace velmora
