// SPDX-License-Identifier: MIT
#pragma once

#include "support/web_address.h"

#include <QString>

namespace velmora
{

// Texts for the terminal that several files share.

[[nodiscard]] inline QString noAccountText()
{
    return QStringLiteral("No GitHub account is connected. Run “velmora connect” to connect one.");
}

[[nodiscard]] inline QString notInstalledText(const WebAddress &installationURL)
{
    return QStringLiteral("Velmora is not installed anywhere. Install it: %1").arg(installationURL.text());
}

[[nodiscard]] inline QString noRepositoriesText(const WebAddress &installationURL)
{
    return QStringLiteral("No repositories. Choose where Velmora is installed: %1").arg(installationURL.text());
}

[[nodiscard]] inline QString hasBeenQuitText()
{
    return QStringLiteral("Velmora has been quit.");
}

[[nodiscard]] inline QString noAnswerText()
{
    return QStringLiteral("Velmora is running already, but does not answer.");
}

} // namespace velmora
