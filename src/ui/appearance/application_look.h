// SPDX-License-Identifier: MIT
#pragma once

#include "platform/appearance.h"

#include <QFont>
#include <QPalette>

namespace velmora
{

/// The colours, the font and the style of all windows of the application.
class ApplicationLook
{
public:
    /// Remembers the look with which the application has started, which holds for what a desktop leaves open, and lays
    /// the scroll bars over what they scroll.
    ApplicationLook();

    /// Makes all windows, open ones too, look as the desktop wants.
    void apply(const Appearance &appearance) const;

private:
    [[nodiscard]] QPalette paletteFor(const Appearance &appearance) const;
    [[nodiscard]] QFont fontFor(const Appearance &appearance) const;

    QPalette m_palette;
    QFont m_font;
};

/// Velmora's own colours, for desktops that only say whether they are light or dark.
[[nodiscard]] QPalette ownPalette(Appearance::Scheme scheme, bool isHighContrast);

} // namespace velmora
