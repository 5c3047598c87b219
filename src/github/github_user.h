// SPDX-License-Identifier: MIT
#pragma once

#include "support/web_address.h"

#include <QString>

#include <optional>

namespace velmora
{

/// The identity behind a token.
struct GitHubUser {
    qint64 id = 0;
    QString login;
    std::optional<WebAddress> avatarURL;

    friend bool operator==(const GitHubUser &, const GitHubUser &) = default;
};

} // namespace velmora
