// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/http_message.h"
#include "simulator/world.h"

#include <optional>

namespace velmora::simulator
{

/// The pages and pictures to which addresses in the answers lead; nothing for a path that has none.
[[nodiscard]] std::optional<Response> answerPage(const World &world, const Request &request);

/// A picture of one colour, made from the number.
[[nodiscard]] QByteArray avatarPNG(quint32 number);

} // namespace velmora::simulator
