// SPDX-License-Identifier: MIT
#pragma once

#include "cli/key_input.h"
#include "cli/watch_display.h"

#include <QStringList>
#include <QTimer>

namespace velmora
{

/// A picture in the terminal, redrawn in its place when its text has changed. It leaves nothing to be
/// put right at the end: the cursor is hidden only within a redraw, and stands below the picture.
class LiveDisplay final : public WatchDisplay
{
    Q_OBJECT

public:
    /// `err` may be the same terminal: the picture steps aside while a line is written there.
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
    QTimer m_ageTimer; ///< relative times change by themselves
    std::optional<MonitorReport> m_report;
    QStringList m_announcements; ///< the latest ones
    QStringList m_drawn; ///< the lines of the picture on the screen
};

} // namespace velmora
