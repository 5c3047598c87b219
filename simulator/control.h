// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/http_message.h"

namespace velmora::simulator
{

class Simulator;

/// Whether the request is for the control endpoint, which is no part of what is imitated.
[[nodiscard]] bool isControl(const Request &request);

/// Does what a request of the control endpoint asks for; README.md lists them.
[[nodiscard]] Response answerControl(Simulator &simulator, const Request &request);

} // namespace velmora::simulator
