// SPDX-License-Identifier: MIT
#pragma once

#include <QProxyStyle>

namespace velmora
{

/// The style of the desktop, with scroll bars that lie over the content and are seen only while it scrolls, so that
/// they take no column from a small window.
class OverlayScrollBars final : public QProxyStyle
{
    Q_OBJECT

public:
    [[nodiscard]] int styleHint(
        StyleHint hint, const QStyleOption *option, const QWidget *widget, QStyleHintReturn *returned) const override;
    [[nodiscard]] int pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const override;
};

} // namespace velmora
