// SPDX-License-Identifier: MIT
#include "platform/activation_token.h"

#include <algorithm>

namespace velmora
{

bool isActivationToken(const QString &text)
{
    // Twice as long as any desktop's token, and short enough for a message to the compositor.
    constexpr qsizetype kLongest = 2048;
    const auto isGraphic = [](QChar character) {
        return character > QLatin1Char(' ') && character < QLatin1Char('\x7f');
    };
    return !text.isEmpty() && text.size() <= kLongest && std::ranges::all_of(text, isGraphic);
}

QString checkedActivationToken(const QString &text)
{
    return isActivationToken(text) ? text : QString();
}

} // namespace velmora
