// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/secret_service_calls.h"

namespace velmora
{

/// Opens those of the locked items and collections that are in a wallet which KWallet holds open, and tells whether
/// there were any. For an operation that may not ask the user: KWallet asks nothing about an open wallet, unless the
/// user wants to be asked about each program; the user who declines that is asked no more. Does nothing with other
/// providers, or while the user is asked something else. Throws NotAnswering.
///
/// KWallet's Secret Service takes a wallet for locked until a program has unlocked it there, even if the login or a
/// program of KDE has opened it.
[[nodiscard]] QCoro::Task<bool> openWallets(SecretOperation operation, SecretProxies locked);

} // namespace velmora
