// SPDX-License-Identifier: MIT
#pragma once

#include <QBasicTimer>
#include <QWidget>

namespace velmora
{

/// Says that something is under way, for an unknown time. Turns only while it is shown, and stands still where the
/// desktop wants no animations.
class ProgressSpinner final : public QWidget
{
    Q_OBJECT

public:
    /// `name` is what assistive technology reads; `side` is in device independent pixels.
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
