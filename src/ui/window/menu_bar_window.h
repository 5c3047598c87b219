// SPDX-License-Identifier: MIT
#pragma once

#include "platform/pointer_presses.h"
#include "ui/window/dismissal_rule.h"
#include "ui/window/framed_window.h"

#include <QTimer>

#include <functional>
#include <optional>

namespace velmora
{

/// The window behind the tray item. Its size follows its content, within the screen.
///
/// It closes on Escape, when the user turns to another window or clicks elsewhere, and on a second click at the item.
/// It can be opened again after closing, so the program must not quit with its last window. Where there is no item, it
/// is an ordinary window that stays beside others. A minute after closing it gives back the memory that it took to be
/// shown.
class MenuBarWindow final : public FramedWindow
{
    Q_OBJECT

public:
    enum class Placement {
        AtItem, ///< without a frame, beside the panel
        ByCompositor, ///< a window of fixed size, which compositors let float, and that its free areas move
    };
    /// The source of the time, for tests.
    using Now = std::function<DismissalRule::Time()>;

    /// Takes ownership of the content. `frame` is that of the window where there is no item.
    explicit MenuBarWindow(QWidget *content, Placement placement = placementOfPlatform(),
        Now now = &std::chrono::steady_clock::now, Frame frame = frameOfPlatform());

    /// AtItem on X11, the only platform that lets a program place its windows.
    [[nodiscard]] static Placement placementOfPlatform();

    /// Whether there is an item behind which the window opens; true at first. An open window keeps its frame, or goes
    /// on without one, until it is opened again.
    void setHasItem(bool hasItem) { m_hasItem = hasItem; }

    /// Whether the desktop asks the user something for this program. Then, and shortly afterwards, the loss of the
    /// focus closes nothing. A focus that a question has taken comes back after it.
    void setAwaitingAnswer(bool isAwaiting);

    /// Shows the window, or brings it to the front. `anchor` is the place of the click at the item, if known; the token
    /// is the desktop's permission to take the focus.
    void open(std::optional<QPoint> anchor, const QString &activationToken);
    /// Closes the window if it is open behind an item, because another window of the program has opened.
    void giveWay();
    /// Handles a click at the item: opens or closes the window.
    void toggle(std::optional<QPoint> anchor, const QString &activationToken);

Q_SIGNALS:
    /// Before the window opens. Frame::Window: the content has to show the title, and a button that closes the window.
    void frameChanged(velmora::FramedWindow::Frame frame);

protected:
    bool event(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void enterEvent(QEnterEvent *event) override;

private:
    void adoptFrame();
    void fit();
    [[nodiscard]] QSize wantedSize() const;
    void pressedSomewhere();
    void focusLost();
    void startMove();
    void takeFocus(const QString &activationToken);
    void dismiss();
    void giveBackMemory();

    Placement m_placement; ///< where the desktop has an item
    Frame m_ordinaryFrame; ///< where it has none
    bool m_hasItem = true;
    Now m_now;
    QTimer m_unused{this}; ///< runs from the closing on
    PointerPresses m_presses; ///< while the window is open
    DismissalRule m_dismissal;
    std::optional<QPoint> m_anchor;
    QPoint m_pointer; ///< where the pointer was when the window opened
    bool m_isOpen = false; ///< false before it is hidden, because hiding takes the focus and must not close it twice
};

} // namespace velmora
