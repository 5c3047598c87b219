// SPDX-License-Identifier: MIT
#include "accounts/prompt_credentials.h"

#include "accounts/authorized_requests.h"
#include "support/await.h"
#include "support/fake_clock.h"
#include "support/test_main.h"

#include <QSignalSpy>
#include <QTest>

#include <deque>

using namespace std::chrono_literals;
using namespace velmora;
using namespace velmora::testing;

namespace
{

GitHubCredential credential(const QString &token)
{
    GitHubCredential result;
    result.accessToken = token;
    return result;
}

/// Records the requests. Those for accounts in `holding` wait for release().
class FakeCredentialSource final : public CredentialSource
{
public:
    [[nodiscard]] QCoro::Task<GitHubCredential> validCredential(qint64 accountID, std::stop_token) override
    {
        asked.append(QStringLiteral("valid %1").arg(accountID));
        return answer(accountID);
    }
    [[nodiscard]] QCoro::Task<GitHubCredential> credentialAfterRefusal(
        qint64 accountID, QString refusedToken, std::stop_token) override
    {
        asked.append(QStringLiteral("after %1").arg(refusedToken));
        return answer(accountID);
    }
    void recordAccepted(qint64, const QString &accessToken) override
    {
        asked.append(QStringLiteral("good ") + accessToken);
    }
    [[nodiscard]] AsyncMutex requestTurn(qint64 accountID) override { return turns[accountID]; }

    void release()
    {
        const auto waiting = held.front();
        held.pop_front();
        waiting.resolve();
    }

    QStringList asked;
    QStringList tokens; ///< returned in order; then "none left" is thrown
    QSet<qint64> holding; ///< the accounts whose requests wait
    std::deque<OneShot<>> held;
    QHash<qint64, AsyncMutex> turns;

private:
    QCoro::Task<GitHubCredential> answer(qint64 accountID)
    {
        if (holding.contains(accountID)) {
            const OneShot<> released;
            held.push_back(released);
            co_await released;
        }
        if (tokens.isEmpty())
            throw FileError(QStringLiteral("none left"));
        co_return credential(tokens.takeFirst());
    }
};

} // namespace

class PromptCredentialsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_clock = std::make_unique<FakeClock>();
        m_source = std::make_shared<FakeCredentialSource>();
        m_prompt = std::make_unique<PromptCredentials>(m_source, m_clock.get());
    }

    void whatIsAtHandIsHandedOutAtOnce()
    {
        m_source->tokens = {QStringLiteral("a")};
        QCOMPARE(awaitValue(m_prompt->validCredential(1, {})).accessToken, QStringLiteral("a"));
        QVERIFY(await(m_prompt->validCredential(1, {})).failedWithType<FileError>());
        QVERIFY(m_clock->requestedSleeps.isEmpty());
    }

    void whatArrivesWithin5SecondsIsWaitedFor()
    {
        m_source->tokens = {QStringLiteral("a")};
        m_source->holding = {1};
        QSignalSpy arrivals(m_prompt.get(), &PromptCredentials::arrived);
        const auto outcome = start(m_prompt->validCredential(1, {}));
        m_clock->advance(5s - 1ms);
        drainEvents();
        QVERIFY(!outcome->isDone);
        m_source->release();
        QCOMPARE(outcome->value->accessToken, QStringLiteral("a"));
        QCOMPARE(arrivals.count(), 0);
        QCOMPARE(m_clock->sleeperCount(), 0);
    }

    void afterThatTheCallerGoesOnAndTheCredentialIsKeptForTheNext()
    {
        m_source->tokens = {QStringLiteral("a"), QStringLiteral("b")};
        m_source->holding = {1};
        QSignalSpy arrivals(m_prompt.get(), &PromptCredentials::arrived);
        const auto outcome = start(m_prompt->validCredential(1, {}));
        m_clock->advance(5s);
        drainEvents();
        QVERIFY(outcome->failedWith(CredentialPendingError()));
        QCOMPARE(outcome->description(), QStringLiteral("Velmora is still waiting for the token of this account."));
        // Further callers fail at once, without a second request to the source.
        const auto again = start(m_prompt->validCredential(1, {}));
        QVERIFY(again->failedWith(CredentialPendingError()));
        QCOMPARE(m_source->asked, QStringList(QStringLiteral("valid 1")));
        QCOMPARE(awaitValue(m_prompt->validCredential(2, {})).accessToken, QStringLiteral("a"));
        m_source->release();
        QCOMPARE(arrivals.count(), 1);
        QCOMPARE(arrivals.first().first().toLongLong(), 1);
        QCOMPARE(awaitValue(m_prompt->validCredential(1, {})).accessToken, QStringLiteral("b"));
        QCOMPARE(m_source->asked, QStringList({QStringLiteral("valid 1"), QStringLiteral("valid 2")}));
    }

    void theReasonWhyThereIsNoneIsToldOnceAndThenItIsTriedWithoutAWait()
    {
        m_source->holding = {1};
        const auto first = start(m_prompt->validCredential(1, {}));
        m_clock->advance(5s);
        drainEvents();
        QVERIFY(first->failedWith(CredentialPendingError()));
        m_source->release();
        QVERIFY(await(m_prompt->validCredential(1, {})).failedWithType<FileError>());
        const auto sleeps = m_clock->requestedSleeps.size();
        QVERIFY(await(m_prompt->validCredential(1, {})).failedWith(CredentialPendingError()));
        QCOMPARE(m_clock->requestedSleeps.size(), sleeps);
        m_source->tokens = {QStringLiteral("a"), QStringLiteral("b")};
        m_source->release();
        QCOMPARE(awaitValue(m_prompt->validCredential(1, {})).accessToken, QStringLiteral("a"));
        // The last answer was prompt, so the next one is waited for.
        const auto last = start(m_prompt->validCredential(1, {}));
        QVERIFY(!last->isDone);
        m_source->release();
        QCOMPARE(last->value->accessToken, QStringLiteral("b"));
    }

    void aNewConnectionMakesWhatIsWaitedForOutOfDate()
    {
        m_source->holding = {1};
        const auto first = start(m_prompt->validCredential(1, {}));
        m_clock->advance(5s);
        drainEvents();
        QVERIFY(first->isDone);
        QSignalSpy arrivals(m_prompt.get(), &PromptCredentials::arrived);
        m_prompt->forget(1);
        m_source->holding.clear();
        m_source->tokens = {QStringLiteral("new")};
        QCOMPARE(awaitValue(m_prompt->validCredential(1, {})).accessToken, QStringLiteral("new"));
        m_source->release();
        QCOMPARE(arrivals.count(), 0);
    }

    void aStopEndsTheWaiting()
    {
        m_source->holding = {1};
        std::stop_source source;
        const auto outcome = start(m_prompt->validCredential(1, source.get_token()));
        source.request_stop();
        drainEvents();
        QVERIFY(outcome->failedWithType<CancellationError>());
        m_source->release();
    }

    void theEndWhileItIsWaitedForIsQuiet()
    {
        m_source->holding = {1};
        m_source->tokens = {QStringLiteral("a")};
        const auto outcome = start(m_prompt->validCredential(1, {}));
        m_prompt.reset();
        m_source->release();
        QVERIFY(outcome->failedWithType<CancellationError>());
    }

    // Requests that need a token

    void aTokenServesForASeriesOfRequests()
    {
        m_source->tokens = {QStringLiteral("a")};
        AuthorizedRequests requests(m_source, 1, {});
        QCOMPARE(awaitValue(requests.send(accepting({QStringLiteral("a")}))), QStringLiteral("a"));
        QCOMPARE(awaitValue(requests.send(accepting({QStringLiteral("a")}))), QStringLiteral("a"));
        QCOMPARE(m_source->asked,
            QStringList({QStringLiteral("valid 1"), QStringLiteral("good a"), QStringLiteral("good a")}));
    }

    void aSeriesGoesOnWithTheTokenThatReplacedARefusedOne()
    {
        m_source->tokens = {QStringLiteral("a"), QStringLiteral("b")};
        AuthorizedRequests requests(m_source, 1, {});
        QCOMPARE(awaitValue(requests.send(accepting({QStringLiteral("b")}))), QStringLiteral("b"));
        QCOMPARE(awaitValue(requests.send(accepting({QStringLiteral("b")}))), QStringLiteral("b"));
        QCOMPARE(m_source->asked,
            QStringList({QStringLiteral("valid 1"), QStringLiteral("after a"), QStringLiteral("good b"),
                QStringLiteral("good b")}));
    }

    void whenTheSourceHasNoMoreItsReasonIsTold()
    {
        m_source->tokens = {QStringLiteral("a"), QStringLiteral("b")};
        AuthorizedRequests requests(m_source, 1, {});
        QVERIFY(await(requests.send(accepting({}))).failedWithType<FileError>());
    }

    void aSourceThatNeverEndsIsGivenUp()
    {
        for (int i = 0; i < 10; ++i)
            m_source->tokens.append(QString::number(i));
        AuthorizedRequests requests(m_source, 1, {});
        QVERIFY(await(requests.send(accepting({}))).failedWith(GitHubClientError::requestFailed(401)));
        QCOMPARE(m_source->asked.size(), 4);
    }

    void requestsOfOneAccountWaitForEachOther()
    {
        m_source->tokens = {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
        const OneShot<> answered;
        QStringList sent;
        const std::function<QCoro::Task<QString>(QString)> slow = [&](const QString &token) {
            sent.append(token);
            return answerAfter(answered, token);
        };
        AuthorizedRequests first(m_source, 1, {});
        AuthorizedRequests second(m_source, 1, {});
        AuthorizedRequests other(m_source, 2, {});
        const auto firstAnswer = start(first.send(slow));
        const auto secondAnswer = start(second.send(accepting({QStringLiteral("b")})));
        const auto otherAnswer = start(other.send(accepting({QStringLiteral("c")})));
        QCOMPARE(sent, QStringList(QStringLiteral("a")));
        QVERIFY(!secondAnswer->isDone);
        QVERIFY(otherAnswer->isDone);
        answered.resolve();
        QVERIFY(firstAnswer->isDone && secondAnswer->isDone);
        QCOMPARE(secondAnswer->value, std::optional(QStringLiteral("b")));
    }

    void aRequestThatWaitsForAnotherHeedsItsStop()
    {
        m_source->tokens = {QStringLiteral("a"), QStringLiteral("b")};
        const OneShot<> answered;
        const std::function<QCoro::Task<QString>(QString)> slow = [&](const QString &token) {
            return answerAfter(answered, token);
        };
        std::stop_source stop;
        AuthorizedRequests first(m_source, 1, {});
        AuthorizedRequests second(m_source, 1, stop.get_token());
        const auto firstAnswer = start(first.send(slow));
        const auto secondAnswer = start(second.send(accepting({QStringLiteral("b")})));
        stop.request_stop();
        drainEvents();
        QVERIFY(secondAnswer->failedWithType<CancellationError>());
        answered.resolve();
        QVERIFY(firstAnswer->isDone);
    }

    void anyOtherFailureIsPassedOn()
    {
        m_source->tokens = {QStringLiteral("a")};
        AuthorizedRequests requests(m_source, 1, {});
        const std::function<QCoro::Task<QString>(QString)> failing = [](const QString &) -> QCoro::Task<QString> {
            throw GitHubClientError::requestFailed(403);
            co_return QString();
        };
        QVERIFY(await(requests.send(failing)).failedWith(GitHubClientError::requestFailed(403)));
        QCOMPARE(m_source->asked, QStringList(QStringLiteral("valid 1")));
    }

private:
    static QCoro::Task<QString> answer(QStringList accepted, QString token)
    {
        if (!accepted.contains(token))
            throw GitHubClientError::requestFailed(401);
        co_return token;
    }

    static QCoro::Task<QString> answerAfter(OneShot<> released, QString token)
    {
        co_await released;
        co_return token;
    }

    /// A request that succeeds, and returns the token, if the token is one of these.
    static std::function<QCoro::Task<QString>(QString)> accepting(const QStringList &accepted)
    {
        return [accepted](const QString &token) {
            return answer(accepted, token);
        };
    }

    std::unique_ptr<FakeClock> m_clock;
    std::shared_ptr<FakeCredentialSource> m_source;
    std::unique_ptr<PromptCredentials> m_prompt;
};

VELMORA_TEST(PromptCredentialsTest)
#include "prompt_credentials_test.moc"
