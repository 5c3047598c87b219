// SPDX-License-Identifier: MIT
#pragma once

#include "private_provider.h"

namespace velmora::testing
{

/// KWallet with the settings that with-private-keyring has written. Has no wallet before the first start(). What is
/// stored reaches the disk when the wallet is locked, so that it is to be locked before it is ended.
class PrivateWallet final : public PrivateProvider
{
public:
    PrivateWallet();

    /// Starts KWallet as a login with a password does, and waits until the wallet is open. Makes the wallet when there
    /// is none.
    void start();
    /// Starts KWallet as a login without a password does, and waits until it offers the locked wallet.
    void startLocked();
    /// Whether KWallet asks the user before another program uses the open wallet. For the next start().
    void setAsksAboutPrograms(bool asks);
    /// Whether the wallet is open, by KWallet's own account.
    [[nodiscard]] bool isOpen() const;

private:
    void logIn();
    void makeWallet();
};

} // namespace velmora::testing
