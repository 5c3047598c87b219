// SPDX-License-Identifier: MIT
#pragma once

#include "platform/url_opener.h"

namespace velmora
{

/// Opens a page in the desktop's default browser. The browser outlives this object.
class BrowserURLOpener final : public URLOpener
{
    Q_OBJECT

public:
    using URLOpener::URLOpener;

protected:
    bool start(const WebAddress &address, const QString &activationToken) override;
};

} // namespace velmora
