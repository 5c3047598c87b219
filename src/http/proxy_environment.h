// SPDX-License-Identifier: MIT
#pragma once

#include "http/proxy.h"

#include <QProcessEnvironment>

namespace velmora
{

/// The proxy that the environment names for the address, by the rules of command-line programs: https_proxy or
/// http_proxy according to the scheme, else all_proxy; in lower case, else in upper case. An empty variable counts as
/// absent.
///
/// "No proxy" if the address is on this machine or no_proxy matches its host. Returns nullopt if the environment names
/// none, so that the system decides. Throws a TransportError for an unusable proxy address; it names the variable,
/// never its value.
[[nodiscard]] std::optional<Proxy> environmentProxy(const QUrl &url, const QProcessEnvironment &environment);

/// Whether a list such as no_proxy matches the host of the address. Its entries are separated by commas or spaces. An
/// entry is a host, which also matches its subdomains ("example.com", ".example.com" and "*.example.com" are equal), an
/// address or a network ("10.0.0.0/8"), each with or without a port, or "*" for all.
[[nodiscard]] bool isWithoutProxy(const QUrl &url, const QString &list);

} // namespace velmora
