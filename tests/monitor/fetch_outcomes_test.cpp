// SPDX-License-Identifier: MIT
#include "monitor/fetch_outcomes.h"

#include "accounts/github_account.h"
#include "github/deployment_client_error.h"
#include "installations/installation_record.h"
#include "monitor/polling_loop.h"
#include "support/builders.h"
#include "support/fake_clock.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace
{

constexpr qint64 kAlice = 1;
constexpr qint64 kBob = 2;
const QSet<qint64> kBoth{kAlice, kBob};

std::exception_ptr noNetwork()
{
    return std::make_exception_ptr(TransportError(TransportError::Kind::Network, u"no network"_s));
}

std::exception_ptr refusalUntil(Instant resumeAt)
{
    return std::make_exception_ptr(DeploymentClientError::graphQL({u"limit"_s}, RateLimitNotice{resumeAt}));
}

InstallationFailure installationFailure(qint64 identityID, bool isRateLimit = false)
{
    return {identityID, u"octo"_s, u"no list"_s, isRateLimit};
}

GitHubAccountSession session(qint64 identityID, const QString &login)
{
    return {{identityID, login, {}}, GitHubSessionStatus::Connected};
}

/// A fetch that cost so many points and left so many until one o'clock.
DeploymentFetchResult answer(qint64 cost, qint64 remaining)
{
    return {{}, {cost, remaining, noon() + 1h}};
}

} // namespace

class FetchOutcomesTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_clock.setNow(noon());
        m_loop.release();
        m_outcomes = std::make_unique<FetchOutcomes>(
            std::make_shared<RateLimitLedger>(), &m_clock, &m_loop, [] { return 0.0; });
    }

    void anIdentityThatFailedWaitsAndIsTold()
    {
        m_outcomes->recordFailure(kBob, noNetwork(), u"no network"_s);
        QVERIFY(m_outcomes->hasFailed(kBob));
        QCOMPARE(m_outcomes->askable(kBoth), QSet<qint64>{kAlice});
        QCOMPARE(m_outcomes->message({session(kAlice, u"alice"_s), session(kBob, u"bob"_s)}), u"bob: no network"_s);
        m_clock.setNow(noon() + 5s);
        QCOMPARE(m_outcomes->askable(kBoth), kBoth);
    }

    void aRefusalForTheRateLimitEndsTheFailureBeforeItAndPauses()
    {
        m_outcomes->recordFailure(kBob, noNetwork(), u"no network"_s);
        m_outcomes->recordFailure(kBob, refusalUntil(noon() + 10min), u"limit"_s);
        QVERIFY(!m_outcomes->hasFailed(kBob));
        QCOMPARE(m_outcomes->pausedUntil(kBob), std::optional(noon() + 10min));
        QCOMPARE(m_outcomes->askable(kBoth), QSet<qint64>{kAlice});
        QCOMPARE(m_outcomes->message({session(kBob, u"bob"_s)}), QString());
    }

    void onlyAConnectionThatBreaksWhileTheLoopIsHeldIsNoFailure()
    {
        const auto full = std::make_exception_ptr(FileError(u"the disk is full"_s));
        QVERIFY(!m_outcomes->isBrokenOff(noNetwork()));
        m_loop.hold();
        QVERIFY(m_outcomes->isBrokenOff(noNetwork()));
        QVERIFY(!m_outcomes->isBrokenOff(full));
        m_outcomes->recordFailure(kAlice, noNetwork(), u"no network"_s);
        m_outcomes->recordFailure(kBob, full, u"the disk is full"_s);
        QVERIFY(!m_outcomes->hasFailed(kAlice));
        QVERIFY(m_outcomes->hasFailed(kBob));
    }

    void installationsFailForTheIdentitiesThatWereAsked()
    {
        m_outcomes->recordInstallationFailures({installationFailure(kAlice), installationFailure(kBob)}, {kBob});
        QVERIFY(!m_outcomes->hasFailed(kAlice));
        QVERIFY(m_outcomes->hasFailed(kBob));
        m_outcomes->recordInstallationFailures({installationFailure(kAlice, true)}, {kAlice});
        QVERIFY(!m_outcomes->hasFailed(kAlice));
        m_loop.hold();
        m_outcomes->recordInstallationFailures({installationFailure(kAlice)}, {kAlice});
        QVERIFY(!m_outcomes->hasFailed(kAlice));
    }

    void theLoadOfAnotherCallerFailsOnce()
    {
        m_outcomes->adoptInstallationFailures({installationFailure(kAlice)});
        QVERIFY(m_outcomes->hasFailed(kAlice));
        m_clock.setNow(noon() + 4s);
        // A second failure would wait for 10 seconds.
        m_outcomes->adoptInstallationFailures({installationFailure(kAlice)});
        m_clock.setNow(noon() + 5s);
        QCOMPARE(m_outcomes->askable(kBoth), kBoth);
    }

    void aFetchOfActiveDeploymentsLeavesEnoughPointsForAFullOne()
    {
        m_outcomes->recordAnswer(kAlice, {}, answer(10, 100), RefreshScope::All);
        m_outcomes->recordAnswer(kAlice, {}, answer(1, 10), RefreshScope::Active);
        QVERIFY(!m_outcomes->pausedUntil(kAlice));
        m_outcomes->recordAnswer(kAlice, {}, answer(1, 9), RefreshScope::Active);
        QCOMPARE(m_outcomes->pausedUntil(kAlice), std::optional(noon() + 1h));
    }

    void aPauseThatCameFromElsewhereEndsTheFailure()
    {
        m_outcomes->recordFailure(kAlice, noNetwork(), u"no network"_s);
        m_outcomes->recordAnswer(kBob, {}, answer(1, 0), RefreshScope::All);
        m_outcomes->recordInstallationFailures({installationFailure(kBob)}, {kBob});
        m_outcomes->clearFailuresOfPaused(kBoth);
        QVERIFY(m_outcomes->hasFailed(kAlice));
        QVERIFY(!m_outcomes->hasFailed(kBob));
    }

private:
    FakeClock m_clock;
    PollingLoop m_loop{&m_clock};
    std::unique_ptr<FetchOutcomes> m_outcomes;
};

VELMORA_TEST(FetchOutcomesTest)
#include "fetch_outcomes_test.moc"
