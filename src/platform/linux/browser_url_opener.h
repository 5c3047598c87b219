// SPDX-License-Identifier: MIT
#pragma once

#include "platform/url_opener.h"

namespace velmora
{

/// Has the desktop open a page in the browser that it is set up with. What was started goes on when this ends.
class BrowserURLOpener final : public URLOpener
{
    Q_OBJECT

public:
    using URLOpener::URLOpener;

protected:
    bool start(const WebAddress &address, const QString &activationToken) override;
};

} // namespace velmora
