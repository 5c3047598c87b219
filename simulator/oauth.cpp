// SPDX-License-Identifier: MIT
#include "simulator/oauth.h"

#include <QJsonDocument>
#include <QSet>

namespace velmora::simulator
{

using namespace Qt::Literals::StringLiterals;

namespace
{

using Pairs = QList<QPair<QString, QString>>;

Pairs failure(const QString &error, const QString &description, const QString &page)
{
    return {{u"error"_s, error}, {u"error_description"_s, description},
        {u"error_uri"_s, u"https://docs.github.com/developers/apps/authorizing-oauth-apps#"_s + page}};
}

Pairs wrongClient()
{
    return {{u"error"_s, u"incorrect_client_credentials"_s},
        {u"error_description"_s, u"The client_id and/or client_secret passed are incorrect."_s},
        {u"error_uri"_s,
            u"/apps/managing-oauth-apps/troubleshooting-oauth-app-access-token-request-errors/"
            "#incorrect-client-credentials"_s}};
}

// Expiry times and intervals are numbers in JSON, but text in a form.
QJsonObject jsonOf(const Pairs &pairs)
{
    static const QSet<QString> numbers{u"expires_in"_s, u"interval"_s, u"refresh_token_expires_in"_s};
    QJsonObject json;
    for (const auto &[name, value] : pairs)
        json[name] = numbers.contains(name) ? QJsonValue(value.toLongLong()) : QJsonValue(value);
    return json;
}

Response answer(const Request &request, int status, const Pairs &pairs)
{
    if (request.header("Accept").value_or(QByteArray()).contains("application/json"))
        return Response::json(status, jsonOf(pairs));
    return {status, {{"Content-Type", "application/x-www-form-urlencoded; charset=utf-8"}}, encodeForm(pairs)};
}

// GitHub accepts parameters in the query, in a form and in JSON.
std::map<QString, QString> valuesOf(const Request &request)
{
    std::map<QString, QString> values;
    const auto add = [&](const Pairs &pairs) {
        for (const auto &[name, value] : pairs)
            values[name] = value;
    };
    add(request.queryItems());
    if (request.header("Content-Type").value_or(QByteArray()).startsWith("application/json")) {
        const QJsonObject json = QJsonDocument::fromJson(request.body).object();
        for (auto entry = json.begin(); entry != json.end(); ++entry)
            values[entry.key()] = entry.value().toVariant().toString();
    } else {
        add(decodeForm(request.body));
    }
    return values;
}

QString valueOf(const std::map<QString, QString> &values, const QString &name)
{
    const auto found = values.find(name);
    return found == values.end() ? QString() : found->second;
}

} // namespace

QString demoClientID()
{
    return u"Iv23liVelmoraDemo001"_s;
}

OAuth::OAuth(OAuthSettings settings, quint64 seed)
    : m_settings(std::move(settings))
    , m_random(seed)
{
}

Response OAuth::deviceCode(const Request &request, const QUrl &web, Milliseconds now)
{
    const QString clientID = valueOf(valuesOf(request), u"client_id"_s);
    if (!m_settings.clientIDs.contains(clientID))
        return answer(request, 404, {{u"error"_s, u"Not Found"_s}});
    dropOld(now);
    DeviceCode code;
    code.deviceCode = m_random.hex(40);
    static constexpr auto kLetters = "BCDFGHJKLMNPQRSTVWXZ"_L1; // without vowels, so that no words result
    for (int i = 0; i < 8; ++i)
        code.userCode += kLetters[m_random.between(0, kLetters.size() - 1)];
    code.userCode.insert(4, u'-');
    code.clientID = clientID;
    code.createdAt = now;
    code.interval = m_settings.interval;
    m_codes.append(code);
    return answer(request, 200,
        {{u"device_code"_s, code.deviceCode}, {u"user_code"_s, code.userCode},
            {u"verification_uri"_s, web.toString(QUrl::StripTrailingSlash) + "/login/device"_L1},
            {u"expires_in"_s, QString::number(m_settings.deviceCodeSeconds)},
            {u"interval"_s, QString::number(code.interval)}});
}

Response OAuth::accessToken(const Request &request, const World &world, Milliseconds now)
{
    return answer(request, 200, answerTo(valuesOf(request), world, now));
}

Pairs OAuth::answerTo(const Form &form, const World &world, Milliseconds now)
{
    if (!m_settings.clientIDs.contains(valueOf(form, u"client_id"_s)))
        return wrongClient();
    const QString grantType = valueOf(form, u"grant_type"_s);
    if (grantType == "urn:ietf:params:oauth:grant-type:device_code"_L1)
        return poll(form, world, now);
    if (grantType == "refresh_token"_L1)
        return refresh(form, now);
    return failure(u"unsupported_grant_type"_s,
        u"The grant type must be urn:ietf:params:oauth:grant-type:device_code or refresh_token."_s,
        u"error-codes-for-the-device-flow"_s);
}

Pairs OAuth::poll(const Form &form, const World &world, Milliseconds now)
{
    static const QString kPage = u"error-codes-for-the-device-flow"_s;
    const QString wanted = valueOf(form, u"device_code"_s);
    const auto code = std::find_if(m_codes.begin(), m_codes.end(), [&](const DeviceCode &candidate) {
        return candidate.deviceCode == wanted && candidate.clientID == valueOf(form, u"client_id"_s);
    });
    if (code == m_codes.end())
        return failure(u"incorrect_device_code"_s, u"The device_code provided is not valid."_s, kPage);
    if (code->state == DeviceCode::State::Expired || now - code->createdAt >= m_settings.deviceCodeSeconds * 1'000)
        return failure(u"expired_token"_s, u"This 'device_code' has expired."_s, kPage);
    const auto before = std::exchange(code->polledAt, now);
    if (before && now - *before < code->interval * 1'000) {
        code->interval += 5;
        auto slower = failure(u"slow_down"_s, u"Too many requests have been made in the same timeframe."_s, kPage);
        slower.append({u"interval"_s, QString::number(code->interval)});
        return slower;
    }
    approveByItself(*code, world, now);
    if (code->state == DeviceCode::State::Denied) {
        forget(wanted);
        return failure(u"access_denied"_s, u"The authorization request was denied."_s, kPage);
    }
    if (code->state == DeviceCode::State::Pending)
        return failure(u"authorization_pending"_s, u"The authorization request is still pending."_s, kPage);
    auto tokens = grant(code->login, code->clientID, now);
    forget(wanted);
    return tokens;
}

Pairs OAuth::refresh(const Form &form, Milliseconds now)
{
    const QString token = valueOf(form, u"refresh_token"_s);
    const auto old = std::find_if(m_grants.begin(), m_grants.end(), [&](const Grant &candidate) {
        return !token.isEmpty() && candidate.refreshToken == token
            && candidate.clientID == valueOf(form, u"client_id"_s) && now < candidate.refreshExpiresAt;
    });
    if (old == m_grants.end())
        return failure(u"bad_refresh_token"_s, u"The refresh token passed is incorrect or expired."_s,
            u"error-codes-for-the-refresh-token-flow"_s);
    const Grant used = *old;
    m_grants.erase(old); // both old tokens become invalid, even if the answer gets lost
    return grant(used.login, used.clientID, now);
}

Pairs OAuth::grant(const QString &login, const QString &clientID, Milliseconds now)
{
    Grant grant;
    grant.login = login;
    grant.clientID = clientID;
    grant.accessToken = u"ghu_"_s + m_random.hex(36);
    Pairs pairs{{u"access_token"_s, grant.accessToken}};
    if (m_settings.tokensExpire) {
        grant.accessExpiresAt = now + m_settings.accessTokenSeconds * 1'000;
        grant.refreshToken = u"ghr_"_s + m_random.hex(76);
        grant.refreshExpiresAt = now + m_settings.refreshTokenSeconds * 1'000;
        pairs.append({{u"expires_in"_s, QString::number(m_settings.accessTokenSeconds)},
            {u"refresh_token"_s, grant.refreshToken},
            {u"refresh_token_expires_in"_s, QString::number(m_settings.refreshTokenSeconds)}});
    }
    pairs.append({{u"token_type"_s, u"bearer"_s}, {u"scope"_s, u""_s}});
    m_grants.append(grant);
    const auto isSame = [&](const Grant &other) {
        return other.login == login && other.clientID == clientID;
    };
    if (std::count_if(m_grants.begin(), m_grants.end(), isSame) > kMostTokensOfOne)
        m_grants.erase(std::find_if(m_grants.begin(), m_grants.end(), isSame));
    return pairs;
}

void OAuth::approveByItself(DeviceCode &code, const World &world, Milliseconds now)
{
    const QList<int> identities = world.identities();
    if (code.state != DeviceCode::State::Pending || !m_settings.autoApproveAfter || identities.isEmpty())
        return;
    if (now - code.createdAt < *m_settings.autoApproveAfter)
        return;
    code.state = DeviceCode::State::Approved;
    code.login = world.owners()[identities[m_nextIdentity % identities.size()]].login;
    m_nextIdentity = (m_nextIdentity + 1) % int(identities.size());
}

QString OAuth::loginOf(const QString &token, Milliseconds now) const
{
    for (const Grant &grant : m_grants) {
        if (grant.accessToken == token && (!grant.accessExpiresAt || now < *grant.accessExpiresAt))
            return grant.login;
    }
    return {};
}

QString OAuth::issueAccessToken(const QString &login, Milliseconds now)
{
    return grant(login, m_settings.clientIDs.value(0), now).first().second;
}

OAuth::DeviceCode *OAuth::pending(const QString &userCode)
{
    const auto code = std::find_if(m_codes.begin(), m_codes.end(), [&](const DeviceCode &candidate) {
        return candidate.userCode == userCode && candidate.state == DeviceCode::State::Pending;
    });
    return code == m_codes.end() ? nullptr : &*code;
}

bool OAuth::approve(const QString &userCode, const QString &login)
{
    DeviceCode *const code = pending(userCode);
    if (!code)
        return false;
    code->state = DeviceCode::State::Approved;
    code->login = login;
    return true;
}

bool OAuth::deny(const QString &userCode)
{
    DeviceCode *const code = pending(userCode);
    if (code)
        code->state = DeviceCode::State::Denied;
    return code != nullptr;
}

bool OAuth::expire(const QString &userCode)
{
    DeviceCode *const code = pending(userCode);
    if (code)
        code->state = DeviceCode::State::Expired;
    return code != nullptr;
}

void OAuth::revoke(const QString &login)
{
    m_grants.removeIf([&](const Grant &grant) { return grant.login == login; });
}

void OAuth::clear()
{
    m_codes.clear();
    m_grants.clear();
}

QStringList OAuth::pendingUserCodes() const
{
    QStringList codes;
    for (const DeviceCode &code : m_codes) {
        if (code.state == DeviceCode::State::Pending)
            codes.append(code.userCode);
    }
    return codes;
}

void OAuth::forget(const QString &deviceCode)
{
    m_codes.removeIf([&](const DeviceCode &code) { return code.deviceCode == deviceCode; });
}

void OAuth::dropOld(Milliseconds now)
{
    // Keeps expired codes for one more lifetime, so that a late poll is answered with the reason.
    m_codes.removeIf(
        [&](const DeviceCode &code) { return now - code.createdAt > 2 * m_settings.deviceCodeSeconds * 1'000; });
    if (std::size_t(m_codes.size()) >= kMostDeviceCodes)
        m_codes.removeFirst();
}

} // namespace velmora::simulator
