// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <cstring>

namespace velmora
{

/// Overwrites a secret, so that neither a core file nor memory that is reused shows it. Leaves a shared buffer alone,
/// since its other owners still use it.
inline void erase(QByteArray &secret)
{
    if (!secret.isEmpty() && secret.isDetached())
        explicit_bzero(secret.data(), static_cast<std::size_t>(secret.size()));
}

} // namespace velmora
