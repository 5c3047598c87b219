// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QPoint>
#include <QProcess>

#include <optional>

namespace velmora::testing
{

/// A real panel on the private display, started and ended by the test.
class RunningPanel
{
public:
    /// The name of the program: "xfce4-panel", "lxqt-panel" or "trayer".
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

} // namespace velmora::testing
