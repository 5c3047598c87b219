// SPDX-License-Identifier: MIT
#include "platform/url_opener.h"

namespace velmora
{

bool URLOpener::open(const WebAddress &address, const QString &activationToken)
{
    const bool isStarted = start(address, activationToken);
    setUnopened(isStarted ? std::nullopt : std::optional(address));
    return isStarted;
}

void URLOpener::setUnopened(const std::optional<WebAddress> &address)
{
    if (std::exchange(m_unopened, address) != address)
        Q_EMIT unopenedChanged();
}

} // namespace velmora
