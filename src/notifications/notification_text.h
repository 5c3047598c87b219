// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notification.h"

#include <QString>

namespace velmora
{

/// How the server reads the body of a notification.
enum class BodyFormat {
    PlainText,
    Markup, ///< tags and entities are interpreted, so text has to be escaped
};

/// The first, bold line. Every server takes it as plain text, so it is never escaped.
[[nodiscard]] QString summaryText(const DeploymentNotification &notification);

/// The subtitle as a line of its own, then the body: servers know no third text. A part that is empty takes no line.
[[nodiscard]] QString bodyText(const DeploymentNotification &notification, BodyFormat format);

/// Text from the network made fit to be shown: no control or direction-changing characters, nothing that D-Bus
/// refuses, and at most `limit` UTF-16 units, cut between characters as people see them. Line breaks are kept.
[[nodiscard]] QString presentableText(const QString &text, qsizetype limit);

} // namespace velmora
