// SPDX-License-Identifier: MIT
#pragma once

#include "platform/appearance.h"
#include "platform/current_desktops.h"
#include "platform/gnome_settings.h"
#include "platform/plasma_settings.h"
#include "platform/settings_portal.h"

#include <QTimer>

#include <optional>

namespace velmora
{

/// Follows how the desktop wants its programs to look: by the portal, and by the desktop's own settings where there is
/// none or where it does not tell.
class AppearanceWatch final : public QObject
{
    Q_OBJECT

public:
    /// `bus` is to the session bus.
    explicit AppearanceWatch(
        const QDBusConnection &bus, QStringList desktops = currentDesktops(), QObject *parent = nullptr);

    /// Reads the appearance and emits changed(), at once and again if the portal says something else. Call it once.
    void start();

Q_SIGNALS:
    /// The desktop wants another appearance; emitted once for several settings that change together.
    void changed(const velmora::Appearance &appearance);

private:
    [[nodiscard]] QCoro::Task<> readPortal();
    [[nodiscard]] DesktopSettings ownSettings() const;
    void recordChange(const QString &name, const QVariant &value);
    void publish();

    QStringList m_desktops;
    SettingsPortal m_portal;
    std::optional<GNOMESettings> m_gnome; ///< empty on Plasma
    std::optional<PlasmaSettings> m_plasma; ///< empty on other desktops
    DesktopSettings m_fromPortal;
    QTimer m_settling; ///< runs while more settings may follow the first
    std::optional<Appearance> m_published;
};

} // namespace velmora
