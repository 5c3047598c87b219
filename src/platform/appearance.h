// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QRgb>
#include <QStringList>
#include <QVariant>

#include <optional>

namespace velmora
{

/// Settings of a desktop by namespace, a slash and key, as the settings portal names them.
using DesktopSettings = QHash<QString, QVariant>;

/// How a desktop wants its programs to look. What it leaves open is empty.
struct Appearance {
    enum class Scheme {
        Open, ///< no wish
        Light,
        Dark,
    };

    Scheme scheme = Scheme::Open;
    bool isHighContrast = false;
    std::optional<QRgb> accent;
    QString fontFamily;
    double fontPoints = 0; ///< 0 if open
    double textScale = 1;
    /// The colours of Plasma's scheme by group and key, such as "View/BackgroundNormal". Empty on other desktops.
    QHash<QString, QRgb> schemeColours;

    bool operator==(const Appearance &) const = default;
};

/// What the settings of the desktops say. Values of another type or outside of their range count as open. `desktops`
/// are those of currentDesktops().
[[nodiscard]] Appearance appearanceFrom(const DesktopSettings &settings, const QStringList &desktops);

[[nodiscard]] bool isPlasma(const QStringList &desktops);

} // namespace velmora
