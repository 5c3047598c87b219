// SPDX-License-Identifier: MIT
#pragma once

#include "platform/url_opener.h"

namespace velmora
{

/// Starts the desktop's own opener (xdg-open) in a process of its own. Needs no window system connection.
class BrowserURLOpener final : public URLOpener
{
public:
    using URLOpener::open;
    bool open(const WebAddress &address) override;

protected:
    /// The browser finds the token in its environment.
    bool openActivated(const WebAddress &address, const QString &activationToken) override;
};

} // namespace velmora
