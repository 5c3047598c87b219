// SPDX-License-Identifier: MIT
#pragma once

#include "platform/url_opener.h"

#include <QStringList>

namespace velmora::testing
{

/// Records the opened addresses, each followed by a space and the activation token if there is one.
class FakeURLOpener final : public URLOpener
{
public:
    QStringList opened;
    bool works = true;

    /// Simulates a browser that was started and then gave up.
    void giveUp(const WebAddress &address) { recordUnopened(address); }

protected:
    bool start(const WebAddress &address, const QString &activationToken) override
    {
        opened.append(activationToken.isEmpty() ? address.text() : address.text() + QLatin1Char(' ') + activationToken);
        return works;
    }
};

} // namespace velmora::testing
