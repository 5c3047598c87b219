// SPDX-License-Identifier: MIT
#include "cli/live_display.h"

#include "cli/command_context.h"
#include "cli/deployment_table.h"
#include "cli/plain_text.h"
#include "support/clock.h"

#include <QDateTime>
#include <QLocale>
#include <QRegularExpression>

namespace velmora
{

namespace
{

constexpr qsizetype kMostAnnouncements = 3;

int widthWithoutColours(QString line)
{
    static const QRegularExpression colours(QStringLiteral("\x1b\\[[0-9;]*m"));
    return displayWidth(line.remove(colours));
}

} // namespace

LiveDisplay::LiveDisplay(Terminal *out, Terminal *err, TerminalEvents *events, Clock *clock)
    : m_out(out)
    , m_err(err)
    , m_clock(clock)
{
    connect(&m_keys, &KeyInput::quitPressed, this, &LiveDisplay::quitRequested);
    connect(&m_ageTimer, &QTimer::timeout, this, &LiveDisplay::redraw);
    connect(events, &TerminalEvents::resized, this, &LiveDisplay::redraw);
    connect(events, &TerminalEvents::continued, this, [this] {
        // The shell has written below the picture; leave that one and draw a new one.
        m_keys.takeTerminal();
        m_drawn.clear();
        redraw();
    });
    m_err->beforeLine = [this] {
        erase();
    };
    m_err->afterLine = [this] {
        redraw();
    };
    m_ageTimer.start(std::chrono::seconds(1));
}

LiveDisplay::~LiveDisplay()
{
    m_err->beforeLine = nullptr;
    m_err->afterLine = nullptr;
}

void LiveDisplay::show(const MonitorReport &report)
{
    m_report = report;
    redraw();
}

void LiveDisplay::announce(const DeploymentNotification &notification)
{
    const QString time = QLocale().toString(QDateTime::currentDateTime().time(), QLocale::ShortFormat);
    m_announcements.append(time + QStringLiteral(" ") + announcementText(notification));
    if (m_announcements.size() > kMostAnnouncements)
        m_announcements.removeFirst();
    redraw();
}

void LiveDisplay::redraw()
{
    if (!m_report)
        return;
    const QSize size = m_out->size();
    // Keep a row for the cursor below the picture.
    const TableStyle style{size.width(), std::max(1, size.height() - 1), m_out->isColoured()};
    const QStringList lines = renderReport(*m_report, m_announcements, m_clock->now(), style);
    if (lines == m_drawn)
        return;
    QByteArray bytes = "\x1b[?25l" + erasure();
    for (const QString &line : lines)
        bytes += line.toUtf8() + "\x1b[K\r\n";
    m_out->write(bytes + "\x1b[J\x1b[?25h");
    m_drawn = lines;
}

void LiveDisplay::erase()
{
    if (!m_drawn.isEmpty())
        m_out->write(erasure() + "\x1b[J");
    m_drawn.clear();
}

/// Moves the cursor to the first line of the picture, or to the top of the screen if that has scrolled out. In a window
/// that has become narrower a line takes several rows.
QByteArray LiveDisplay::erasure() const
{
    const QSize size = m_out->size();
    int rows = 0;
    for (const QString &line : m_drawn)
        rows += std::max(1, (widthWithoutColours(line) + size.width() - 1) / size.width());
    rows = std::min(rows, size.height() - 1);
    return rows > 0 ? "\x1b[" + QByteArray::number(rows) + "A\r" : QByteArray("\r");
}

} // namespace velmora
