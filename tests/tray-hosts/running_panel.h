// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QPoint>
#include <QProcess>

#include <optional>

namespace velmora::testing
{

/// A real panel or window manager on the private display, started and ended by the test.
class RunningPanel
{
public:
    /// The name of the program: "xfce4-panel", "lxqt-panel", "trayer" or "openbox".
    explicit RunningPanel(const QString &program);
    ~RunningPanel();

    /// Starts it; it comes up in its own time.
    void start();
    /// Kills it, so that it can say goodbye to nobody.
    void end();

private:
    QString m_program;
    QStringList m_arguments;
    QProcess m_process;
};

/// The middle of the largest patch of this colour on the display, if there is one.
[[nodiscard]] std::optional<QPoint> placeOf(QRgb colour);

/// Presses and releases the button of the pointer there.
void clickAt(QPoint place, int button = 1);
/// Presses and releases a key, by the name that X11 has for it.
void pressKey(const QString &name);

} // namespace velmora::testing
