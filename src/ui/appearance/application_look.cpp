// SPDX-License-Identifier: MIT
#include "ui/appearance/application_look.h"

#include "ui/appearance/overlay_scroll_bars.h"

#include <QApplication>

#include <array>

namespace velmora
{

namespace
{

struct Colours {
    QColor window;
    QColor base;
    QColor button;
    QColor text;
    QColor highlight;
};

Colours coloursFor(bool isDark, bool isHighContrast)
{
    if (isDark && isHighContrast)
        return {Qt::black, Qt::black, QColor(0x2a, 0x2a, 0x2a), Qt::white, QColor(0x78, 0xae, 0xed)};
    if (isDark)
        return {QColor(0x2b, 0x2b, 0x2e), QColor(0x1f, 0x1f, 0x21), QColor(0x3a, 0x3a, 0x3e), QColor(0xf0, 0xf0, 0xf0),
            QColor(0x4a, 0x90, 0xe2)};
    if (isHighContrast)
        return {Qt::white, Qt::white, QColor(0xee, 0xee, 0xee), Qt::black, QColor(0x0b, 0x4a, 0xa8)};
    return {QColor(0xef, 0xef, 0xef), Qt::white, QColor(0xef, 0xef, 0xef), QColor(0x1c, 0x1c, 0x1c),
        QColor(0x1a, 0x6d, 0xd0)};
}

QColor halfway(const QColor &one, const QColor &other)
{
    return QColor::fromRgbF(
        (one.redF() + other.redF()) / 2, (one.greenF() + other.greenF()) / 2, (one.blueF() + other.blueF()) / 2);
}

bool isDark(const QPalette &palette)
{
    return palette.color(QPalette::Window).lightnessF() < 0.5;
}

/// Derives the colours of texts that cannot be used, which Qt would leave as they are.
void dimDisabled(QPalette *palette)
{
    using Pair = std::pair<QPalette::ColorRole, QPalette::ColorRole>;
    constexpr std::array kTexts{Pair{QPalette::WindowText, QPalette::Window}, Pair{QPalette::Text, QPalette::Base},
        Pair{QPalette::ButtonText, QPalette::Button}};
    for (const auto &[text, ground] : kTexts)
        palette->setColor(
            QPalette::Disabled, text, halfway(palette->color(QPalette::Active, text), palette->color(ground)));
    palette->setColor(QPalette::Disabled, QPalette::Highlight,
        halfway(palette->color(QPalette::Active, QPalette::Highlight), palette->color(QPalette::Window)));
}

/// The text that is read best on a ground of that colour.
QColor textOn(const QColor &ground)
{
    const float luminance = 0.299F * ground.redF() + 0.587F * ground.greenF() + 0.114F * ground.blueF();
    return luminance > 0.6F ? QColor(Qt::black) : QColor(Qt::white);
}

void setHighlight(QPalette *palette, const QColor &colour)
{
    palette->setColor(QPalette::Highlight, colour);
    palette->setColor(QPalette::HighlightedText, textOn(colour));
}

/// The palette of a Plasma scheme; roles that the scheme lacks are those of `start`, which may be lighter or darker.
QPalette plasmaPalette(const QHash<QString, QRgb> &scheme, const QPalette &start)
{
    using Entry = std::pair<QPalette::ColorRole, const char *>;
    constexpr std::array kEntries{Entry{QPalette::Window, "Window/BackgroundNormal"},
        Entry{QPalette::WindowText, "Window/ForegroundNormal"}, Entry{QPalette::Base, "View/BackgroundNormal"},
        Entry{QPalette::AlternateBase, "View/BackgroundAlternate"}, Entry{QPalette::Text, "View/ForegroundNormal"},
        Entry{QPalette::PlaceholderText, "View/ForegroundInactive"}, Entry{QPalette::Link, "View/ForegroundLink"},
        Entry{QPalette::LinkVisited, "View/ForegroundVisited"}, Entry{QPalette::Button, "Button/BackgroundNormal"},
        Entry{QPalette::ButtonText, "Button/ForegroundNormal"},
        Entry{QPalette::Highlight, "Selection/BackgroundNormal"},
        Entry{QPalette::HighlightedText, "Selection/ForegroundNormal"},
        Entry{QPalette::ToolTipBase, "Tooltip/BackgroundNormal"},
        Entry{QPalette::ToolTipText, "Tooltip/ForegroundNormal"}};
    // The edges of controls are shades of their ground.
    const auto button = scheme.constFind(QStringLiteral("Button/BackgroundNormal"));
    const auto window = scheme.constFind(QStringLiteral("Window/BackgroundNormal"));
    if (button == scheme.cend() || window == scheme.cend())
        return start;
    QPalette palette((QColor(*button)), QColor(*window));
    for (const auto &[role, name] : kEntries) {
        const auto colour = scheme.constFind(QLatin1String(name));
        palette.setColor(role, colour == scheme.cend() ? start.color(role) : QColor(*colour));
    }
    if (!scheme.contains(QStringLiteral("View/ForegroundInactive")))
        palette.setColor(
            QPalette::PlaceholderText, halfway(palette.color(QPalette::Text), palette.color(QPalette::Base)));
    dimDisabled(&palette);
    return palette;
}

} // namespace

QPalette ownPalette(Appearance::Scheme scheme, bool isHighContrast)
{
    const Colours colours = coloursFor(scheme == Appearance::Scheme::Dark, isHighContrast);
    QPalette palette(colours.button, colours.window);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText})
        palette.setColor(role, colours.text);
    palette.setColor(QPalette::Base, colours.base);
    palette.setColor(QPalette::AlternateBase, halfway(colours.base, colours.window));
    palette.setColor(QPalette::ToolTipBase, colours.button);
    palette.setColor(QPalette::PlaceholderText, halfway(colours.text, colours.base));
    palette.setColor(QPalette::Link, colours.highlight);
    setHighlight(&palette, colours.highlight);
    dimDisabled(&palette);
    return palette;
}

ApplicationLook::ApplicationLook()
    : m_palette(QGuiApplication::palette())
    , m_font(QGuiApplication::font())
{
    QApplication::setStyle(new OverlayScrollBars);
}

void ApplicationLook::apply(const Appearance &appearance) const
{
    QApplication::setPalette(paletteFor(appearance));
    QApplication::setFont(fontFor(appearance));
}

QPalette ApplicationLook::paletteFor(const Appearance &appearance) const
{
    if (!appearance.schemeColours.isEmpty())
        return plasmaPalette(appearance.schemeColours, m_palette);
    using Scheme = Appearance::Scheme;
    const bool isWanted = appearance.scheme == Scheme::Open || (appearance.scheme == Scheme::Dark) == isDark(m_palette);
    // A theme that the user has chosen for Qt stays, unless it contradicts the desktop.
    QPalette palette = m_palette;
    if (!isWanted || appearance.isHighContrast) {
        const bool becomesDark = isWanted ? isDark(m_palette) : appearance.scheme == Scheme::Dark;
        palette = ownPalette(becomesDark ? Scheme::Dark : Scheme::Light, appearance.isHighContrast);
    }
    if (appearance.accent)
        setHighlight(&palette, QColor(*appearance.accent));
    return palette;
}

QFont ApplicationLook::fontFor(const Appearance &appearance) const
{
    QFont font = m_font;
    if (!appearance.fontFamily.isEmpty()) {
        font.setFamily(appearance.fontFamily);
        font.setPointSizeF(appearance.fontPoints);
    }
    // On X11 the desktop scales the texts by the resolution that it announces, which Qt follows.
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland")) && font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * appearance.textScale);
    return font;
}

} // namespace velmora
