// SPDX-License-Identifier: MIT
#include "notifications/notification_text.h"

#include "support/foreign_text.h"

namespace velmora
{

namespace
{

// In UTF-16 units: more than any server shows, and not enough to slow one down.
constexpr qsizetype kTitleLimit = 200;
constexpr qsizetype kSubtitleLimit = 200;
constexpr qsizetype kBodyLimit = 500;
constexpr qsizetype kButtonLimit = 30;

QString onOneLine(QString text)
{
    return text.replace(u'\n', u' ');
}

} // namespace

QString summaryText(const DeploymentNotification &notification)
{
    return onOneLine(presentableText(notification.title, kTitleLimit));
}

QString bodyText(const DeploymentNotification &notification, BodyFormat format)
{
    const QString subtitle = onOneLine(presentableText(notification.subtitle, kSubtitleLimit));
    const QString body = presentableText(notification.body, kBodyLimit);
    // Some desktops join the lines, GNOME's list for one.
    const QString separator = subtitle.isEmpty() || body.isEmpty() ? QString() : QStringLiteral(":\n");
    const QString text = subtitle + separator + body;
    // Apostrophes need no escaping outside tags, and some servers do not know their entity.
    return format == BodyFormat::Markup ? text.toHtmlEscaped() : text;
}

QString muteText(const DeploymentSnapshot &deployment)
{
    const QString name = deployment.repositoryName.section(QLatin1Char('/'), -1);
    return QStringLiteral("Mute ") + onOneLine(presentableText(name, kButtonLimit));
}

} // namespace velmora
