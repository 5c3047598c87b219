// SPDX-License-Identifier: MIT
#include "ui/appearance/overlay_scroll_bars.h"

namespace velmora
{

namespace
{

constexpr int kWidth = 10;

} // namespace

int OverlayScrollBars::styleHint(
    StyleHint hint, const QStyleOption *option, const QWidget *widget, QStyleHintReturn *returned) const
{
    return hint == SH_ScrollBar_Transient ? 1 : QProxyStyle::styleHint(hint, option, widget, returned);
}

int OverlayScrollBars::pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const
{
    switch (metric) {
    case PM_ScrollBarExtent:
    case PM_ScrollView_ScrollBarOverlap:
        return kWidth;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

} // namespace velmora
