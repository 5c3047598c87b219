// SPDX-License-Identifier: MIT
#include "cli/time_span.h"

#include <QRegularExpression>

namespace velmora
{

std::optional<std::chrono::seconds> parseTimeSpan(const QString &text)
{
    // So few digits overflow nothing.
    static const QRegularExpression form(QRegularExpression::anchoredPattern(QStringLiteral("([0-9]{1,9})([smh])")));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    const qint64 number = match.captured(1).toLongLong();
    switch (match.capturedView(2).front().unicode()) {
    case u's':
        return std::chrono::seconds(number);
    case u'm':
        return std::chrono::minutes(number);
    default:
        return std::chrono::hours(number);
    }
}

} // namespace velmora
