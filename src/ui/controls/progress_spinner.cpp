// SPDX-License-Identifier: MIT
#include "ui/controls/progress_spinner.h"

#include "ui/controls/motion.h"
#include "ui/controls/tones.h"

#include <QPainter>
#include <QTimerEvent>

namespace velmora
{

ProgressSpinner::ProgressSpinner(const QString &name, int side, QWidget *parent)
    : QWidget(parent)
    , m_side(side)
{
    setAccessibleName(name);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void ProgressSpinner::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (wantsMotion(*this))
        m_timer.start(kTurnInterval, this);
}

void ProgressSpinner::hideEvent(QHideEvent *event)
{
    m_timer.stop();
    QWidget::hideEvent(event);
}

void ProgressSpinner::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != m_timer.timerId())
        return QWidget::timerEvent(event);
    m_degrees = (m_degrees + kTurnStep) % 360;
    update();
}

void ProgressSpinner::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal width = std::max(2.0, m_side / 10.0);
    const QRectF circle = QRectF(rect()).adjusted(width, width, -width, -width);
    painter.setPen(QPen(separatorColour(palette()), width));
    painter.drawEllipse(circle);
    painter.setPen(QPen(toneColour(Tone::Secondary, palette()), width, Qt::SolidLine, Qt::RoundCap));
    // drawArc() takes sixteenths of a degree, counter-clockwise.
    painter.drawArc(circle, -m_degrees * 16, 100 * 16);
}

} // namespace velmora
