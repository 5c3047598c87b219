// SPDX-License-Identifier: MIT
#include "ui/window/menu_bar_window.h"

#include "support/freed_memory.h"
#include "ui/accessibility/accessible_part.h"
#include "ui/window/window_activation.h"
#include "ui/window/window_placement.h"

#include <QApplication>
#include <QCursor>
#include <QKeyEvent>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

#include <algorithm>

namespace velmora
{

namespace
{

/// A user who looks again soon does not wait for the window to be made anew.
constexpr std::chrono::minutes kUntilUnused{1};

/// Behind an item the window is like the desktop's own pop-ups.
Qt::WindowFlags flagsFor(FramedWindow::Frame frame, MenuBarWindow::Placement placement)
{
    if (frame == FramedWindow::Frame::Desktop)
        return Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint;
    if (placement == MenuBarWindow::Placement::AtItem)
        return Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;
    return Qt::Window | Qt::FramelessWindowHint;
}

DismissalRule::Focus focusFor(MenuBarWindow::Placement placement)
{
    // At the item, the pointer crosses no other window on its way to this one.
    return placement == MenuBarWindow::Placement::AtItem ? DismissalRule::Focus::FollowsClicks
                                                         : DismissalRule::Focus::MayFollowPointer;
}

QList<ScreenArea> screenAreas()
{
    QList<ScreenArea> areas;
    for (const QScreen *const screen : QGuiApplication::screens())
        areas.append({screen->geometry(), screen->availableGeometry()});
    return areas;
}

/// The place of the item in points, or none if it is on no screen. Hosts report pixels or points, depending on their
/// toolkit; on scaled screens, where the two differ, the position of the pointer is used instead.
std::optional<QPoint> usableAnchor(std::optional<QPoint> anchor)
{
    const auto isScaled = [](const QScreen *screen) {
        return screen->devicePixelRatio() != 1.0;
    };
    if (anchor && std::ranges::any_of(QGuiApplication::screens(), isScaled))
        return QCursor::pos();
    return anchor && QGuiApplication::screenAt(*anchor) ? anchor : std::nullopt;
}

} // namespace

MenuBarWindow::MenuBarWindow(QWidget *content, Placement placement, Now now, Frame frame)
    : FramedWindow(Frame::None)
    , m_placement(placement)
    , m_ordinaryFrame(frame)
    , m_now(std::move(now))
    , m_dismissal(focusFor(placement))
{
    installAccessible<MenuBarWindow, AccessibleWindow>();
    contentLayout()->setSizeConstraint(QLayout::SetNoConstraint);
    contentLayout()->addWidget(content);
    m_unused.setSingleShot(true);
    m_unused.setInterval(kUntilUnused);
    connect(&m_presses, &PointerPresses::pressed, this, &MenuBarWindow::pressedSomewhere);
    connect(&m_unused, &QTimer::timeout, this, &MenuBarWindow::giveBackMemory);
    adoptFrame();
}

MenuBarWindow::Placement MenuBarWindow::placementOfPlatform()
{
    return QGuiApplication::platformName() == QLatin1String("xcb") ? Placement::AtItem : Placement::ByCompositor;
}

void MenuBarWindow::toggle(std::optional<QPoint> anchor, const QString &activationToken)
{
    if (m_isOpen)
        dismiss();
    else if (!m_dismissal.isEndOfClosingClick(m_now()))
        open(anchor, activationToken);
}

void MenuBarWindow::open(std::optional<QPoint> anchor, const QString &activationToken)
{
    if (!m_isOpen) {
        m_isOpen = true;
        m_unused.stop();
        m_presses.setListening(true);
        adoptFrame();
        m_anchor = usableAnchor(anchor);
        m_pointer = QCursor::pos();
        m_dismissal.opened(m_now(), m_anchor);
        fit();
        show();
    }
    takeFocus(activationToken);
}

void MenuBarWindow::setAwaitingAnswer(bool isAwaiting)
{
    // Some window managers, KWin for one, do not give the focus back to a window that is missing from the task bar.
    if (m_dismissal.setAsking(isAwaiting, m_now()) && m_isOpen)
        takeFocus({});
}

void MenuBarWindow::giveWay()
{
    if (m_isOpen && m_hasItem)
        dismiss();
}

/// Before the window is shown, since a change of its flags hides it.
void MenuBarWindow::adoptFrame()
{
    const Frame frame = m_hasItem ? Frame::None : m_ordinaryFrame;
    setFrame(frame == Frame::Desktop ? frame : Frame::None, flagsFor(frame, m_placement));
    Q_EMIT frameChanged(frame);
}

void MenuBarWindow::dismiss()
{
    m_isOpen = false;
    // Closed, not hidden: a window that is hidden and shown again at once may stay without focus on X11, because a late
    // event about the hiding is taken for a new one. close() makes the next show() a new window for the display.
    close();
}

void MenuBarWindow::closeEvent(QCloseEvent *event)
{
    m_isOpen = false;
    m_unused.start();
    m_presses.setListening(false);
    QWidget::closeEvent(event);
}

void MenuBarWindow::giveBackMemory()
{
    // With the backing store; the next show() creates both again. The pictures of the symbols stay: they are small, and
    // drawing them anew would delay the opening.
    destroy();
    returnFreedMemory();
    unmapUnusedCode();
}

void MenuBarWindow::takeFocus(const QString &activationToken)
{
    bringToFront(this, activationToken);
}

QSize MenuBarWindow::wantedSize() const
{
    const QSize hint = layout()->totalSizeHint();
    if (!layout()->hasHeightForWidth())
        return hint;
    return {hint.width(), layout()->totalHeightForWidth(hint.width())};
}

void MenuBarWindow::fit()
{
    const QRect place = placedWindow({wantedSize(), m_anchor, m_pointer, screenAreas(),
        QGuiApplication::layoutDirection(), edge().shadow(), edge().gap()});
    setFixedSize(place.size());
    if (m_placement == Placement::AtItem && frame() == Frame::None)
        move(place.topLeft());
}

bool MenuBarWindow::event(QEvent *event)
{
    const bool isHandled = QWidget::event(event);
    if (event->type() == QEvent::LayoutRequest && m_isOpen)
        fit();
    else if (event->type() == QEvent::WindowDeactivate && m_isOpen)
        focusLost();
    return isHandled;
}

/// On some desktops a click on the background or the panel moves no focus.
void MenuBarWindow::pressedSomewhere()
{
    if (!QApplication::topLevelAt(QCursor::pos()))
        focusLost();
}

void MenuBarWindow::focusLost()
{
    if (!m_hasItem)
        return;
    // The focus went to a menu or a dialog of this window.
    const QWidget *const now = QApplication::activeWindow();
    if (QApplication::activePopupWidget() != nullptr || (now != nullptr && now != this && isAncestorOf(now)))
        return;
    if (m_dismissal.closesOnFocusLoss(m_now(), QCursor::pos()))
        dismiss();
}

void MenuBarWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier)
        dismiss();
    else
        QWidget::keyPressEvent(event);
}

/// The free areas of the window move it where the compositor has placed it.
void MenuBarWindow::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && m_placement == Placement::ByCompositor && frame() == Frame::None)
        startMove();
    else
        QWidget::mousePressEvent(event);
}

void MenuBarWindow::startMove()
{
    if (windowHandle()->startSystemMove())
        m_dismissal.moveStarted();
}

void MenuBarWindow::enterEvent(QEnterEvent *event)
{
    m_dismissal.pointerEntered();
    QWidget::enterEvent(event);
}

} // namespace velmora
