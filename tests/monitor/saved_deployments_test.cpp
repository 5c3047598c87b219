// SPDX-License-Identifier: MIT
#include "monitor/saved_deployments.h"

#include "support/await.h"
#include "support/builders.h"
#include "support/fake_cache.h"
#include "support/fake_clock.h"
#include "support/test_main.h"

#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

class SavedDeploymentsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_clock.setNow(noon());
        m_cache = std::make_unique<FakeCache>();
        m_saved = std::make_unique<SavedDeployments>(m_cache.get(), &m_clock);
    }

    void theListIsLoadedOnce()
    {
        m_cache->payload = DeploymentCachePayload{m_list, noon() - 1h};
        QCOMPARE(awaitValue(m_saved->load()), m_cache->payload);
        QVERIFY(!awaitValue(m_saved->load()));
    }

    void aLoadThatThrowsIsDoneAgain()
    {
        m_cache->payload = DeploymentCachePayload{m_list, noon() - 1h};
        m_cache->failedLoads = 1;
        QCOMPARE(await(m_saved->load()).description(), u"out of order"_s);
        QCOMPARE(awaitValue(m_saved->load()), m_cache->payload);
    }

    void theListIsSavedWithTheTime()
    {
        awaitValue(m_saved->save(m_list));
        QCOMPARE(m_cache->payload, (DeploymentCachePayload{m_list, noon()}));
        QCOMPARE(m_saved->failure(), QString());
    }

    void anHourWithoutAChangeSavesTheTimeEveryFiveMinutes()
    {
        while (m_clock.now() < noon() + 1h) {
            awaitValue(m_saved->save(m_list));
            QVERIFY(m_clock.now() - m_cache->payload->savedAt < 5min);
            m_clock.setNow(m_clock.now() + 5s);
        }
        QCOMPARE(m_cache->saves, 12);
    }

    void aChangeIsSavedAtOnce()
    {
        awaitValue(m_saved->save(m_list));
        m_clock.setNow(noon() + 5s);
        auto changed = m_list;
        change(changed.first(), [](DeploymentSnapshot &deployment) { deployment.state = DeploymentState::Failure; });
        for (const auto &list : {changed, m_list, DeploymentList()}) {
            awaitValue(m_saved->save(list));
            QCOMPARE(m_cache->payload, (DeploymentCachePayload{list, noon() + 5s}));
        }
    }

    void aTimeFromBeforeTheClockWasSetBackIsReplacedAtOnce()
    {
        awaitValue(m_saved->save(m_list));
        m_clock.setNow(noon() - 1s);
        awaitValue(m_saved->save(m_list));
        QCOMPARE(m_cache->payload, (DeploymentCachePayload{m_list, noon() - 1s}));
    }

    void afterAFailureAnEqualListIsSaved()
    {
        awaitValue(m_saved->save(m_list));
        m_cache->fails = true;
        awaitValue(m_saved->save({}));
        m_cache->fails = false;
        awaitValue(m_saved->save(m_list));
        QCOMPARE(m_cache->saves, 3);
        QCOMPARE(m_saved->failure(), QString());
    }

    void aFailureIsAnnouncedOnceAndSoIsItsEnd()
    {
        const QSignalSpy changes(m_saved.get(), &SavedDeployments::failureChanged);
        m_cache->fails = true;
        awaitValue(m_saved->save(m_list));
        awaitValue(m_saved->save(m_list));
        QCOMPARE(m_saved->failure(), u"the disk is full"_s);
        QCOMPARE(changes.count(), 1);
        m_cache->fails = false;
        awaitValue(m_saved->save(m_list));
        QCOMPARE(m_saved->failure(), QString());
        QCOMPARE(changes.count(), 2);
    }

    void onlyWhatFailedIsSavedAgainAndNotBeforeThirtySeconds()
    {
        awaitValue(m_saved->save(m_list));
        m_clock.setNow(noon() + 1h);
        awaitValue(m_saved->saveAgain(m_list));
        QCOMPARE(m_cache->saves, 1);
        m_cache->fails = true;
        awaitValue(m_saved->save(m_list));
        m_clock.setNow(m_clock.now() + 29s);
        awaitValue(m_saved->saveAgain(m_list));
        QCOMPARE(m_cache->saves, 2);
        m_clock.setNow(m_clock.now() + 1s);
        awaitValue(m_saved->saveAgain(m_list));
        QCOMPARE(m_cache->saves, 3);
    }

private:
    const DeploymentList m_list{makeSnapshot(u"a"_s, DeploymentState::Success, noon() - 2h)};
    FakeClock m_clock;
    std::unique_ptr<FakeCache> m_cache;
    std::unique_ptr<SavedDeployments> m_saved;
};

VELMORA_TEST(SavedDeploymentsTest)
#include "saved_deployments_test.moc"
