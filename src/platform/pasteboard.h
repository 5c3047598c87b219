// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace velmora
{

/// The clipboard.
class Pasteboard
{
public:
    virtual ~Pasteboard() = default;

    /// Replaces the content by the text. False when there is no clipboard to be had.
    virtual bool setText(const QString &text) = 0;
};

} // namespace velmora
