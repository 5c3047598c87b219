// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/http_message.h"
#include "simulator/world.h"

#include <optional>

namespace velmora::simulator
{

/// The pages and pictures that addresses in the answers lead to; nothing for other paths.
[[nodiscard]] std::optional<Response> answerPage(const World &world, const Request &request);

/// A picture in one colour, which depends on the number.
[[nodiscard]] QByteArray avatarPNG(quint32 number);

} // namespace velmora::simulator
