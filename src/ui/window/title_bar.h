// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace velmora
{

class TextLabel;

/// The top of a window around which the desktop draws no frame: its title, by which it is moved, and a button that
/// closes it. The keyboard closes the window otherwise, so the button takes no focus.
class TitleBar final : public QWidget
{
    Q_OBJECT

public:
    /// For the window that it is put into.
    explicit TitleBar(QWidget *window);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;

private:
    TextLabel *m_title;
};

} // namespace velmora
