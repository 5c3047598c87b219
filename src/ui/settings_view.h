// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QTabWidget>

#include <functional>

namespace velmora
{

class AuthenticationStore;
class AvatarLoading;
class GeneralSettingsStore;
class InstallationPage;
class InstallationStore;
class Pasteboard;
class Preferences;
class SettingsPageOpener;
class URLOpener;

/// The three tabs of the settings. Its size is fixed: 620 by 440, and larger where the font is larger than most.
///
/// Ctrl+Tab goes to the next tab, Ctrl+Shift+Tab to the previous one, Ctrl+1 to Ctrl+3 to each. On
/// every tab the keys that refresh load again what it shows.
class SettingsView final : public QTabWidget
{
    Q_OBJECT

public:
    /// The tabs in their order.
    enum class Tab {
        Accounts,
        Repositories,
        General,
    };

    /// The pointers are not owned and outlive the view. Without `avatars` accounts have no pictures.
    struct Services {
        AuthenticationStore *authentication = nullptr;
        InstallationStore *installations = nullptr;
        GeneralSettingsStore *settings = nullptr;
        Preferences *preferences = nullptr; ///< where the stores keep what is set
        Pasteboard *pasteboard = nullptr;
        URLOpener *urlOpener = nullptr;
        SettingsPageOpener *settingsPageOpener = nullptr;
        AvatarLoading *avatars = nullptr;
        InstallationPage *installationPage = nullptr;
    };

    explicit SettingsView(const Services &services, QWidget *parent = nullptr);

    [[nodiscard]] Tab tab() const { return static_cast<Tab>(currentIndex()); }
    void showTab(Tab tab) { setCurrentIndex(static_cast<int>(tab)); }
    /// Lets the keyboard act in the tab that is shown.
    void focusContent();

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void changeEvent(QEvent *event) override;

private:
    void addPage(const QString &label, const QString &symbol, QWidget *content, std::function<void()> refresh);
    void addShortcuts();
    void enter(int index);

    QList<std::function<void()>> m_refreshes; ///< of the tabs, in their order
};

/// How large the settings are with a line of text of this height, on a screen with this much room.
[[nodiscard]] QSize settingsSize(int lineHeight, const QSize &room);

} // namespace velmora
