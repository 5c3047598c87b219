// SPDX-License-Identifier: MIT
#include "github/deployment_client_error.h"
#include "github/github_client.h"
#include "github/github_client_error.h"
#include "http/network_session.h"
#include "simulator/simulator.h"
#include "support/await.h"
#include "support/error_as.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

/// What the client makes of an answer that it cannot use.
enum class Failure {
    Status, ///< requestFailed with the status of the answer
    RateLimit, ///< the same, with a rate limit
    Unusable, ///< the answer is not what was asked for
    Broken, ///< the answer did not arrive as a whole
    TimedOut,
    TooLarge,
};

struct Fault {
    const char *name;
    simulator::MisbehaviourRule rule;
    Failure failure;
};

simulator::MisbehaviourRule answering(int status, const QByteArray &body, const QList<simulator::Header> &headers = {})
{
    simulator::MisbehaviourRule rule;
    rule.status = status;
    rule.body = body;
    rule.headers = headers;
    return rule;
}

template <typename Change>
simulator::MisbehaviourRule delivering(Change change)
{
    simulator::MisbehaviourRule rule;
    change(rule.delivery);
    return rule;
}

QList<Fault> faults()
{
    using simulator::Delivery;
    const QByteArray html = "<!DOCTYPE html><html><body>Unicorn!</body></html>";
    const QByteArray refusal = "{\"message\":\"No.\"}";
    const auto ended = [](Delivery &delivery, Delivery::Close close) {
        delivery.close = close;
    };
    return {
        {"400", answering(400, refusal), Failure::Status},
        {"401", answering(401, refusal, {{"x-ratelimit-remaining", "0"}}), Failure::Status},
        {"403", answering(403, refusal), Failure::Status},
        {"403 and a time to wait", answering(403, refusal, {{"retry-after", "60"}}), Failure::RateLimit},
        {"403 and no points", answering(403, refusal, {{"x-ratelimit-remaining", "0"}, {"x-ratelimit-reset", "9"}}),
            Failure::RateLimit},
        {"404", answering(404, refusal), Failure::Status},
        {"410", answering(410, refusal), Failure::Status},
        {"429", answering(429, refusal), Failure::RateLimit},
        {"429 and an absurd time to wait", answering(429, refusal, {{"retry-after", "1000000000000"}}),
            Failure::RateLimit},
        {"500", answering(500, html), Failure::Status},
        {"502", answering(502, html), Failure::Status},
        {"503", answering(503, QByteArray()), Failure::Status},
        {"a redirect to another host", answering(302, html, {{"Location", "https://example.org/"}}), Failure::Status},
        {"a redirect without an end", answering(302, html, {{"Location", "?again"}}), Failure::Status},
        {"a redirect that is none", answering(301, html), Failure::Status},
        {"nothing has changed", answering(304, QByteArray()), Failure::Status},
        {"HTML", answering(200, html), Failure::Unusable},
        {"no body", answering(200, QByteArray()), Failure::Unusable},
        {"no content", answering(204, QByteArray()), Failure::Unusable},
        {"an empty object", answering(200, "{}"), Failure::Unusable},
        {"an empty list", answering(200, "[]"), Failure::Unusable},
        {"a null", answering(200, "null"), Failure::Unusable},
        {"half of an object", answering(200, "{\"access_token\":\"ghu_0123"), Failure::Unusable},
        {"two objects", answering(200, "{}{}"), Failure::Unusable},
        {"bytes that are no text", answering(200, QByteArray(1000, '\xff')), Failure::Unusable},
        {"deep brackets", answering(200, QByteArray(10'000, '[')), Failure::Unusable},
        {"truncated", delivering([](Delivery &delivery) { delivery.truncateAfter = 20; }), Failure::Broken},
        {"no answer", delivering([&](Delivery &delivery) { ended(delivery, Delivery::Close::Before); }),
            Failure::Broken},
        {"half an answer", delivering([&](Delivery &delivery) { ended(delivery, Delivery::Close::Middle); }),
            Failure::Broken},
        {"no end", delivering([](Delivery &delivery) { delivery.endlessBody = true; }), Failure::TooLarge},
        {"silence", delivering([](Delivery &delivery) { delivery.hang = true; }), Failure::TimedOut},
    };
}

/// A request of the client, by the path that it asks.
struct Operation {
    const char *name;
    const char *path;
};

constexpr std::array kOperations{Operation{"deployments", "/graphql"}, Operation{"user", "/user"},
    Operation{"installations", "/user/installations"}, Operation{"repositories", "/user/installations/*"},
    Operation{"a code", "/login/device/code"}, Operation{"a renewal", "/login/oauth/access_token"}};

} // namespace

class FaultsTest : public QObject
{
    Q_OBJECT

private:
    simulator::Simulator m_github{quickOptions()};
    SystemClock m_clock;
    GitHubClient m_client;
    GitHubInstallation m_installation;
    QList<RepositoryRecord> m_repositories;

    static simulator::SimulatorOptions quickOptions()
    {
        simulator::SimulatorOptions options;
        options.playsStory = false;
        options.oauth.interval = 0;
        return options;
    }

    /// A credential that was never renewed. GitHub keeps ten of an account.
    [[nodiscard]] GitHubCredential freshCredential()
    {
        const auto authorization = awaitValue(m_client.beginDeviceAuthorization());
        const auto &world = m_github.world();
        m_github.oauth().approve(authorization.userCode, world.owners().at(world.identities().first()).login);
        return awaitValue(m_client.waitForDeviceAuthorization(authorization));
    }

    static QCoro::Task<> ask(GitHubClient client, QByteArray path, GitHubCredential credential, qint64 installation,
        QList<RepositoryRecord> repositories)
    {
        const QString token = credential.accessToken;
        if (path == "/graphql")
            co_await client.fetchDeployments(repositories, token);
        else if (path == "/user")
            co_await client.fetchUser(token);
        else if (path == "/user/installations")
            co_await client.fetchInstallations(token);
        else if (path == "/user/installations/*")
            co_await client.fetchRepositories(installation, token);
        else if (path == "/login/device/code")
            co_await client.beginDeviceAuthorization();
        else
            co_await client.refresh(credential);
    }

    static bool isExpected(const std::exception_ptr &failure, Failure expected, int status)
    {
        const auto *answered = errorAs<GitHubClientError>(failure);
        const auto *lost = errorAs<TransportError>(failure);
        switch (expected) {
        case Failure::Status:
            return answered && answered->statusCode() == status && !answered->rateLimit();
        case Failure::RateLimit:
            return answered && answered->statusCode() == status && answered->rateLimit();
        case Failure::Unusable:
            return errorAs<DecodingError>(failure) || errorAs<DeploymentClientError>(failure)
                || (answered && answered->errorCase() == GitHubClientError::Case::MissingAccessToken);
        case Failure::Broken:
            return lost && lost->kind() == TransportError::Kind::Network;
        case Failure::TimedOut:
            return lost && lost->kind() == TransportError::Kind::TimedOut;
        case Failure::TooLarge:
            return lost && lost->kind() == TransportError::Kind::BodyTooLarge;
        }
        return false;
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_github.replaceWorld({1, 1, 3, 2});
        QVERIFY(m_github.start());
        m_client.clientID = simulator::demoClientID();
        m_client.session = std::make_shared<NetworkSession>();
        m_client.apiURL = m_github.url();
        m_client.loginURL = m_github.url().resolved(QUrl(QStringLiteral("/login")));
        m_client.clock = &m_clock;
        const QString token = freshCredential().accessToken;
        m_installation = awaitValue(m_client.fetchInstallations(token)).first();
        const auto repositories = awaitValue(m_client.fetchRepositories(m_installation.id, token));
        for (const auto &repository : repositories) {
            RepositoryRecord record;
            record.repository = repository;
            m_repositories.append(record);
        }
        QCOMPARE(m_repositories.size(), 3);
    }

    void cleanup()
    {
        m_github.misbehaviour().clear();
        drainEvents();
    }

    void everyRequestFailsInWordsAndTheNextOneWorks_data()
    {
        QTest::addColumn<int>("operation");
        QTest::addColumn<int>("fault");
        const auto all = faults();
        for (int operation = 0; operation < int(kOperations.size()); ++operation) {
            for (int fault = 0; fault < int(all.size()); ++fault)
                QTest::addRow("%s: %s", kOperations.at(std::size_t(operation)).name, all.at(fault).name)
                    << operation << fault;
        }
    }

    void everyRequestFailsInWordsAndTheNextOneWorks()
    {
        QFETCH(int, operation);
        QFETCH(int, fault);
        const QByteArray path = kOperations.at(std::size_t(operation)).path;
        Fault produced = faults().at(fault);
        produced.rule.path = path;
        const GitHubCredential first = freshCredential();
        const GitHubCredential second = freshCredential();
        GitHubClient impatient = m_client;
        NetworkSession::Limits limits;
        limits.silence = 300ms;
        if (produced.failure == Failure::TimedOut)
            impatient.session = std::make_shared<NetworkSession>(limits);
        m_github.misbehaviour().add(produced.rule);

        const auto outcome = await(ask(impatient, path, first, m_installation.id, m_repositories));
        QVERIFY2(isExpected(outcome.failure, produced.failure, produced.rule.status.value_or(0)),
            qPrintable(outcome.description()));
        QVERIFY(!outcome.description().isEmpty());
        QVERIFY(!outcome.description().contains(first.accessToken));

        m_github.misbehaviour().clear();
        const auto next = await(ask(m_client, path, second, m_installation.id, m_repositories));
        QVERIFY2(!next.failure, qPrintable(next.description()));
    }
};

VELMORA_TEST(FaultsTest)
#include "faults_test.moc"
