// SPDX-License-Identifier: MIT
#pragma once

#include <QPoint>

#include <chrono>
#include <optional>

namespace velmora
{

/// Decides what clicks do to the window behind the tray item. A click elsewhere closes it; losing the focus in other
/// ways does not. A click at the item takes the focus and so closes the window; its release must not open it again.
class DismissalRule
{
public:
    using Time = std::chrono::steady_clock::time_point;

    enum class Focus {
        FollowsClicks,
        /// The pointer moves the focus to each window that it crosses on its way from the item to this window.
        MayFollowPointer,
    };

    explicit DismissalRule(Focus focus)
        : m_focus(focus)
    {
    }

    /// `anchor` is the place of the click at the item in screen coordinates, if known.
    void opened(Time now, std::optional<QPoint> anchor);
    /// The pointer is over the window; a move has ended.
    void pointerEntered();
    /// The user moves the window. Some compositors take focus and pointer from it meanwhile.
    void moveStarted() { m_isMoving = true; }
    /// The desktop asks the user something for this program, in a window that takes the focus; or no longer does. The
    /// window stays open meanwhile, and while the focus finds its way back. Returns whether a question that has taken
    /// the focus is over.
    bool setAsking(bool isAsking, Time now);

    /// Whether the window, which has just lost the focus or beside which the user has clicked, closes. If so, it counts
    /// as closed from now on.
    [[nodiscard]] bool closesOnFocusLoss(Time now, QPoint pointer);
    /// Whether a click at the item belongs to the click that closed the window and therefore opens nothing. True at
    /// most once for each closing.
    [[nodiscard]] bool isEndOfClosingClick(Time now);

private:
    Focus m_focus;
    Time m_openedAt;
    std::optional<QPoint> m_anchor;
    bool m_wasEntered = false;
    bool m_isMoving = false;
    bool m_isAsking = false;
    bool m_isQuestionShown = false; ///< it has taken the focus
    std::optional<Time> m_answeredAt;
    std::optional<Time> m_clickEndsBy; ///< the click that may have closed the window
};

} // namespace velmora
