// SPDX-License-Identifier: MIT
#pragma once

#include <QScrollArea>

namespace velmora
{

/// Scrolls content that may be larger than the window, with a large font for instance. Smaller content fills the page.
/// The widget with the focus is scrolled into view.
class ScrollingPage final : public QScrollArea
{
    Q_OBJECT

public:
    explicit ScrollingPage(QWidget *parent = nullptr);

    /// Shows the content and takes ownership of it.
    void setContent(QWidget *content);

private:
    void showFocus(QWidget *now);
};

} // namespace velmora
