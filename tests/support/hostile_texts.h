// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

#include <string>

namespace velmora::testing
{

/// A text that somebody may put into the status of a deployment, and how it has to appear.
struct HostileText {
    std::string name;
    QString given;
    QString shown; ///< literally, on the screen
    QString markup; ///< what a server that interprets markup has to be sent for that
};

/// About a hundred of them.
[[nodiscard]] QList<HostileText> hostileTexts();

} // namespace velmora::testing
