// SPDX-License-Identifier: MIT
#pragma once

#include "ui/settings/settings_view.h"
#include "ui/window/framed_window.h"

namespace velmora
{

class MessageRow;
class Preferences;
class URLOpener;

/// The window of the settings. Below the tabs it shows why settings cannot be saved, and which page no browser could
/// open.
///
/// Escape and Ctrl+W close it. Closing only hides it, so it opens again in the same state.
class SettingsWindow final : public FramedWindow
{
    Q_OBJECT

public:
    /// The parameters are those of the view.
    SettingsWindow(const Stores &stores, const DesktopPorts &ports, SettingsPageOpener *settingsPageOpener,
        AvatarLoading *avatars, QWidget *parent = nullptr);

    [[nodiscard]] SettingsView *view() const { return m_view; }

    /// Shows the window, or brings it to the front. Wayland requires the activation token of the user's action for
    /// that.
    void open(const QString &activationToken = {});

protected:
    void hideEvent(QHideEvent *event) override;

private:
    void showUnsaved();

    Preferences *m_preferences;
    URLOpener *m_urlOpener;
    SettingsView *m_view;
    MessageRow *m_unsaved; ///< why the settings cannot be saved
};

} // namespace velmora
