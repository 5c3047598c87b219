// SPDX-License-Identifier: MIT
#pragma once

#include "ui/controls/text_label.h"

#include <QToolButton>
#include <QWidget>

#include <array>

class QPushButton;

namespace velmora
{

/// The top of the window: the name of the application above the status, and the buttons for settings and refresh.
class MenuBarHeader final : public QWidget
{
    Q_OBJECT

public:
    /// `title` is the name of the application.
    explicit MenuBarHeader(const QString &title, QWidget *parent = nullptr);

    /// Shows the name of the application, or leaves it to the frame of the window.
    void setTitleShown(bool isShown) { m_title->setVisible(isShown); }
    /// Offers to close the window, for one that has no frame and does not close by itself.
    void setCloseOffered(bool isOffered) { m_close->setVisible(isOffered); }
    /// Sets the status and its explanation, one reason a line. The first three lines are shown below the status;
    /// tooltip and accessible description have them all.
    void setStatus(const QString &status, const QString &explanation);
    /// Offers to unlock the keyring, below the explanation: the button requests a refresh, which begins with that.
    void setLocked(bool isLocked);
    /// Shows a note about the window itself, which may wrap; empty hides it.
    void setNotice(const QString &notice);
    /// While a refresh runs, the buttons that begin one are disabled; the tooltip says why.
    void setRefreshing(bool isRefreshing);

Q_SIGNALS:
    void settingsRequested();
    void refreshRequested();
    void closeRequested();

private:
    TextLabel *m_title;
    TextLabel *m_status;
    std::array<TextLabel *, 3> m_explanation; ///< one for each line of the explanation
    QPushButton *m_unlock;
    TextLabel *m_notice;
    QToolButton *m_settings;
    QToolButton *m_refresh;
    QToolButton *m_close;
};

} // namespace velmora
