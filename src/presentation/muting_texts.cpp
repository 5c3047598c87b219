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

const QTime kMorning(9, 0);

/// The clocks may skip the time on that day.
Instant localInstant(QDate date, QTime time)
{
    QDateTime local(date, time);
    for (int minutes = 1; !local.isValid() && minutes < 24 * 60; ++minutes)
        local = QDateTime(date, time.addSecs(minutes * 60));
    return Instant(std::chrono::milliseconds(local.toMSecsSinceEpoch()));
}

QString shortTime(QTime time)
{
    return QLocale().toString(time, QLocale::ShortFormat);
}

} // namespace

QString untilText(Instant end, Instant now)
{
    const QDateTime local = localTime(end);
    const qint64 days = localTime(now).date().daysTo(local.date());
    const QString time = shortTime(local.time());
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

QString pausedText(const std::optional<Term> &pause, Instant now)
{
    if (!pause)
        return QString();
    const QString text = QStringLiteral("Notifications are paused");
    return pause->until ? text + QLatin1Char(' ') + untilText(*pause->until, now) : text;
}

QString pauseText(PauseChoice choice)
{
    switch (choice) {
    case PauseChoice::OneHour:
        return QStringLiteral("Pause notifications for 1 hour");
    case PauseChoice::FourHours:
        return QStringLiteral("Pause notifications for 4 hours");
    case PauseChoice::UntilTomorrow:
        return QStringLiteral("Pause notifications until tomorrow, %1").arg(shortTime(kMorning));
    }
    Q_UNREACHABLE();
}

Instant endOf(PauseChoice choice, Instant now)
{
    switch (choice) {
    case PauseChoice::OneHour:
        return now + std::chrono::hours(1);
    case PauseChoice::FourHours:
        return now + std::chrono::hours(4);
    case PauseChoice::UntilTomorrow:
        return localInstant(localTime(now).date().addDays(1), kMorning);
    }
    Q_UNREACHABLE();
}

QString resumeText(const Term &pause, Instant now)
{
    const QString text = QStringLiteral("Resume notifications");
    return pause.until ? QStringLiteral("%1 (paused %2)").arg(text, untilText(*pause.until, now)) : text;
}

Instant nextLocalTime(QTime time, Instant now)
{
    const QDate today = localTime(now).date();
    const Instant next = localInstant(today, time);
    return next > now ? next : localInstant(today.addDays(1), time);
}

} // namespace velmora
