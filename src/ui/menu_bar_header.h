// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

#include <array>

class QToolButton;

namespace velmora
{

class TextLabel;

/// The top of the window: the name of the application above the status, and the buttons for settings and refresh.
class MenuBarHeader final : public QWidget
{
    Q_OBJECT

public:
    explicit MenuBarHeader(QWidget *parent = nullptr);

    /// The status in a few words, and what explains it: its first lines fit below the status, all of it is in the
    /// tooltip and read to whoever cannot see.
    void setStatus(const QString &status, const QString &explanation);
    /// The refresh button cannot be pressed meanwhile and says why.
    void setRefreshing(bool isRefreshing);

Q_SIGNALS:
    void settingsRequested();
    void refreshRequested();

private:
    TextLabel *m_status;
    std::array<TextLabel *, 3> m_explanation; ///< a line each
    QToolButton *m_settings;
    QToolButton *m_refresh;
};

} // namespace velmora
