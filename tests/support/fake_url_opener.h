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
    QStringList opened;
    bool works = true;

    /// The browser, which was started, gives up.
    void giveUp(const WebAddress &address) { noteUnopened(address); }

protected:
    bool start(const WebAddress &address, const QString &activationToken) override
    {
        opened.append(activationToken.isEmpty() ? address.text() : address.text() + QLatin1Char(' ') + activationToken);
        return works;
    }
};

} // namespace velmora::testing
