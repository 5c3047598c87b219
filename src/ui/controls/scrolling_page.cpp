// SPDX-License-Identifier: MIT
#include "ui/controls/scrolling_page.h"

#include <QApplication>

namespace velmora
{

ScrollingPage::ScrollingPage(QWidget *parent)
    : QScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setFocusPolicy(Qt::NoFocus);
    viewport()->setAutoFillBackground(false);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) { showFocus(now); });
}

void ScrollingPage::setContent(QWidget *content)
{
    setWidget(content);
    // QScrollArea switches the background of its widget on.
    content->setAutoFillBackground(false);
}

void ScrollingPage::showFocus(QWidget *now)
{
    if (now && widget() && widget()->isAncestorOf(now))
        ensureWidgetVisible(now, 0, 8);
}

} // namespace velmora
