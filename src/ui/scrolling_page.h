// SPDX-License-Identifier: MIT
#pragma once

#include <QScrollArea>

namespace velmora
{

/// Room for a content that may be larger than the window, with a large font for instance: the content fills the page
/// where it can and is scrolled where it must. What gets the focus is scrolled into sight.
class ScrollingPage final : public QScrollArea
{
    Q_OBJECT

public:
    explicit ScrollingPage(QWidget *parent = nullptr);

    /// Shows the content, which then belongs to the page.
    void setContent(QWidget *content);

private:
    void showFocus(QWidget *now);
};

} // namespace velmora
