// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <cstring>

namespace velmora
{

/// Overwrites a text that held a secret, so that neither a core file nor later memory shows it. One that shares its
/// memory with another is left alone: that one is still in use.
inline void erase(QByteArray &secret)
{
    if (!secret.isEmpty() && secret.isDetached())
        explicit_bzero(secret.data(), static_cast<std::size_t>(secret.size()));
}

} // namespace velmora
