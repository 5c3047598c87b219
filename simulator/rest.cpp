// SPDX-License-Identifier: MIT
#include "simulator/api.h"
#include "simulator/rest_shapes.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

namespace velmora::simulator
{

using namespace Qt::Literals::StringLiterals;

namespace
{

constexpr auto kDocumentation = "https://docs.github.com/rest"_L1;
constexpr auto kVersionHeader = "X-GitHub-Api-Version";

/// A request that has passed every check.
struct Caller {
    const APIContext &context;
    const Request &request;
    int identity;
    APIVersion version;
};

struct Page {
    int number = 1;
    int size = 30;

    [[nodiscard]] qsizetype begin(qsizetype count) const { return std::min(count, qsizetype(number - 1) * size); }
    [[nodiscard]] qsizetype end(qsizetype count) const { return std::min(count, begin(count) + size); }
    [[nodiscard]] int last(qsizetype count) const { return std::max(1, int((count + size - 1) / size)); }
};

std::optional<APIVersion> versionOf(const Request &request)
{
    const auto value = request.header(kVersionHeader);
    if (!value || *value == "2022-11-28")
        return APIVersion::V2022_11_28;
    if (*value == "2026-03-10")
        return APIVersion::V2026_03_10;
    return std::nullopt;
}

Response notFound()
{
    return apiError(404, u"Not Found"_s, kDocumentation);
}

Response unsupportedVersion(const Request &request)
{
    const QString version = QString::fromUtf8(request.header(kVersionHeader).value_or(QByteArray()));
    return apiError(400,
        u"The version you specified in the \"X-GitHub-API-Version\" request header, %1, is not a supported version. "
        "The supported versions are 2022-11-28, 2026-03-10."_s.arg(version),
        u"https://docs.github.com/rest/about-the-rest-api/api-versions"_s);
}

Page pageOf(const Request &request)
{
    Page page;
    page.number = std::max(1, request.queryValue(u"page"_s).toInt());
    const int size = request.queryValue(u"per_page"_s).toInt();
    page.size = size < 1 ? 30 : std::min(size, 100);
    return page;
}

QByteArray linkTo(const Caller &caller, const Page &page, int number, const char *relation)
{
    const QByteArray address = caller.context.web.toString(QUrl::StripTrailingSlash).toUtf8() + caller.request.path;
    return '<' + address + "?per_page=" + QByteArray::number(page.size) + "&page=" + QByteArray::number(number)
        + ">; rel=\"" + relation + '"';
}

void addLinks(Response &response, const Caller &caller, const Page &page, qsizetype count)
{
    QByteArrayList links;
    const int last = page.last(count);
    if (page.number > 1)
        links.append(linkTo(caller, page, std::min(page.number - 1, last), "prev"));
    if (page.number < last) {
        links.append(linkTo(caller, page, page.number + 1, "next"));
        links.append(linkTo(caller, page, last, "last"));
    }
    if (page.number > 1)
        links.append(linkTo(caller, page, 1, "first"));
    if (!links.isEmpty())
        response.headers.append({"Link", links.join(", ")});
}

Response installations(const Caller &caller)
{
    const World &world = caller.context.world;
    const QList<int> all = world.installationsOf(caller.identity);
    const Page page = pageOf(caller.request);
    QJsonArray list;
    for (qsizetype i = page.begin(all.size()); i < page.end(all.size()); ++i)
        list.append(installationJSON(world, all[i], caller.context.web));
    Response response = Response::json(200, QJsonObject{{u"total_count"_s, all.size()}, {u"installations"_s, list}});
    addLinks(response, caller, page, all.size());
    return response;
}

Response repositories(const Caller &caller, qint64 id)
{
    const World &world = caller.context.world;
    const QList<int> visible = world.installationsOf(caller.identity);
    const auto found = std::find_if(
        visible.begin(), visible.end(), [&](int position) { return world.installations()[position].id == id; });
    if (found == visible.end())
        return notFound();
    const Installation &installation = world.installations()[*found];
    if (installation.isSuspended)
        return apiError(403, u"This installation has been suspended"_s, kDocumentation);
    const QList<int> &all = installation.repositories;
    const Page page = pageOf(caller.request);
    QJsonArray list;
    for (qsizetype i = page.begin(all.size()); i < page.end(all.size()); ++i)
        list.append(repositoryJSON(world, all[i], caller.context.web, caller.version));
    Response response = Response::json(200,
        QJsonObject{{u"total_count"_s, all.size()},
            {u"repository_selection"_s, installation.selectsRepositories ? u"selected"_s : u"all"_s},
            {u"repositories"_s, list}});
    addLinks(response, caller, page, all.size());
    return response;
}

QJsonObject budgetJSON(const RateLimit &limit, int whole, const QString &resource)
{
    return QJsonObject{{u"limit"_s, whole}, {u"remaining"_s, limit.remaining}, {u"used"_s, whole - limit.remaining},
        {u"reset"_s, limit.resetAt / 1'000}, {u"resource"_s, resource}};
}

/// GET /rate_limit costs nothing and works without a token, with less content.
Response rateLimits(const APIContext &context, const QString &login, APIVersion version)
{
    constexpr int kAnonymousLimit = 60;
    constexpr int kSearchLimit = 30;
    const Milliseconds reset = context.now + RateLimits::kWindow;
    const auto budget = [&](const QByteArray &resource) {
        if (login.isEmpty())
            return budgetJSON({kAnonymousLimit, reset}, kAnonymousLimit, QString::fromLatin1(resource));
        return budgetJSON(
            context.limits.look(login, resource, context.now), RateLimit::kLimit, QString::fromLatin1(resource));
    };
    const QJsonObject core = budget("core");
    QJsonObject body{{u"resources"_s,
        QJsonObject{{u"core"_s, core}, {u"graphql"_s, budget("graphql")},
            {u"search"_s, budgetJSON({kSearchLimit, reset}, kSearchLimit, u"search"_s)}}}};
    if (version == APIVersion::V2022_11_28)
        body.insert(u"rate"_s, core);
    return Response::json(200, body);
}

Response route(const Caller &caller)
{
    const QString path = QString::fromUtf8(caller.request.path);
    if (path == "/user"_L1)
        return Response::json(200, privateUser(caller.context.world.owners()[caller.identity], caller.context.web));
    if (path == "/user/installations"_L1)
        return installations(caller);
    static const QRegularExpression repositoriesPath(u"^/user/installations/([0-9]{1,18})/repositories$"_s);
    if (const auto match = repositoriesPath.match(path); match.hasMatch())
        return repositories(caller, match.captured(1).toLongLong());
    return notFound();
}

bool isKnown(const Request &request)
{
    static const QRegularExpression known(u"^/user(/installations(/[0-9]{1,18}/repositories)?)?$"_s);
    return (request.method == "GET" || request.method == "HEAD")
        && known.match(QString::fromUtf8(request.path)).hasMatch();
}

QByteArray entityTag(const Request &request, const Response &response)
{
    const QByteArray tagged = response.body + request.token().toUtf8();
    return "W/\"" + QCryptographicHash::hash(tagged, QCryptographicHash::Sha256).toHex() + '"';
}

Response rateLimited(const Caller &caller, const RateLimit &limit, const QString &login)
{
    Response response = apiError(403, u"API rate limit exceeded for user %1."_s.arg(login),
        u"https://docs.github.com/rest/overview/resources-in-the-rest-api#rate-limiting"_s);
    response.headers += caller.context.limits.headers(limit, "core");
    return response;
}

// An answer that the client has cached costs nothing.
Response counted(const Caller &caller, Response response, const QString &login)
{
    const QByteArray tag = entityTag(caller.request, response);
    bool isSpent = false;
    if (response.status == 200 && caller.request.header("If-None-Match") == tag) {
        response = {304, {}, {}};
        const RateLimit limit = caller.context.limits.look(login, "core", caller.context.now);
        response.headers += caller.context.limits.headers(limit, "core");
    } else {
        const RateLimit limit = caller.context.limits.take(login, "core", caller.context.now, &isSpent);
        if (isSpent)
            return rateLimited(caller, limit, login);
        response.headers += caller.context.limits.headers(limit, "core");
    }
    if (response.status < 400) {
        response.headers.append({{"ETag", tag}, {"Cache-Control", "private, max-age=60, s-maxage=60"},
            {"Vary", "Accept, Authorization, Cookie, X-GitHub-OTP,Accept-Encoding, Accept, X-Requested-With"}});
    }
    return response;
}

} // namespace

Response answerREST(const APIContext &context, const Request &request)
{
    if (auto refusal = refuseAnonymousAgent(request))
        return *refusal;
    const auto version = versionOf(request);
    if (!version)
        return unsupportedVersion(request);
    const QString login = context.oauth.loginOf(request.token(), context.now);
    const auto identity = context.world.ownerWithLogin(login);
    if (request.header("Authorization") && !identity)
        return badCredentials(request, kDocumentation);
    if (request.path == "/rate_limit" && request.method == "GET" && context.limits.areOn())
        return rateLimits(context, login, *version);
    if (!isKnown(request))
        return notFound();
    if (!identity)
        return badCredentials(request, kDocumentation);
    const Caller caller{context, request, *identity, *version};
    Response response = counted(caller, route(caller), login);
    response.headers.append({{"X-GitHub-Media-Type", "github.v3; format=json"},
        {"x-github-api-version-selected",
            *version == APIVersion::V2026_03_10 ? QByteArray("2026-03-10") : QByteArray("2022-11-28")}});
    return response;
}

} // namespace velmora::simulator
