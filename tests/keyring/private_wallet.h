// SPDX-License-Identifier: MIT
#pragma once

#include "private_provider.h"

namespace velmora::testing
{

/// KWallet with the settings written by with-private-keyring. Before the first start() there is no wallet. KWallet
/// saves when the wallet is locked, so lock it before ending the program.
class PrivateWallet final : public PrivateProvider
{
public:
    PrivateWallet();

    /// Starts KWallet like a login with a password, and waits until the wallet is open. Creates the wallet if
    /// necessary.
    void start();
    /// Starts KWallet like a login without a password; waits until the service offers the locked wallet.
    void startLocked();
    /// Sets whether KWallet asks the user before another program uses the open wallet. Takes effect with start().
    void setAsksAboutPrograms(bool asks);
    /// Whether KWallet itself reports the wallet as open.
    [[nodiscard]] bool isOpen() const;

private:
    void logIn();
    void makeWallet();
};

} // namespace velmora::testing
