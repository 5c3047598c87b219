// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QTabWidget>

#include <functional>

namespace velmora
{

class AvatarLoading;
class SettingsPageOpener;
struct DesktopPorts;
struct Stores;

/// The four tabs of the settings. Its size is fixed: 620 by 440 points, more with a large font, less on a small
/// screen.
///
/// Ctrl+Tab and Ctrl+Shift+Tab go to the next and the previous tab, Ctrl+1 to Ctrl+4 to a certain one. The refresh keys
/// reload the tab on show.
class SettingsView final : public QTabWidget
{
    Q_OBJECT

public:
    /// The tabs in their order.
    enum class Tab {
        Accounts,
        Repositories,
        Environments,
        General,
    };

    /// What the parameters name outlives the view. Without `avatars` accounts have no pictures.
    SettingsView(const Stores &stores, const DesktopPorts &ports, SettingsPageOpener *settingsPageOpener,
        AvatarLoading *avatars, QWidget *parent = nullptr);

    [[nodiscard]] Tab tab() const { return static_cast<Tab>(currentIndex()); }
    void showTab(Tab tab) { setCurrentIndex(static_cast<int>(tab)); }
    /// Moves the focus into the tab on show.
    void focusContent();

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void changeEvent(QEvent *event) override;

private:
    void addPage(const QString &label, const QString &symbol, QWidget *content, std::function<void()> refresh);
    void addShortcuts();
    void enter(int index);

    QList<std::function<void()>> m_refreshes; ///< one for each tab, in their order
};

/// The size of the settings for this height of a line of text and this space on the screen.
[[nodiscard]] QSize settingsSize(int lineHeight, const QSize &room);

} // namespace velmora
