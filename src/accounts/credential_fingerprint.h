// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_credential.h"

#include <QByteArray>

namespace velmora
{

/// Enough of a hash, in hexadecimal digits, to tell the credentials of one account apart. No token can be found from
/// it, so it may stand in a file.
[[nodiscard]] QByteArray fingerprint(const GitHubCredential &credential);

} // namespace velmora
