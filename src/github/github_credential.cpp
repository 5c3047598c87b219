// SPDX-License-Identifier: MIT
#include "github/github_credential.h"

#include "github/github_client_error.h"
#include "github/instant_arithmetic.h"
#include "github/wire/responses.h"
#include "support/json_coding.h"

namespace velmora
{

template <>
struct JSONTable<GitHubCredential> {
    using Record = GitHubCredential;
    static constexpr auto fields = std::tuple{json::required("accessToken", &Record::accessToken),
        json::optional("expiresAt", &Record::expiresAt), json::optional("refreshToken", &Record::refreshToken),
        json::optional("refreshTokenExpiresAt", &Record::refreshTokenExpiresAt)};
};

template GitHubCredential decodeJSON<GitHubCredential>(QByteArrayView);
template QByteArray encodeJSON<GitHubCredential>(const GitHubCredential &);

GitHubCredential GitHubCredential::fromResponse(const GitHubOAuthResponse &response, Instant now)
{
    if (!response.accessToken)
        throw GitHubClientError::missingAccessToken(response.error);
    GitHubCredential credential;
    credential.accessToken = *response.accessToken;
    if (response.expiresIn)
        credential.expiresAt = addingSeconds(now, *response.expiresIn);
    credential.refreshToken = response.refreshToken;
    if (response.refreshTokenExpiresIn)
        credential.refreshTokenExpiresAt = addingSeconds(now, *response.refreshTokenExpiresIn);
    return credential;
}

} // namespace velmora
