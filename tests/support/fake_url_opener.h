// SPDX-License-Identifier: MIT
#pragma once

#include "platform/url_opener.h"

#include <QStringList>

namespace velmora::testing
{

/// Remembers what it was asked to open, with a space and the activation token when there was one.
class FakeURLOpener final : public URLOpener
{
public:
    using URLOpener::open;
    bool open(const WebAddress &address) override
    {
        opened.append(address.text());
        return works;
    }

    QStringList opened;
    bool works = true;

protected:
    bool openActivated(const WebAddress &address, const QString &activationToken) override
    {
        opened.append(address.text() + QLatin1Char(' ') + activationToken);
        return works;
    }
};

} // namespace velmora::testing
