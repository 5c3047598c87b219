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

    /// Replaces the content with the text. Returns false if there is no usable clipboard.
    virtual bool setText(const QString &text) = 0;
};

} // namespace velmora
