// SPDX-License-Identifier: MIT
#include "ui/window/failure_window.h"

#include "ui/accessibility/accessible_part.h"
#include "ui/controls/message_row.h"

#include <QCloseEvent>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

namespace velmora
{

namespace
{

constexpr int kWidth = 420;
constexpr int kMargin = 16;
constexpr int kGap = 12;

} // namespace

FailureWindow::FailureWindow(const QString &applicationName, const QString &reason, QWidget *parent)
    : FramedWindow(frameOfPlatform(), parent)
{
    installAccessible<FailureWindow, AccessibleWindow>();
    setWindowTitle(applicationName);
    auto *title = new TextLabel(TextSize::Title, TextLabel::Overflow::Wrap, this);
    title->setWeight(QFont::DemiBold);
    title->setText(QStringLiteral("%1 cannot start").arg(applicationName));
    auto *message = new MessageRow(TextSize::Body, Tone::Red, this);
    message->setMessage(reason);
    auto *quit = new QPushButton(QStringLiteral("Quit"), this);
    quit->setAutoDefault(true);
    connect(quit, &QPushButton::clicked, this, &QWidget::close);
    auto *escape = new QShortcut(Qt::Key_Escape, this);
    connect(escape, &QShortcut::activated, this, &QWidget::close);
    auto *layout = new QVBoxLayout;
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(kGap);
    layout->addWidget(title);
    layout->addWidget(message);
    layout->addStretch();
    layout->addWidget(quit, 0, Qt::AlignRight);
    contentLayout()->addLayout(layout);
    quit->setFocus();
    // A fixed size makes tiling window managers let the window float.
    const int width = kWidth + edge().shadow().left() + edge().shadow().right();
    setFixedSize(width, contentLayout()->totalHeightForWidth(width));
}

void FailureWindow::closeEvent(QCloseEvent *event)
{
    QWidget::closeEvent(event);
    Q_EMIT closed();
}

} // namespace velmora
