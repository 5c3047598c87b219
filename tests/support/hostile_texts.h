// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

#include <string>

namespace velmora::testing
{

/// A text in the status of a deployment that must not do harm, and how it must appear.
struct HostileText {
    std::string name;
    QString given;
    QString shown; ///< as it must appear on the screen
    QString markup; ///< as a server that interprets markup must receive it
};

/// About a hundred hostile texts.
[[nodiscard]] QList<HostileText> hostileTexts();

} // namespace velmora::testing
