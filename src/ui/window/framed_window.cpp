// SPDX-License-Identifier: MIT
#include "ui/window/framed_window.h"

#include "platform/window_blending.h"
#include "platform/window_frames.h"
#include "ui/window/title_bar.h"

#include <QPaintEvent>
#include <QPainter>
#include <QVBoxLayout>

#include <utility>

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
    setEdge(frame == Frame::Desktop ? WindowEdge() : WindowEdge::ofDesktop());
}

void FramedWindow::setEdge(const WindowEdge &edge)
{
    m_edge = edge;
    setAttribute(Qt::WA_TranslucentBackground, edge.isSoft());
    setAttribute(Qt::WA_NoSystemBackground, edge.isSoft());
    m_layout->setContentsMargins(edge.margins());
}

void FramedWindow::announceShadow()
{
    if (m_edge.isSoft() && windowHandle())
        setShadowMargins(windowHandle(), m_edge.shadow());
}

void FramedWindow::showEvent(QShowEvent *event)
{
    announceShadow();
    QWidget::showEvent(event);
}

void FramedWindow::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    m_isShadowNew = true;
}

void FramedWindow::paintEvent(QPaintEvent *event)
{
    QWidget::paintEvent(event);
    QPainter painter(this);
    m_edge.paint(&painter, rect(), event->rect(), palette());
    // After the desktop has got the picture: GNOME's compositor, if told before, would go on with the old size.
    if (std::exchange(m_isShadowNew, false))
        QMetaObject::invokeMethod(this, &FramedWindow::announceShadow, Qt::QueuedConnection);
}

} // namespace velmora
