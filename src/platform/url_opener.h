// SPDX-License-Identifier: MIT
#pragma once

#include "support/web_address.h"

namespace velmora
{

/// The default browser.
class URLOpener
{
public:
    virtual ~URLOpener() = default;

    /// Opens an http or https address; any other is refused. False when it was refused or no browser could be started.
    virtual bool open(const WebAddress &address) = 0;

    /// The same, as the answer to a click that came with an activation token: the desktop's leave to take the focus,
    /// good for one window. An empty token is as good as none.
    bool open(const WebAddress &address, const QString &activationToken)
    {
        return activationToken.isEmpty() ? open(address) : openActivated(address, activationToken);
    }

protected:
    /// An opener that starts no program of its own has no use for the token.
    virtual bool openActivated(const WebAddress &address, const QString &activationToken)
    {
        Q_UNUSED(activationToken)
        return open(address);
    }
};

} // namespace velmora
