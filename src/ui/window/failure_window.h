// SPDX-License-Identifier: MIT
#pragma once

#include "ui/window/framed_window.h"

namespace velmora
{

/// Shows why the program cannot start, when there is no terminal for the message. Stays open until the user closes it,
/// by its button or otherwise.
class FailureWindow final : public FramedWindow
{
    Q_OBJECT

public:
    /// `applicationName` is the display name of the application; `reason` may have several lines.
    FailureWindow(const QString &applicationName, const QString &reason, QWidget *parent = nullptr);

Q_SIGNALS:
    void closed();

protected:
    void closeEvent(QCloseEvent *event) override;
};

} // namespace velmora
