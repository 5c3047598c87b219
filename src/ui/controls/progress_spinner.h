// SPDX-License-Identifier: MIT
#pragma once

#include <QBasicTimer>
#include <QWidget>

namespace velmora
{

/// Shows that work of unknown length is under way. Turns only while it is visible, and not if the desktop has switched
/// animations off.
class ProgressSpinner final : public QWidget
{
    Q_OBJECT

public:
    /// `name` is for assistive technology; `side` is in device independent pixels.
    ProgressSpinner(const QString &name, int side, QWidget *parent = nullptr);

    [[nodiscard]] bool isTurning() const { return m_timer.isActive(); }
    [[nodiscard]] QSize sizeHint() const override { return {m_side, m_side}; }

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void timerEvent(QTimerEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    int m_side;
    int m_degrees = 0;
    QBasicTimer m_timer;
};

} // namespace velmora
