// SPDX-License-Identifier: MIT
#pragma once

#include "private_provider.h"

namespace velmora::testing
{

/// KeePassXC with the database created by with-private-keyring.
class PrivateDatabase final : public PrivateProvider
{
public:
    PrivateDatabase();

    /// Starts KeePassXC with the database unlocked; waits until the service offers the open collection.
    void start();
    /// Starts KeePassXC with the database locked; waits until the service offers the collection.
    void startLocked();
};

} // namespace velmora::testing
