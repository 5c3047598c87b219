// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/login_origin.h"
#include "app/properties_file.h"
#include "support/web_address.h"

#include <QList>
#include <QUrl>

#include <optional>

namespace velmora
{

struct XDGDirectories;

/// What the application calls itself.
inline constexpr auto kApplicationName = u"Velmora";

/// Two endpoints that do not belong to the same GitHub, so that no token may be used.
struct EndpointProblem {
    QString what; ///< the endpoint, in words
    QUrl url;
    QString setting; ///< the name of the setting that decided the address
    QUrl login; ///< the endpoint at which accounts are connected
    QString loginSetting;

    [[nodiscard]] QString description() const { return descriptionNaming(url.authority(), login.authority()); }
    /// The description with other names for the two hosts.
    [[nodiscard]] QString descriptionNaming(const QString &host, const QString &loginHost) const;
};

/// The settings that are fixed for a run of the program.
struct AppConfiguration {
    /// The GitHub App's client id; absent when none is configured.
    std::optional<QString> githubClientID;
    QUrl apiURL; ///< base of the REST endpoints, without a slash at its end
    QUrl graphqlURL; ///< empty: the API endpoint with "graphql" appended
    QUrl loginURL; ///< base of the OAuth endpoints, without a slash at its end
    QUrl webURL; ///< base of the pages, without a slash at its end
    QString appSlug; ///< the GitHub App's name in addresses
    QByteArray apiVersion; ///< of the REST API, a date
    /// Why no account may be used with these endpoints; absent when they belong together. They do when all are on the
    /// host at which accounts are connected, or when one file sets them all.
    std::optional<EndpointProblem> endpointProblem;
    /// The GitHub that the files name, without regard to the environment; absent when they name none that can be used.
    std::optional<LoginOrigin> originInFiles;

    /// The GitHub whose accounts are used.
    [[nodiscard]] LoginOrigin loginOrigin() const { return LoginOrigin(loginURL); }

    /// The page on which the App is installed on an account or organisation.
    [[nodiscard]] WebAddress installationURL() const;

    /// Takes each key from the first source that has a value for it, or else from the defaults. Throws
    /// ConfigurationError for a value that cannot be used: an endpoint must be https or on this machine.
    [[nodiscard]] static AppConfiguration fromProperties(const QList<Properties> &sources);
    /// The same for the environment, which comes first, and the files.
    [[nodiscard]] static AppConfiguration fromProperties(const Properties &environment, const QList<Properties> &files);

    /// From the environment of the process, "velmora.properties" in the configuration directories, the
    /// user's first, and the copy built into the program. Throws ConfigurationError.
    [[nodiscard]] static AppConfiguration load(const XDGDirectories &directories);
};

} // namespace velmora
