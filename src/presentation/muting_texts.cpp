// SPDX-License-Identifier: MIT
#include "presentation/muting_texts.h"

#include "presentation/row_presentation.h"

#include <QDateTime>
#include <QLocale>

namespace velmora
{

namespace
{

QDateTime localTime(Instant instant)
{
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(instant.time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(milliseconds.count());
}

} // namespace

QString untilText(Instant end, Instant now)
{
    const QDateTime local = localTime(end);
    const qint64 days = localTime(now).date().daysTo(local.date());
    const QString time = QLocale().toString(local.time(), QLocale::ShortFormat);
    if (days == 0)
        return QStringLiteral("until %1").arg(time);
    const QString day = days == 1 ? QStringLiteral("tomorrow") : QLocale().toString(local.date(), QLocale::ShortFormat);
    return QStringLiteral("until %1, %2").arg(day, time);
}

QString mutingAction(const QString &repositoryName, bool isMuted)
{
    return (isMuted ? QStringLiteral("Unmute %1") : QStringLiteral("Mute %1")).arg(shownOnOneLine(repositoryName));
}

QString mutedText(const std::optional<Term> &muting, Instant now)
{
    if (!muting)
        return QString();
    return muting->until ? QStringLiteral("muted %1").arg(untilText(*muting->until, now)) : QStringLiteral("muted");
}

} // namespace velmora
