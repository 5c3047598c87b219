// SPDX-License-Identifier: MIT
#pragma once

#include "cli/key_input.h"
#include "cli/watch_display.h"

#include <QStringList>
#include <QTimer>

namespace velmora
{

/// A picture in the terminal that is redrawn in place when its text changes. Leaves nothing to restore: the cursor is
/// hidden only during a redraw, and stays below the picture.
class LiveDisplay final : public WatchDisplay
{
    Q_OBJECT

public:
    /// `err` may be the same terminal: the picture is erased while a line is written to it.
    LiveDisplay(Terminal *out, Terminal *err, TerminalEvents *events, Clock *clock);
    ~LiveDisplay() override;

    void show(const MonitorReport &report) override;
    void announce(const DeploymentNotification &notification) override;

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
