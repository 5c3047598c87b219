// SPDX-License-Identifier: MIT
#pragma once

#include <QPoint>

#include <chrono>
#include <optional>

namespace velmora
{

/// Tells a click elsewhere, which closes the window behind the tray item, from other ways to lose the focus, and the
/// click at the item that closed it by taking the focus from one that opens it.
class DismissalRule
{
public:
    using Time = std::chrono::steady_clock::time_point;

    enum class Focus {
        FollowsClicks,
        /// The pointer on its way to the window takes the focus from it, over every other window that it crosses.
        MayFollowPointer,
    };

    explicit DismissalRule(Focus focus)
        : m_focus(focus)
    {
    }

    /// `anchor` is the place of the click at the item, on a screen, where known.
    void opened(Time now, std::optional<QPoint> anchor);
    void pointerEntered() { m_wasEntered = true; }

    /// Whether the window, which has just lost the focus, closes. It then counts as closed at this time.
    [[nodiscard]] bool closesOnFocusLoss(Time now, QPoint pointer);
    /// Whether a click at the item is the end of the one that closed the window, and so opens nothing. Asking again is
    /// about another click.
    [[nodiscard]] bool isEndOfClosingClick(Time now);

private:
    Focus m_focus;
    Time m_openedAt;
    std::optional<QPoint> m_anchor;
    bool m_wasEntered = false;
    std::optional<Time> m_clickEndsBy; ///< of the click that may have closed the window
};

} // namespace velmora
