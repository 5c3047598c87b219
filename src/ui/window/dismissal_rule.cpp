// SPDX-License-Identifier: MIT
#include "ui/window/dismissal_rule.h"

#include <utility>

namespace velmora
{

namespace
{

using namespace std::chrono_literals;

/// How long the pointer may take from the item to the window.
constexpr auto kWayToWindow = 1500ms;
/// The longest time between press, which takes the focus, and release, which arrives as the click, if the place of the
/// item is unknown.
constexpr auto kClick = 400ms;
/// The same if the pointer rests on the item: a slow click is more likely there than a second one. If the pointer is
/// elsewhere, the click was not at the item.
constexpr auto kSlowClick = 2s;
/// How long the focus may take from a question of the desktop back to the window.
constexpr auto kWayBack = 1500ms;
/// The greatest distance, in pixels, from the place of the click to the edge of an item.
constexpr int kItemReach = 32;

} // namespace

void DismissalRule::opened(Time now, std::optional<QPoint> anchor)
{
    m_openedAt = now;
    m_anchor = anchor;
    m_wasEntered = false;
    m_isMoving = false;
    m_isQuestionShown = false;
    m_answeredAt.reset();
    m_clickEndsBy.reset();
}

void DismissalRule::pointerEntered()
{
    m_wasEntered = true;
    m_isMoving = false;
}

bool DismissalRule::setAsking(bool isAsking, Time now)
{
    const bool isOver = m_isQuestionShown && !isAsking;
    if (isOver)
        m_answeredAt = now;
    m_isAsking = isAsking;
    m_isQuestionShown = m_isQuestionShown && isAsking;
    return isOver;
}

bool DismissalRule::closesOnFocusLoss(Time now, QPoint pointer)
{
    m_isQuestionShown = m_isAsking;
    if (m_isMoving)
        return false;
    if (m_isQuestionShown || (m_answeredAt && now - *m_answeredAt < kWayBack))
        return false;
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
