// SPDX-License-Identifier: MIT
#pragma once

#include "ui/settings_view.h"

#include <QWidget>

namespace velmora
{

class MessageRow;

/// The one window of the settings. As long as they cannot be saved, it says why below the tabs, and so it does of a
/// page that no browser has opened.
///
/// Escape and Ctrl+W close it, which only hides it: it opens again as it was left.
class SettingsWindow final : public QWidget
{
    Q_OBJECT

public:
    explicit SettingsWindow(const SettingsView::Services &services, QWidget *parent = nullptr);

    [[nodiscard]] SettingsView *view() const { return m_view; }

    /// Shows the window, or brings it to the front where it is open already. On Wayland that needs the token of what
    /// the person did to ask for it.
    void open(const QString &activationToken = {});

protected:
    void hideEvent(QHideEvent *event) override;

private:
    void showUnsaved();

    Preferences *m_preferences;
    URLOpener *m_urlOpener;
    SettingsView *m_view;
    MessageRow *m_unsaved; ///< why what is set here is not kept
};

} // namespace velmora
