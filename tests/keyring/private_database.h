// SPDX-License-Identifier: MIT
#pragma once

#include "private_provider.h"

namespace velmora::testing
{

/// KeePassXC with the database that with-private-keyring has made.
class PrivateDatabase final : public PrivateProvider
{
public:
    PrivateDatabase();

    /// Starts KeePassXC with the database unlocked, and waits until it offers the open collection.
    void start();
    /// Starts KeePassXC with the database locked, and waits until it offers the collection.
    void startLocked();
};

} // namespace velmora::testing
