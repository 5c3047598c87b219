// SPDX-License-Identifier: MIT
// The JSON of the OAuth and REST records.
#include "github/device_authorization.h"
#include "github/github_user.h"
#include "github/wire/responses.h"
#include "support/json_coding.h"

namespace velmora
{

template <>
struct JSONTable<DeviceAuthorization> {
    using Record = DeviceAuthorization;
    static constexpr auto fields = std::tuple{json::required("device_code", &Record::deviceCode),
        json::required("user_code", &Record::userCode), json::required("verification_uri", &Record::verificationURI),
        json::required("expires_in", &Record::expiresIn), json::required("interval", &Record::interval)};
};

template <>
struct JSONTable<GitHubOAuthResponse> {
    using Record = GitHubOAuthResponse;
    static constexpr auto fields = std::tuple{json::optional("access_token", &Record::accessToken),
        json::optional("expires_in", &Record::expiresIn), json::optional("refresh_token", &Record::refreshToken),
        json::optional("refresh_token_expires_in", &Record::refreshTokenExpiresIn),
        json::optional("error", &Record::error), json::optional("error_description", &Record::errorDescription)};
};

template <>
struct JSONTable<GitHubUser> {
    using Record = GitHubUser;
    static constexpr auto fields = std::tuple{json::required("id", &Record::id),
        json::required("login", &Record::login), json::optional("avatar_url", &Record::avatarURL)};
};

template <>
struct JSONTable<GitHubInstallationAccount> {
    using Record = GitHubInstallationAccount;
    static constexpr auto fields
        = std::tuple{json::required("id", &Record::id), json::required("login", &Record::login),
            json::optional("avatar_url", &Record::avatarURL), json::required("type", &Record::type)};
};

template <>
struct JSONTable<GitHubInstallation> {
    using Record = GitHubInstallation;
    static constexpr auto fields
        = std::tuple{json::required("id", &Record::id), json::required("account", &Record::account),
            json::required("repository_selection", &Record::repositorySelection),
            json::optional("suspended_at", &Record::suspendedAt)};
};

template <>
struct JSONTable<GitHubRepository> {
    using Record = GitHubRepository;
    static constexpr auto fields = std::tuple{json::required("id", &Record::databaseID),
        json::required("node_id", &Record::nodeID), json::required("full_name", &Record::nameWithOwner),
        json::required("html_url", &Record::url), json::required("private", &Record::isPrivate)};
};

template <>
struct JSONTable<GitHubInstallationsResponse> {
    using Record = GitHubInstallationsResponse;
    static constexpr auto fields = std::tuple{json::required("installations", &Record::installations)};
};

template <>
struct JSONTable<GitHubRepositoriesResponse> {
    using Record = GitHubRepositoriesResponse;
    static constexpr auto fields = std::tuple{json::required("repositories", &Record::repositories)};
};

template DeviceAuthorization decodeJSON<DeviceAuthorization>(QByteArrayView);
template QByteArray encodeJSON<DeviceAuthorization>(const DeviceAuthorization &);
template GitHubOAuthResponse decodeJSON<GitHubOAuthResponse>(QByteArrayView);
template QByteArray encodeJSON<GitHubOAuthResponse>(const GitHubOAuthResponse &);
template GitHubUser decodeJSON<GitHubUser>(QByteArrayView);
template QByteArray encodeJSON<GitHubUser>(const GitHubUser &);
template GitHubInstallationsResponse decodeJSON<GitHubInstallationsResponse>(QByteArrayView);
template QByteArray encodeJSON<GitHubInstallationsResponse>(const GitHubInstallationsResponse &);
template GitHubRepositoriesResponse decodeJSON<GitHubRepositoriesResponse>(QByteArrayView);
template QByteArray encodeJSON<GitHubRepositoriesResponse>(const GitHubRepositoriesResponse &);

} // namespace velmora
