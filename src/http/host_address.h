// SPDX-License-Identifier: MIT
#pragma once

#include <QUrl>

namespace velmora
{

/// The port of the address, else the usual one of https or http.
[[nodiscard]] int portOf(const QUrl &url);

/// Whether a connection to the address never leaves this machine: libcurl asks no name server for localhost and the
/// names below it.
[[nodiscard]] bool isOnThisMachine(const QUrl &url);

/// Whether the host is an IP address, of version 4 or 6, and not a name.
[[nodiscard]] bool isIPAddress(const QString &host);

/// Whether the host is an IP address in the network, such as "10.0.0.0/8" or "10.0.0.0/255.0.0.0". A network without a
/// mask is a single address.
[[nodiscard]] bool isInNetwork(const QString &host, const QString &network);

} // namespace velmora
