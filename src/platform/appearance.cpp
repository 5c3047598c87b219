// SPDX-License-Identifier: MIT
#include "platform/appearance.h"

#include <QColor>
#include <QDBusArgument>

#include <array>
#include <cmath>

namespace velmora
{

namespace
{

constexpr double kLargestFont = 96;
constexpr double kSmallestScale = 0.5;
constexpr double kLargestScale = 4;

QString gnome(const char *key)
{
    return QStringLiteral("org.gnome.desktop.interface/") + QLatin1String(key);
}

QString plasma(const QString &group, const QString &key)
{
    return QStringLiteral("org.kde.kdeglobals.%1/%2").arg(group, key);
}

Appearance::Scheme schemeIn(const DesktopSettings &settings)
{
    const QVariant standard = settings.value(QStringLiteral("org.freedesktop.appearance/color-scheme"));
    if (standard.typeId() == QMetaType::UInt) {
        constexpr std::array kSchemes{Appearance::Scheme::Open, Appearance::Scheme::Dark, Appearance::Scheme::Light};
        const uint number = standard.toUInt();
        return number < kSchemes.size() ? kSchemes.at(number) : Appearance::Scheme::Open;
    }
    const QString name = settings.value(gnome("color-scheme")).toString();
    if (name == QLatin1String("prefer-dark"))
        return Appearance::Scheme::Dark;
    return name == QLatin1String("prefer-light") ? Appearance::Scheme::Light : Appearance::Scheme::Open;
}

std::optional<QRgb> accentIn(const DesktopSettings &settings)
{
    const QVariant value = settings.value(QStringLiteral("org.freedesktop.appearance/accent-color"));
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != QLatin1String("(ddd)"))
        return std::nullopt;
    std::array<double, 3> parts{};
    argument.beginStructure();
    for (double &part : parts)
        argument >> part;
    argument.endStructure();
    // A part outside of the range means that no accent is set.
    for (const double part : parts) {
        if (!(part >= 0 && part <= 1))
            return std::nullopt;
    }
    return QColor::fromRgbF(static_cast<float>(parts[0]), static_cast<float>(parts[1]), static_cast<float>(parts[2]))
        .rgb();
}

/// A family and a size, as Pango writes them: "Cantarell Bold 11".
void readPangoFont(const QString &text, Appearance *appearance)
{
    const qsizetype space = text.lastIndexOf(QLatin1Char(' '));
    const double points = QStringView(text).mid(space + 1).toDouble();
    if (space <= 0 || !(points > 0 && points <= kLargestFont))
        return;
    appearance->fontFamily = text.left(space).section(QLatin1Char(','), 0, 0).trimmed();
    appearance->fontPoints = points;
}

/// A font as Qt writes it: family, size in points, and more.
void readPlasmaFont(const QString &text, Appearance *appearance)
{
    const QStringList parts = text.split(QLatin1Char(','));
    const double points = parts.value(1).toDouble();
    if (parts.constFirst().isEmpty() || !(points > 0 && points <= kLargestFont))
        return;
    appearance->fontFamily = parts.constFirst();
    appearance->fontPoints = points;
}

/// Red, green and blue from 0 to 255, or the hexadecimal notation.
std::optional<QRgb> colourOf(const QString &text)
{
    if (text.startsWith(QLatin1Char('#'))) {
        const QColor colour(text);
        return colour.isValid() ? std::optional(colour.rgb()) : std::nullopt;
    }
    const QStringList parts = text.split(QLatin1Char(','));
    std::array<int, 3> numbers{};
    for (int i = 0; i < 3; ++i) {
        bool isNumber = false;
        numbers.at(static_cast<std::size_t>(i)) = parts.value(i).trimmed().toInt(&isNumber);
        if (!isNumber || numbers.at(static_cast<std::size_t>(i)) < 0 || numbers.at(static_cast<std::size_t>(i)) > 255)
            return std::nullopt;
    }
    return qRgb(numbers[0], numbers[1], numbers[2]);
}

void readScheme(const DesktopSettings &settings, Appearance *appearance)
{
    const QString prefix = QStringLiteral("org.kde.kdeglobals.Colors:");
    for (auto it = settings.cbegin(); it != settings.cend(); ++it) {
        if (!it.key().startsWith(prefix))
            continue;
        if (const std::optional<QRgb> colour = colourOf(it->toString()))
            appearance->schemeColours.insert(it.key().mid(prefix.size()), *colour);
    }
}

double textScaleIn(const DesktopSettings &settings)
{
    const QVariant value = settings.value(gnome("text-scaling-factor"));
    const double scale = value.typeId() == QMetaType::Double ? value.toDouble() : 1;
    return scale >= kSmallestScale && scale <= kLargestScale ? scale : 1;
}

} // namespace

Appearance appearanceFrom(const DesktopSettings &settings, const QStringList &desktops)
{
    Appearance appearance;
    appearance.scheme = schemeIn(settings);
    appearance.accent = accentIn(settings);
    appearance.isHighContrast = settings.value(QStringLiteral("org.freedesktop.appearance/contrast")).toUInt() == 1
        || settings.value(QStringLiteral("org.gnome.desktop.a11y.interface/high-contrast")).toBool();
    // Other desktops have fonts of their own, while the settings of these two may lie there unused.
    if (isPlasma(desktops)) {
        readPlasmaFont(
            settings.value(plasma(QStringLiteral("General"), QStringLiteral("font"))).toString(), &appearance);
        readScheme(settings, &appearance);
    } else if (desktops.contains(QLatin1String("GNOME"))) {
        readPangoFont(settings.value(gnome("font-name")).toString(), &appearance);
        appearance.textScale = textScaleIn(settings);
    }
    return appearance;
}

bool isPlasma(const QStringList &desktops)
{
    return desktops.contains(QLatin1String("KDE"));
}

} // namespace velmora
