// SPDX-License-Identifier: MIT
#pragma once

#include "ui/dismissal_rule.h"

#include <QWidget>

#include <functional>
#include <optional>

namespace velmora
{

/// The window behind the tray item. It is as large as its content wants, as far as the screen allows.
///
/// It closes on Escape, when the person turns to another window, and on a second click at the item. Closed, it can be
/// opened again; the program must not end with its last window.
class MenuBarWindow final : public QWidget
{
    Q_OBJECT

public:
    enum class Placement {
        AtItem, ///< without a frame, beside the panel
        ByCompositor, ///< an ordinary window of a size that cannot be changed, which compositors let float
    };
    /// Tells the time; for tests.
    using Now = std::function<DismissalRule::Time()>;

    /// The content becomes the window's own.
    explicit MenuBarWindow(
        QWidget *content, Placement placement = placementOfPlatform(), Now now = &std::chrono::steady_clock::now);

    /// Only X11 lets a program place its windows.
    [[nodiscard]] static Placement placementOfPlatform();

    /// Shows the window, or brings it to the front. `anchor` is the place of the click at the item. The token is the
    /// desktop's leave to take the focus.
    void open(std::optional<QPoint> anchor, const QString &activationToken);
    /// A click at the item: opens the window, or closes it.
    void toggle(std::optional<QPoint> anchor, const QString &activationToken);

protected:
    bool event(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void fit();
    [[nodiscard]] QSize wantedSize() const;
    void focusLost();
    void takeFocus(const QString &activationToken);
    void dismiss();

    Placement m_placement;
    Now m_now;
    DismissalRule m_dismissal;
    std::optional<QPoint> m_anchor;
    QPoint m_pointer; ///< when it was opened
    bool m_isOpen = false; ///< false as soon as it is about to be hidden, which takes the focus too
};

} // namespace velmora
