// SPDX-License-Identifier: MIT
#pragma once

#include <QNetworkProxy>
#include <QProcessEnvironment>
#include <QUrl>

#include <optional>

namespace velmora
{

/// The proxy that the environment names for the address, as the programs of a terminal understand it: https_proxy or
/// http_proxy, whichever fits the scheme, else all_proxy; in small letters or else in capital ones. A variable that is
/// empty counts as absent.
///
/// "No proxy" where the address is on this machine or no_proxy holds its host. Nothing where the environment is silent,
/// so that the system is to be asked. Throws a TransportError, which names the variable and never its value, for an
/// address of a proxy that cannot be used.
[[nodiscard]] std::optional<QNetworkProxy> environmentProxy(const QUrl &url, const QProcessEnvironment &environment);

/// Whether a list such as no_proxy holds the host of the address. Its entries stand between commas or spaces: a host,
/// which holds the hosts below it as well ("example.com", ".example.com" and "*.example.com" are the same), an address
/// or a network ("10.0.0.0/8"), each with a port or without, or "*" for everything.
[[nodiscard]] bool isWithoutProxy(const QUrl &url, const QString &list);

/// Whether the address is one of this machine.
[[nodiscard]] bool isOnThisMachine(const QUrl &url);

} // namespace velmora
