// SPDX-License-Identifier: MIT
#include "monitor/shown_deployments.h"

#include "monitor/fetch_outcomes.h"
#include "monitor/polling_loop.h"
#include "support/monitor_fixture.h"
#include "support/test_main.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

using State = DeploymentMonitorState;

/// Alice and Bob are connected, and Alice reaches acme/web.
class ShownDeploymentsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<MonitorFixture>();
        f->connect(kAlice, u"alice"_s).repositories = {{u"R_web"_s, u"acme/web"_s, {}, {}}};
        f->connect(kBob, u"bob"_s).isInstalled = true;
        f->build();
        awaitValue(f->installations->refresh(f->authentication.get()));
        m_loop = std::make_unique<PollingLoop>(&f->clock);
        m_outcomes = std::make_unique<FetchOutcomes>(f->ledger, &f->clock, m_loop.get(), [] { return 0.0; });
        m_shown = std::make_unique<ShownDeployments>(m_outcomes.get(), &f->clock, &f->defaults);
    }
    void cleanup()
    {
        m_shown.reset();
        m_outcomes.reset();
        m_loop.reset();
        f.reset();
    }

    void whatDidNotChangeIsNotAnnounced()
    {
        const QSignalSpy changes(m_shown.get(), &ShownDeployments::changed);
        m_shown->showLoading();
        QCOMPARE(changes.count(), 0);
        m_shown->showFetched(fetched({m_web}), context());
        QCOMPARE(changes.count(), 1);
        m_shown->showFetched(fetched({m_web}), context());
        QCOMPARE(changes.count(), 1);
        m_shown->showLoading();
        QCOMPARE(changes.count(), 2);
        QCOMPARE(m_shown->state(), State::loading(true));
    }

    void aSavedListDoesNotHideThatNothingIsConnected()
    {
        m_shown->showDisconnected(MissingStep::Account);
        m_shown->showSaved({{m_web}, noon()});
        QVERIFY(m_shown->isDisconnected());
        QCOMPARE(m_shown->deployments(), DeploymentList{m_web});
    }

    void theAgeOfTheListIsThatOfItsLastCompleteRefresh()
    {
        m_shown->showFetched(fetched({m_web}), context());
        f->clock.setNow(noon() + 30s);
        m_outcomes->recordFailure(kBob, std::make_exception_ptr(FileError(u"no"_s)), u"no"_s);
        auto partly = fetched({m_web});
        partly.succeeded = {kAlice};
        m_shown->showFetched(partly, context());
        QCOMPARE(m_shown->state(), State::stale(noon()));
        QCOMPARE(m_shown->lastRefreshedAt(), std::optional(noon() + 30s));
        QCOMPARE(m_shown->message(), u"bob: no"_s);
    }

    void whatBrokeOffIsNoFullRefresh()
    {
        auto broken = fetched({m_web});
        broken.hasBrokenOff = true;
        m_shown->showFetched(broken, context());
        QCOMPARE(m_shown->deployments(), DeploymentList{m_web});
        QVERIFY(!m_shown->lastRefreshedAt());
        QCOMPARE(m_shown->state().state, State::Case::Loading);
    }

    void ofTwoPausesTheOneThatEndsFirstIsTold()
    {
        f->ledger->recordRefusal(kAlice, {noon() + 20min}, noon());
        f->ledger->recordRefusal(kBob, {noon() + 10min}, noon());
        m_shown->showFetched({}, context());
        QCOMPARE(m_shown->state(), State::rateLimited(std::nullopt, noon() + 10min));
    }

    void aFetchOfActiveDeploymentsReplacesThoseOfItsRepositories()
    {
        auto other = m_web;
        other.id = u"other"_s;
        other.repositoryNodeID = u"R_other"_s;
        other.repositoryName = u"acme/other"_s;
        m_shown->showSaved({{m_web, other}, noon()});
        auto active = fetched({});
        active.scope = RefreshScope::Active;
        m_shown->showFetched(active, context());
        QCOMPARE(m_shown->deployments(), DeploymentList{other});
    }

    void whatGitHubDidNotAnswerStays()
    {
        m_shown->showSaved({{m_web}, noon()});
        auto without = fetched({});
        std::swap(without.repositories, without.unanswered);
        m_shown->showFetched(without, context());
        QCOMPARE(m_shown->deployments(), DeploymentList{m_web});
    }

    void anUnchangedFetchLeavesTheSameListWithoutWhatHasBecomeTooOld()
    {
        auto old = m_web;
        old.id = u"old"_s;
        old.updatedAt = noon() - 23h;
        const auto same = fetched({m_web, old});
        m_shown->showFetched(same, context());
        const auto list = m_shown->deployments();
        f->clock.setNow(noon() + 30s);
        m_shown->showFetched(same, context());
        QVERIFY(m_shown->deployments().isSharedWith(list));
        QCOMPARE(m_shown->lastRefreshedAt(), std::optional(noon() + 30s));
        f->clock.setNow(noon() + 2h);
        m_shown->showFetched(same, context());
        QCOMPARE(m_shown->deployments(), DeploymentList{m_web});
        f->clock.setNow(noon());
        m_shown->showFetched(same, context());
        QCOMPARE(m_shown->deployments(), list);
    }

    void aFetchOfActiveDeploymentsWithoutNewsLeavesTheSameList()
    {
        const auto all = fetched({m_web});
        m_shown->showFetched(all, context());
        const auto list = m_shown->deployments();
        auto active = all;
        active.scope = RefreshScope::Active;
        for (const auto &next : {active, all, active}) {
            m_shown->showFetched(next, context());
            QVERIFY(m_shown->deployments().isSharedWith(list));
        }
    }

    void aFetchOfFewerRepositoriesBetweenTwoEqualOnesLeavesTheSameList()
    {
        auto other = m_web;
        other.id = u"other"_s;
        other.repositoryNodeID = u"R_other"_s;
        other.repositoryName = u"acme/other"_s;
        const auto all = fetched({m_web, other});
        m_shown->showFetched(all, context());
        const auto list = m_shown->deployments();
        auto fewer = fetched({m_web});
        fewer.scope = RefreshScope::Active;
        for (const auto &next : {fewer, all, fewer, fewer, all}) {
            m_shown->showFetched(next, context());
            QVERIFY(m_shown->deployments().isSharedWith(list));
        }
    }

    void aMarkIsPublishedWithItsList()
    {
        const auto failure = makeSnapshot(u"f"_s, DeploymentState::Failure, noon() - 3h);
        m_shown->showSaved({{failure}, noon()});
        QCOMPARE(m_shown->marks(), FailureMarks());
        m_shown->showFetched(fetched({m_web, failure}), context());
        const FailureMarks mended{{u"f"_s, FailureMark{Mending{u"web"_s, noon() - 1h}}}};
        QCOMPARE(m_shown->marks(), mended);
        m_shown->showFetched(fetched({failure}), context());
        QCOMPARE(m_shown->marks(), mended);
        m_shown->showDisconnected(MissingStep::Account);
        QCOMPARE(m_shown->marks(), FailureMarks());
    }

    void aChoiceAboutFailuresIsFollowedAtOnce()
    {
        const auto failure = makeSnapshot(u"f"_s, DeploymentState::Failure, noon() - 3h);
        m_shown->showFetched(fetched({m_web, failure}), context());
        const auto list = m_shown->deployments();
        const QSignalSpy changes(m_shown.get(), &ShownDeployments::changed);
        f->defaults.setValue(u"general.ignoresMendedFailures"_s, true);
        QCOMPARE(changes.count(), 1);
        QCOMPARE(uncounted(m_shown->marks()), 1);
        QVERIFY(m_shown->deployments().isSharedWith(list));
        f->defaults.setValue(u"general.successNotificationsEnabled"_s, false);
        QCOMPARE(changes.count(), 1);
        // The choice holds for what comes, and for the next program.
        const auto other = makeSnapshot(u"other"_s, DeploymentState::Failure, noon() - 2h);
        m_shown->showFetched(fetched({m_web, failure, other}), context());
        QCOMPARE(uncounted(m_shown->marks()), 2);
        ShownDeployments next(m_outcomes.get(), &f->clock, &f->defaults);
        next.showSaved({m_shown->deployments(), noon()});
        QCOMPARE(next.marks(), m_shown->marks());
        f->defaults.setValue(u"general.ignoresMendedFailures"_s, false);
        QCOMPARE(uncounted(m_shown->marks()), 0);
    }

    void aDismissedFailureCountsAgainWhenItsStateHasChanged()
    {
        auto failure = makeSnapshot(u"f"_s, DeploymentState::Failure, noon() - 30min);
        m_shown->showFetched(fetched({failure, m_web}), context());
        const QSignalSpy changes(m_shown.get(), &ShownDeployments::changed);
        m_shown->setDismissed({u"web"_s, u"unknown"_s}, true);
        QCOMPARE(changes.count(), 0);
        m_shown->setDismissed({u"f"_s}, true);
        QCOMPARE(changes.count(), 1);
        QCOMPARE(uncounted(m_shown->marks()), 1);
        m_shown->setDismissed({u"f"_s}, false);
        QCOMPARE(uncounted(m_shown->marks()), 0);
        m_shown->setDismissed({u"f"_s}, true);
        failure.state = DeploymentState::InProgress;
        m_shown->showFetched(fetched({failure, m_web}), context());
        failure.state = DeploymentState::Failure;
        m_shown->showFetched(fetched({failure, m_web}), context());
        QCOMPARE(m_shown->marks(), FailureMarks());
    }

    void whatIsHiddenIsKnownAndNotListed()
    {
        auto preview = makeSnapshot(u"p"_s, DeploymentState::InProgress, noon() - 1min);
        preview.environment = u"preview-1"_s;
        auto failed = makeSnapshot(u"f"_s, DeploymentState::Failure, noon() - 3h);
        failed.environment = u"preview-2"_s;
        auto success = makeSnapshot(u"s"_s, DeploymentState::Success, noon() - 2h);
        success.environment = u"preview-2"_s;
        m_shown->showFetched(fetched({preview, failed, success, m_web}), context());
        const auto all = m_shown->deployments();
        QVERIFY(m_shown->listed().deployments.isSharedWith(all));
        QCOMPARE(m_shown->marks().size(), 1);
        const QSignalSpy changes(m_shown.get(), &ShownDeployments::changed);
        chooseEnvironments({{{u"preview-*"_s, EnvironmentChoice::Hide}}, false});
        QCOMPARE(changes.count(), 1);
        QCOMPARE(m_shown->listed(), (MarkedDeployments{{m_web}, {}}));
        QCOMPARE(m_shown->hidden().deployments, (DeploymentList{preview, success, failed}));
        QCOMPARE(m_shown->hidden().marks.keys(), QStringList(u"f"_s));
        QVERIFY(m_shown->deployments().isSharedWith(all));
        QVERIFY(m_shown->hasActiveDeployment());
        // The same choice holds for what comes, and for the next program.
        const auto listed = m_shown->listed().deployments;
        m_shown->showFetched(fetched({preview, failed, m_web}), context());
        QVERIFY(m_shown->listed().deployments.isSharedWith(listed));
        QCOMPARE(m_shown->hidden().deployments.size(), 2);
        ShownDeployments next(m_outcomes.get(), &f->clock, &f->defaults);
        next.showSaved({m_shown->deployments(), noon()});
        QCOMPARE(next.listed(), m_shown->listed());
        // What was found out of hidden ones is not lost.
        chooseEnvironments({});
        QCOMPARE(m_shown->marks().keys(), QStringList(u"f"_s));
        QVERIFY(m_shown->hidden().deployments.isEmpty());
    }

    void whatIsOnlySilencedIsListed()
    {
        m_shown->showFetched(fetched({m_web}), context());
        const QSignalSpy changes(m_shown.get(), &ShownDeployments::changed);
        chooseEnvironments({{{u"*"_s, EnvironmentChoice::Show}}, true});
        QCOMPARE(m_shown->listed().deployments, DeploymentList{m_web});
        QCOMPARE(changes.count(), 0);
    }

    void aThousandRandomFetchesShowTheListOfAFreshMerge()
    {
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("seed %u", seed);
        QRandomGenerator random(seed);
        ShownDeployments fresh(m_outcomes.get(), &f->clock, &f->defaults);
        auto next = fetched({m_web});
        int repeated = 0;
        for (int i = 0; i < 1000; ++i) {
            // Has the same list, but knows nothing of the last fetch.
            fresh.showDisconnected(MissingStep::Account);
            fresh.showSaved({m_shown->deployments(), noon()});
            changeAtRandom(next, random);
            f->clock.setNow(noon() + std::chrono::minutes(i - (random.bounded(20) == 0 ? 600 : 0)));
            fresh.showFetched(next, context());
            const auto shownBefore = m_shown->deployments();
            m_shown->showFetched(next, context());
            QCOMPARE(m_shown->deployments(), fresh.deployments());
            repeated += !shownBefore.isEmpty() && m_shown->deployments().isSharedWith(shownBefore) ? 1 : 0;
        }
        QVERIFY2(repeated > 50 && repeated < 950, qPrintable(QString::number(repeated)));
    }

    void whatNoListedIdentityReachesIsDropped()
    {
        auto stranger = m_web;
        stranger.id = u"stranger"_s;
        stranger.repositoryNodeID = u"R_stranger"_s;
        stranger.repositoryName = u"acme/stranger"_s;
        m_shown->showSaved({{m_web, stranger}, noon()});
        m_shown->dropUnreachable(context());
        QCOMPARE(m_shown->deployments(), DeploymentList{m_web});
    }

private:
    void chooseEnvironments(const EnvironmentChoices &choices) { storeEnvironmentChoices(&f->defaults, choices); }

    static constexpr qint64 kAlice = 1;
    static constexpr qint64 kBob = 2;

    [[nodiscard]] RefreshContext context() const
    {
        return {f->authentication.get(), f->installations.get(), f->clock.now()};
    }
    /// Changes what is fetched, and how; leaves it as it is in every second call.
    void changeAtRandom(FetchedDeployments &next, QRandomGenerator &random) const
    {
        switch (random.bounded(16)) {
        case 0:
            next.scope = next.scope == RefreshScope::All ? RefreshScope::Active : RefreshScope::All;
            break;
        case 1:
            next.succeeded = next.succeeded.size() == 2 ? QSet{kBob} : QSet{kAlice, kBob};
            break;
        case 2:
            std::swap(next.repositories, next.unanswered);
            break;
        case 3:
            if (!next.deployments.isEmpty())
                next.deployments.removeFirst();
            break;
        case 4:
        case 5:
        case 6:
        case 7: {
            auto deployment = m_web;
            deployment.id = QString::number(random.bounded(30));
            deployment.state = kAllDeploymentStates.at(random.bounded(quint32(kAllDeploymentStates.size())));
            deployment.updatedAt = f->clock.now() - std::chrono::hours(random.bounded(30));
            if (random.bounded(4) == 0)
                deployment.repositoryNodeID = deployment.repositoryName = u"gone"_s;
            next.deployments.prepend(deployment);
            break;
        }
        default:
            break;
        }
    }
    /// A full fetch that succeeded for both.
    [[nodiscard]] FetchedDeployments fetched(const DeploymentList &deployments) const
    {
        FetchedDeployments result;
        result.succeeded = {kAlice, kBob};
        result.repositories = f->installations->monitoredRepositories();
        result.deployments = deployments;
        return result;
    }

    const DeploymentSnapshot m_web = makeSnapshot(u"web"_s, DeploymentState::Success, noon() - 1h);
    std::unique_ptr<MonitorFixture> f;
    std::unique_ptr<PollingLoop> m_loop;
    std::unique_ptr<FetchOutcomes> m_outcomes;
    std::unique_ptr<ShownDeployments> m_shown;
};

VELMORA_TEST(ShownDeploymentsTest)
#include "shown_deployments_test.moc"
