// SPDX-License-Identifier: MIT
#include "ui/dismissal_rule.h"

#include <utility>

namespace velmora
{

namespace
{

using namespace std::chrono_literals;

/// How long a pointer takes from the item to the window.
constexpr auto kWayToWindow = 1500ms;
/// From the press, which takes the focus, to the release, which counts as the click.
constexpr auto kClick = 400ms;
/// The same when the pointer rests on the item, where a slow finger is likelier than another click. When it is
/// elsewhere, so is the click.
constexpr auto kSlowClick = 2s;
/// No item is larger, seen from where it was clicked.
constexpr int kItemReach = 32;

} // namespace

void DismissalRule::opened(Time now, std::optional<QPoint> anchor)
{
    m_openedAt = now;
    m_anchor = anchor;
    m_wasEntered = false;
    m_clickEndsBy.reset();
}

bool DismissalRule::closesOnFocusLoss(Time now, QPoint pointer)
{
    if (m_focus == Focus::MayFollowPointer && !m_wasEntered && now - m_openedAt < kWayToWindow)
        return false;
    if (!m_anchor)
        m_clickEndsBy = now + kClick;
    else if ((pointer - *m_anchor).manhattanLength() <= kItemReach)
        m_clickEndsBy = now + kSlowClick;
    return true;
}

bool DismissalRule::isEndOfClosingClick(Time now)
{
    const auto end = std::exchange(m_clickEndsBy, std::nullopt);
    return end && now <= *end;
}

} // namespace velmora
