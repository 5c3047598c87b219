// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QPoint>
#include <QProcess>

#include <optional>

namespace velmora::testing
{

/// A real panel or window manager on the private display, which the test starts and ends.
class RunningPanel
{
public:
    /// `program` is "xfce4-panel", "lxqt-panel", "trayer" or "openbox".
    explicit RunningPanel(const QString &program);
    ~RunningPanel();

    /// Starts the program without waiting for it to appear.
    void start();
    /// Kills the program, so that it cannot leave the bus in an orderly way.
    void end();

private:
    QString m_program;
    QStringList m_arguments;
    QProcess m_process;
};

/// The centre of the largest area of this colour on the display, if there is one.
[[nodiscard]] std::optional<QPoint> placeOf(QRgb colour);

/// Clicks at this place.
void clickAt(QPoint place, int button = 1);
/// Presses and releases a key, which has X11's name.
void pressKey(const QString &name);

} // namespace velmora::testing
