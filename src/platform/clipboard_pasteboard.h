// SPDX-License-Identifier: MIT
#pragma once

#include "platform/pasteboard.h"

namespace velmora
{

/// The clipboard of the application's display. Without a QGuiApplication, or on a platform without a clipboard, copies
/// nothing and returns false. A Wayland compositor accepts text only from the focused window, so a program without one
/// returns false there.
class ClipboardPasteboard final : public Pasteboard
{
public:
    bool setText(const QString &text) override;
};

} // namespace velmora
