// SPDX-License-Identifier: MIT
#include "ui/window/title_bar.h"

#include "ui/controls/symbols.h"
#include "ui/controls/text_label.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QMouseEvent>
#include <QToolButton>
#include <QWindow>

namespace velmora
{

namespace
{

constexpr int kMargin = 4;
constexpr int kSymbol = 16;

} // namespace

TitleBar::TitleBar(QWidget *window)
    : QWidget(window)
    , m_title(new TextLabel(TextSize::Body, TextLabel::Overflow::Elide, this))
{
    m_title->setWeight(QFont::DemiBold);
    m_title->setAlignment(Qt::AlignCenter);
    m_title->setText(window->windowTitle());
    auto *close = new QToolButton(this);
    close->setAccessibleName(QStringLiteral("Close"));
    close->setToolTip(QStringLiteral("Close"));
    close->setIcon(symbolIcon(u"xmark"));
    close->setIconSize({kSymbol, kSymbol});
    close->setAutoRaise(true);
    close->setFocusPolicy(Qt::NoFocus);
    connect(close, &QToolButton::clicked, window, &QWidget::close);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(0);
    // The title stands in the middle of the window, not of what the button leaves.
    layout->addSpacing(close->sizeHint().width());
    layout->addWidget(m_title, 1);
    layout->addWidget(close);
    window->installEventFilter(this);
}

bool TitleBar::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::WindowTitleChange)
        m_title->setText(window()->windowTitle());
    else if (event->type() == QEvent::ActivationChange)
        m_title->setTone(window()->isActiveWindow() ? Tone::Primary : Tone::Secondary);
    return QWidget::eventFilter(watched, event);
}

void TitleBar::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        window()->windowHandle()->startSystemMove();
    else
        QWidget::mousePressEvent(event);
}

} // namespace velmora
