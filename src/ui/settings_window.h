// SPDX-License-Identifier: MIT
#pragma once

#include "ui/settings_view.h"

#include <QWidget>

namespace velmora
{

/// The one window of the settings. Escape and Ctrl+W close it, which only hides it: it opens again as it was left.
class SettingsWindow final : public QWidget
{
    Q_OBJECT

public:
    explicit SettingsWindow(const SettingsView::Services &services, QWidget *parent = nullptr);

    [[nodiscard]] SettingsView *view() const { return m_view; }

    /// Shows the window, or brings it to the front where it is open already. On Wayland that needs the token of what
    /// the person did to ask for it.
    void open(const QString &activationToken = {});

private:
    SettingsView *m_view;
};

} // namespace velmora
