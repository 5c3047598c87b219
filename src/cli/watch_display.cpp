// SPDX-License-Identifier: MIT
#include "cli/watch_display.h"

#include "cli/deployment_table.h"
#include "cli/live_display.h"
#include "cli/printed_report.h"
#include "cli/terminal.h"
#include "support/clock.h"

namespace velmora
{

namespace
{

class JSONDisplay final : public WatchDisplay
{
public:
    explicit JSONDisplay(Terminal *out)
        : m_out(out)
    {
    }

    void show(const MonitorReport &report) override { writeNew(jsonLine(report), m_last); }

    void announce(const DeploymentNotification &notification) override { m_out->write(jsonLine(notification) + '\n'); }

private:
    void writeNew(const QByteArray &line, QByteArray &last)
    {
        if (line == last)
            return;
        last = line;
        m_out->write(line + '\n');
    }

    Terminal *m_out;
    QByteArray m_last;
};

class PlainDisplay final : public WatchDisplay
{
public:
    explicit PlainDisplay(Terminal *out)
        : m_out(out)
    {
    }

    void show(const MonitorReport &report) override
    {
        const QStringList lines = renderChanges(m_last, report);
        for (const QString &line : lines)
            m_out->writeRawLine(line);
        m_last = report;
    }

    void announce(const DeploymentNotification &notification) override
    {
        m_out->writeLine(QStringLiteral("* ") + announcementText(notification));
    }

private:
    Terminal *m_out;
    MonitorReport m_last;
};

class TableDisplay final : public WatchDisplay
{
public:
    TableDisplay(Terminal *out, Clock *clock)
        : m_out(out)
        , m_clock(clock)
    {
    }

    void show(const MonitorReport &report) override
    {
        const TableStyle style{m_out->size().width(), 0, m_out->isColoured()};
        const QStringList lines = renderReport(report, {}, m_clock->now(), style);
        for (const QString &line : lines)
            m_out->writeRawLine(line);
    }

    void announce(const DeploymentNotification &notification) override
    {
        m_out->writeLine(QStringLiteral("* ") + announcementText(notification));
    }

private:
    Terminal *m_out;
    Clock *m_clock;
};

} // namespace

std::unique_ptr<WatchDisplay> makeWatchDisplay(
    WatchFormat format, Terminal *out, Terminal *err, TerminalEvents *events, Clock *clock)
{
    switch (format) {
    case WatchFormat::Live:
        return std::make_unique<LiveDisplay>(out, err, events, clock);
    case WatchFormat::Plain:
        return std::make_unique<PlainDisplay>(out);
    case WatchFormat::Table:
        return std::make_unique<TableDisplay>(out, clock);
    case WatchFormat::JSON:
        break;
    }
    return std::make_unique<JSONDisplay>(out);
}

} // namespace velmora
