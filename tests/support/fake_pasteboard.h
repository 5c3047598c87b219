// SPDX-License-Identifier: MIT
#pragma once

#include "platform/pasteboard.h"

#include <QStringList>

namespace velmora::testing
{

/// Records the copied texts.
class FakePasteboard final : public Pasteboard
{
public:
    bool setText(const QString &text) override
    {
        copied.append(text);
        return isPresent;
    }

    QStringList copied;
    bool isPresent = true;
};

} // namespace velmora::testing
