// SPDX-License-Identifier: MIT
#pragma once

#include "platform/pasteboard.h"

namespace velmora
{

/// The clipboard of the display that the application is connected to. Without a QGuiApplication, or on a
/// platform that has none, nothing is copied and false is returned. On Wayland a compositor takes text only from the
/// window that has the focus; a program without a window then returns false.
class ClipboardPasteboard final : public Pasteboard
{
public:
    bool setText(const QString &text) override;
};

} // namespace velmora
