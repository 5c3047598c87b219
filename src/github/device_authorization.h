// SPDX-License-Identifier: MIT
#pragma once

#include "support/web_address.h"

#include <QString>

namespace velmora
{

/// The start of a device flow: the code for the user, the page where to type it, and the device code for polling. The
/// device code is a secret.
struct DeviceAuthorization {
    QString deviceCode;
    QString userCode;
    WebAddress verificationURI;
    qint64 expiresIn = 0; ///< seconds
    qint64 interval = 0; ///< least number of seconds between two polls

    friend bool operator==(const DeviceAuthorization &, const DeviceAuthorization &) = default;
};

} // namespace velmora
