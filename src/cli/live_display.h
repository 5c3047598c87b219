// SPDX-License-Identifier: MIT
#pragma once

#include "cli/key_input.h"
#include "control/monitor_report.h"

#include <QObject>
#include <QStringList>
#include <QTimer>

namespace velmora
{

class Clock;
class Terminal;
class TerminalEvents;

/// A picture in the terminal that is redrawn in place when its text changes. Leaves nothing to restore: the cursor is
/// hidden only during a redraw, and stays below the picture.
class LiveDisplay final : public QObject
{
    Q_OBJECT

public:
    /// `err` may be the same terminal: the picture is erased while a line is written to it.
    LiveDisplay(Terminal *out, Terminal *err, TerminalEvents *events, Clock *clock);
    ~LiveDisplay() override;

    /// Shows the current report.
    void show(const MonitorReport &report);
    /// Shows an announced result; the latest few stay.
    void announce(const DeploymentNotification &notification);

Q_SIGNALS:
    /// The user pressed the key that ends the program.
    void quitRequested();

private:
    void redraw();
    void erase();
    [[nodiscard]] QByteArray erasure() const;

    Terminal *m_out;
    Terminal *m_err;
    Clock *m_clock;
    KeyInput m_keys;
    QTimer m_ageTimer; ///< redraws relative times
    std::optional<MonitorReport> m_report;
    QStringList m_announcements; ///< the latest ones
    QStringList m_drawn; ///< the lines that are on the screen
};

} // namespace velmora
