// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace velmora
{

/// Says why the program cannot start, where there is no terminal to say it in. Closing it, by the button or in any
/// other way, is for the user to do.
class FailureWindow final : public QWidget
{
    Q_OBJECT

public:
    /// `applicationName` is as the application names itself, `reason` a message that may have several lines.
    FailureWindow(const QString &applicationName, const QString &reason, QWidget *parent = nullptr);

Q_SIGNALS:
    void closed();

protected:
    void closeEvent(QCloseEvent *event) override;
};

} // namespace velmora
