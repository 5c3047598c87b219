// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_state.h"
#include "support/builders.h"
#include "support/fake_http_session.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>

#include <optional>

namespace velmora::testing
{

/// A GitHub in memory, with just enough for the stores and the monitor. Answers the REST lists and the deployments
/// query by token, and records the requests.
class FakeGitHub
{
public:
    struct Deployment {
        QString id;
        QString state = QStringLiteral("SUCCESS");
        Instant updatedAt = noon();
        QString environment = QStringLiteral("production");
        std::optional<QString> logURL = {}; ///< if this or the next is set, the deployment has a status
        std::optional<QString> environmentURL = {};
    };
    struct Repository {
        QString nodeID;
        QString name;
        QList<Deployment> deployments;
        QString graphqlID; ///< the id in GraphQL answers; empty: nodeID
        QString graphqlError = {}; ///< the type of the error in the GraphQL answer; empty: no error
    };
    struct Identity {
        QList<Repository> repositories; ///< granted by one installation
        bool isInstalled = false; ///< the installation exists even without repositories
        std::optional<HTTPResponse> restFailure;
        std::optional<HTTPResponse> graphqlFailure;
        std::exception_ptr transportFailure; ///< thrown for every request
        qint64 cost = 1;
        qint64 remaining = 5000;
        Instant resetAt = noon() + std::chrono::hours(1);
    };

    FakeGitHub()
    {
        session->handler = [this](const HTTPRequest &request) {
            return answer(request);
        };
    }

    /// Identities by access token.
    QMap<QString, Identity> identities;
    /// The repository ids of all deployments queries, in order, each as "TOKEN: ID ID …".
    QStringList queries;
    /// The code that the user enters to connect an account, and the token that is granted once it has been entered.
    QString userCode = QStringLiteral("WDJB-MJHT");
    std::optional<QString> grantedToken;
    /// The paths of all other requests, each as "TOKEN: PATH".
    QStringList restRequests;
    /// Called with the token before each answer; may let time pass, for instance.
    std::function<void(const QString &token)> meanwhile;
    std::shared_ptr<FakeHTTPSession> session = std::make_shared<FakeHTTPSession>();

    void clearLog()
    {
        queries.clear();
        restRequests.clear();
    }

private:
    static HTTPResponse json(const QJsonObject &object)
    {
        return FakeHTTPSession::response(200, QJsonDocument(object).toJson());
    }

    static QString tokenOf(const HTTPRequest &request)
    {
        for (const auto &[name, value] : request.headers) {
            if (name.compare("Authorization", Qt::CaseInsensitive) == 0)
                return QString::fromLatin1(value.mid(static_cast<qsizetype>(qstrlen("Bearer "))));
        }
        return {};
    }

    HTTPResponse answer(const HTTPRequest &request)
    {
        const QString token = tokenOf(request);
        const QString path = request.url.path();
        const bool isQuery = path.endsWith(QStringLiteral("/graphql"));
        if (path.contains(QStringLiteral("/login/")))
            return authorization(path);
        if (!isQuery)
            restRequests.append(token + QStringLiteral(": ") + path);
        const auto identity = std::as_const(identities).find(token);
        if (identity == identities.constEnd())
            return FakeHTTPSession::response(401, "{}", {{"x-ratelimit-remaining", "0"}});
        if (isQuery)
            logQuery(token, *request.body);
        if (meanwhile)
            meanwhile(token);
        if (identity->transportFailure)
            std::rethrow_exception(identity->transportFailure);
        if (isQuery)
            return identity->graphqlFailure ? *identity->graphqlFailure : deployments(*identity, *request.body);
        if (identity->restFailure)
            return *identity->restFailure;
        if (path.endsWith(QStringLiteral("/repositories")))
            return repositories(*identity);
        return installations(token, *identity);
    }

    [[nodiscard]] HTTPResponse authorization(const QString &path) const
    {
        if (path.endsWith(QStringLiteral("/device/code")))
            return json(
                {{QStringLiteral("device_code"), QStringLiteral("secret")}, {QStringLiteral("user_code"), userCode},
                    {QStringLiteral("verification_uri"), QStringLiteral("https://github.com/login/device")},
                    {QStringLiteral("expires_in"), 900}, {QStringLiteral("interval"), 5}});
        if (grantedToken)
            return json({{QStringLiteral("access_token"), *grantedToken}});
        return json({{QStringLiteral("error"), QStringLiteral("authorization_pending")}});
    }

    void logQuery(const QString &token, const QByteArray &body)
    {
        QStringList ids;
        for (const auto &id : variables(body))
            ids.append(id.toString());
        queries.append(token + QStringLiteral(": ") + ids.join(QLatin1Char(' ')));
    }

    static QJsonArray variables(const QByteArray &body)
    {
        const auto root = QJsonDocument::fromJson(body).object();
        return root.value(QStringLiteral("variables")).toObject().value(QStringLiteral("ids")).toArray();
    }

    static HTTPResponse installations(const QString &token, const Identity &identity)
    {
        QJsonArray list;
        if (identity.isInstalled || !identity.repositories.isEmpty()) {
            const QJsonObject account{{QStringLiteral("id"), 1000},
                {QStringLiteral("login"), token + QStringLiteral("-org")},
                {QStringLiteral("type"), QStringLiteral("Organization")}};
            list.append(QJsonObject{{QStringLiteral("id"), 7}, {QStringLiteral("account"), account},
                {QStringLiteral("repository_selection"), QStringLiteral("all")}});
        }
        return json({{QStringLiteral("installations"), list}});
    }

    static HTTPResponse repositories(const Identity &identity)
    {
        QJsonArray list;
        for (const auto &repository : identity.repositories) {
            list.append(QJsonObject{{QStringLiteral("id"), list.size() + 1},
                {QStringLiteral("node_id"), repository.nodeID}, {QStringLiteral("full_name"), repository.name},
                {QStringLiteral("html_url"), QStringLiteral("https://github.com/") + repository.name},
                {QStringLiteral("private"), true}});
        }
        return json({{QStringLiteral("repositories"), list}});
    }

    static QJsonObject status(const Deployment &deployment)
    {
        QJsonObject status{{QStringLiteral("state"), deployment.state},
            {QStringLiteral("updatedAt"), toISO8601(deployment.updatedAt)}};
        if (deployment.logURL)
            status.insert(QStringLiteral("logUrl"), *deployment.logURL);
        if (deployment.environmentURL)
            status.insert(QStringLiteral("environmentUrl"), *deployment.environmentURL);
        return status;
    }

    static QJsonObject node(const Repository &repository)
    {
        QJsonArray list;
        for (const auto &deployment : repository.deployments) {
            const QString time = toISO8601(deployment.updatedAt);
            QJsonObject object{{QStringLiteral("id"), deployment.id},
                {QStringLiteral("environment"), deployment.environment},
                {QStringLiteral("commitOid"), QStringLiteral("abcdef1234")}, {QStringLiteral("createdAt"), time},
                {QStringLiteral("updatedAt"), time}, {QStringLiteral("state"), deployment.state}};
            if (deployment.logURL || deployment.environmentURL)
                object.insert(QStringLiteral("latestStatus"), status(deployment));
            list.append(object);
        }
        return {{QStringLiteral("id"), repository.graphqlID.isEmpty() ? repository.nodeID : repository.graphqlID},
            {QStringLiteral("nameWithOwner"), repository.name},
            {QStringLiteral("url"), QStringLiteral("https://github.com/") + repository.name},
            {QStringLiteral("deployments"), QJsonObject{{QStringLiteral("nodes"), list}}}};
    }

    static HTTPResponse deployments(const Identity &identity, const QByteArray &body)
    {
        QJsonArray nodes;
        QJsonArray errors;
        for (const auto &id : variables(body)) {
            const auto found = std::ranges::find(identity.repositories, id.toString(), &Repository::nodeID);
            const bool isThere = found != identity.repositories.end();
            if (isThere && !found->graphqlError.isEmpty())
                errors.append(error(found->graphqlError, nodes.size()));
            nodes.append(!isThere || !found->graphqlError.isEmpty() ? QJsonValue() : QJsonValue(node(*found)));
        }
        const QJsonObject rateLimit{{QStringLiteral("cost"), identity.cost},
            {QStringLiteral("remaining"), identity.remaining},
            {QStringLiteral("resetAt"), toISO8601(identity.resetAt)}};
        QJsonObject whole{{QStringLiteral("data"),
            QJsonObject{{QStringLiteral("nodes"), nodes}, {QStringLiteral("rateLimit"), rateLimit}}}};
        if (!errors.isEmpty())
            whole.insert(QStringLiteral("errors"), errors);
        return json(whole);
    }

    static QJsonObject error(const QString &type, qsizetype place)
    {
        return {{QStringLiteral("type"), type}, {QStringLiteral("message"), QStringLiteral("words of GitHub")},
            {QStringLiteral("path"), QJsonArray{QStringLiteral("nodes"), static_cast<int>(place)}}};
    }
};

} // namespace velmora::testing
