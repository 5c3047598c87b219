// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/secret_service_calls.h"

namespace velmora
{

/// Unlocks the locked items and collections whose wallet KWallet already holds open. Returns whether it unlocked any.
/// For operations that may not ask the user: KWallet does not ask about an open wallet, unless the user has chosen to
/// be asked about each program; a user who declines is not asked again. Does nothing with other providers, or while
/// another question to the user is open. Throws NotAnswering.
///
/// KWallet's Secret Service reports a wallet as locked until a program has unlocked it there, even if the login or
/// another KDE program has opened it.
[[nodiscard]] QCoro::Task<bool> openWallets(SecretOperation operation, SecretProxies locked);

} // namespace velmora
