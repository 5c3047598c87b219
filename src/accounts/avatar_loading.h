// SPDX-License-Identifier: MIT
#pragma once

#include "support/web_address.h"

#include <QByteArray>
#include <QCoroTask>

#include <optional>
#include <stop_token>

namespace velmora
{

/// The source of the pictures of accounts.
class AvatarLoading
{
public:
    virtual ~AvatarLoading() = default;

    /// The encoded picture at the address; nullopt on any failure. Throws only CancellationError, on a stop.
    [[nodiscard]] virtual QCoro::Task<std::optional<QByteArray>> load(WebAddress address, std::stop_token stop) = 0;
};

} // namespace velmora
