// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/http_message.h"
#include "simulator/random.h"
#include "simulator/world.h"

#include <QStringList>
#include <QUrl>

#include <map>

namespace velmora::simulator
{

/// The client id of the App that exists by default.
[[nodiscard]] QString demoClientID();

/// The behaviour of the device flow and of tokens.
struct OAuthSettings {
    QStringList clientIDs{demoClientID()}; ///< the Apps that exist
    int interval = 5; ///< seconds between two polls
    qint64 deviceCodeSeconds = 900;
    std::optional<Milliseconds> autoApproveAfter; ///< codes approve themselves, for each user in turn
    bool tokensExpire = true;
    qint64 accessTokenSeconds = 28'800;
    qint64 refreshTokenSeconds = 15'811'200;
};

/// The device flow and the lifetimes of tokens. All its lists are bounded.
class OAuth
{
public:
    static constexpr int kMostTokensOfOne = 10; ///< for each user and App; the oldest is dropped
    static constexpr std::size_t kMostDeviceCodes = 1'000;

    OAuth(OAuthSettings settings, quint64 seed);

    /// POST /login/device/code.
    [[nodiscard]] Response deviceCode(const Request &request, const QUrl &web, Milliseconds now);
    /// POST /login/oauth/access_token.
    [[nodiscard]] Response accessToken(const Request &request, const World &world, Milliseconds now);

    /// The login that owns the token; empty if it is unknown, expired or revoked.
    [[nodiscard]] QString loginOf(const QString &token, Milliseconds now) const;
    /// Issues a token without the device flow, for tests.
    [[nodiscard]] QString issueAccessToken(const QString &login, Milliseconds now);

    /// What a user does with the code on the page. False if no such code is pending.
    bool approve(const QString &userCode, const QString &login);
    bool deny(const QString &userCode);
    bool expire(const QString &userCode);
    /// Revokes all tokens of the login.
    void revoke(const QString &login);
    /// Forgets every code and token.
    void clear();
    /// The user codes that are still pending.
    [[nodiscard]] QStringList pendingUserCodes() const;

    [[nodiscard]] OAuthSettings &settings() { return m_settings; }

private:
    using Form = std::map<QString, QString>;
    struct DeviceCode {
        enum class State { Pending, Approved, Denied, Expired };
        QString deviceCode;
        QString userCode;
        QString clientID;
        Milliseconds createdAt = 0;
        std::optional<Milliseconds> polledAt;
        int interval = 5;
        State state = State::Pending;
        QString login;
    };
    struct Grant {
        QString login;
        QString clientID;
        QString accessToken;
        std::optional<Milliseconds> accessExpiresAt;
        QString refreshToken; ///< empty if tokens do not expire
        Milliseconds refreshExpiresAt = 0;
    };

    [[nodiscard]] QList<QPair<QString, QString>> answerTo(const Form &form, const World &world, Milliseconds now);
    [[nodiscard]] QList<QPair<QString, QString>> poll(const Form &form, const World &world, Milliseconds now);
    [[nodiscard]] QList<QPair<QString, QString>> refresh(const Form &form, Milliseconds now);
    [[nodiscard]] QList<QPair<QString, QString>> grant(const QString &login, const QString &clientID, Milliseconds now);
    void approveByItself(DeviceCode &code, const World &world, Milliseconds now);
    void forget(const QString &deviceCode);
    void dropOld(Milliseconds now);
    [[nodiscard]] DeviceCode *pending(const QString &userCode);

    OAuthSettings m_settings;
    Random m_random;
    QList<DeviceCode> m_codes;
    QList<Grant> m_grants; ///< oldest first
    int m_nextIdentity = 0;
};

} // namespace velmora::simulator
