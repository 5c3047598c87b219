// SPDX-License-Identifier: MIT
#include "ui/window/framed_window.h"

#include "platform/window_frames.h"
#include "ui/controls/tones.h"
#include "ui/window/title_bar.h"

#include <QPainter>
#include <QVBoxLayout>

namespace velmora
{

FramedWindow::FramedWindow(Frame frame, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_layout(new QVBoxLayout(this))
{
    m_layout->setSpacing(0);
    setFrame(frame, Qt::Window);
}

FramedWindow::Frame FramedWindow::frameOfPlatform()
{
    return desktopDrawsFrames() ? Frame::Desktop : Frame::Window;
}

void FramedWindow::setFrame(Frame frame, Qt::WindowFlags flags)
{
    m_frame = frame;
    setWindowFlags(frame == Frame::Window ? Qt::Window | Qt::FramelessWindowHint : flags);
    delete m_titleBar;
    m_titleBar = nullptr;
    if (frame == Frame::Window) {
        m_titleBar = new TitleBar(this);
        m_layout->insertWidget(0, m_titleBar);
    }
    const int border = frame == Frame::Desktop ? 0 : 1;
    m_layout->setContentsMargins(border, border, border, border);
}

void FramedWindow::paintEvent(QPaintEvent *event)
{
    QWidget::paintEvent(event);
    if (m_frame == Frame::Desktop)
        return;
    QPainter painter(this);
    painter.setPen(separatorColour(palette()));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

} // namespace velmora
