// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_credential.h"

#include <QByteArray>

namespace velmora
{

/// Part of a hash, in hexadecimal digits, that tells the credentials of one account apart. It reveals no token, so it
/// may be written to a file.
[[nodiscard]] QByteArray fingerprint(const GitHubCredential &credential);

} // namespace velmora
