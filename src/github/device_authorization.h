// SPDX-License-Identifier: MIT
#pragma once

#include "support/web_address.h"

#include <QString>

#include <optional>

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

/// A response of the token endpoint, success or refusal. Every field is optional on the wire.
struct GitHubOAuthResponse {
    std::optional<QString> accessToken;
    std::optional<qint64> expiresIn; ///< seconds
    std::optional<QString> refreshToken;
    std::optional<qint64> refreshTokenExpiresIn; ///< seconds
    std::optional<QString> error;
    std::optional<QString> errorDescription;

    friend bool operator==(const GitHubOAuthResponse &, const GitHubOAuthResponse &) = default;
};

} // namespace velmora
