// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/http_message.h"

namespace velmora::simulator
{

class Simulator;

/// Whether the request is for the control endpoint, which GitHub does not have.
[[nodiscard]] bool isControl(const Request &request);

/// Carries out a request to the control endpoint; README.md lists them.
[[nodiscard]] Response answerControl(Simulator &simulator, const Request &request);

} // namespace velmora::simulator
