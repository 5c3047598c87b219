// SPDX-License-Identifier: MIT
#pragma once

#include "ui/window/window_edge.h"

#include <QWidget>

class QVBoxLayout;

namespace velmora
{

/// A window with the desktop's frame, or where the desktop draws none, with a title bar and an edge of its own.
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
        None, ///< nobody: only an edge
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
    /// For a window that is hidden. The one that setFrame() chooses suits the desktop.
    void setEdge(const WindowEdge &edge);
    [[nodiscard]] const WindowEdge &edge() const { return m_edge; }

    void showEvent(QShowEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void announceShadow();

    Frame m_frame = Frame::Desktop;
    WindowEdge m_edge;
    bool m_isShadowNew = false; ///< since the size has changed
    QWidget *m_titleBar = nullptr; ///< only if the window draws its frame
    QVBoxLayout *m_layout;
};

} // namespace velmora
