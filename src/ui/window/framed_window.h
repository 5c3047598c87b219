// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

class QVBoxLayout;

namespace velmora
{

/// A window with the desktop's frame, or where the desktop draws none, with a title bar and a border of its own.
///
/// The frame that Qt would draw there instead is switched off: it offers to maximise windows of a fixed size, and loads
/// graphics drivers that take more memory than the rest of the program.
class FramedWindow : public QWidget
{
    Q_OBJECT

public:
    /// Who draws the frame.
    enum class Frame {
        Desktop,
        Window, ///< with a title bar
        None, ///< nobody: only a border
    };

    /// Desktop, or Window where that draws none.
    [[nodiscard]] static Frame frameOfPlatform();

    [[nodiscard]] Frame frame() const { return m_frame; }

protected:
    explicit FramedWindow(Frame frame, QWidget *parent = nullptr);

    /// The content below the title bar.
    [[nodiscard]] QVBoxLayout *contentLayout() const { return m_layout; }
    /// Hides the window. `flags` are for a frame that the desktop draws, or none.
    void setFrame(Frame frame, Qt::WindowFlags flags);

    void paintEvent(QPaintEvent *event) override;

private:
    Frame m_frame = Frame::Desktop;
    QWidget *m_titleBar = nullptr; ///< only if the window draws its frame
    QVBoxLayout *m_layout;
};

} // namespace velmora
