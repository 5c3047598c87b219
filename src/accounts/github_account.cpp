// SPDX-License-Identifier: MIT
#include "accounts/github_account.h"

#include "support/json_coding.h"

namespace velmora
{

template <>
struct JSONTable<GitHubAccount> {
    using Record = GitHubAccount;
    static constexpr auto fields = std::tuple{json::required("id", &Record::id),
        json::required("login", &Record::login), json::optional("avatarURL", &Record::avatarURL)};
};

// The list is stored as a bare array.
template QList<GitHubAccount> decodeJSON<QList<GitHubAccount>>(QByteArrayView);
template QByteArray encodeJSON<QList<GitHubAccount>>(const QList<GitHubAccount> &);

QString rawValue(GitHubSessionStatus status)
{
    switch (status) {
    case GitHubSessionStatus::Disconnected:
        return QStringLiteral("disconnected");
    case GitHubSessionStatus::RequestingCode:
        return QStringLiteral("requestingCode");
    case GitHubSessionStatus::AwaitingAuthorization:
        return QStringLiteral("awaitingAuthorization");
    case GitHubSessionStatus::Connected:
        return QStringLiteral("connected");
    case GitHubSessionStatus::Refreshing:
        return QStringLiteral("refreshing");
    case GitHubSessionStatus::ReconnectRequired:
        return QStringLiteral("reconnectRequired");
    }
    Q_UNREACHABLE();
}

} // namespace velmora
