// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notification.h"

#include <QString>

namespace velmora
{

/// How the server interprets the body of a notification.
enum class BodyFormat {
    PlainText,
    Markup, ///< tags and entities are interpreted, so text must be escaped
};

/// The first line, in bold. Not escaped, since every server takes it as plain text.
[[nodiscard]] QString summaryText(const DeploymentNotification &notification);

/// The subtitle with a colon, and the body on the next line, since servers have no separate subtitle. An empty part
/// takes no line.
[[nodiscard]] QString bodyText(const DeploymentNotification &notification, BodyFormat format);

/// The words on the button that mutes the repository, which is named without its owner: "Mute web".
[[nodiscard]] QString muteText(const DeploymentSnapshot &deployment);

} // namespace velmora
