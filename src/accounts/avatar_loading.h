// SPDX-License-Identifier: MIT
#pragma once

#include "support/web_address.h"

#include <QByteArray>
#include <QCoroTask>

#include <optional>
#include <stop_token>

namespace velmora
{

/// Where the pictures of accounts come from.
class AvatarLoading
{
public:
    virtual ~AvatarLoading() = default;

    /// The picture at the address, encoded as it came; nothing when there is none to be had, for whatever reason.
    /// Throws CancellationError on a stop, and nothing else.
    [[nodiscard]] virtual QCoro::Task<std::optional<QByteArray>> load(WebAddress address, std::stop_token stop) = 0;
};

} // namespace velmora
