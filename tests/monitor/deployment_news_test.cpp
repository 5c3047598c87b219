// SPDX-License-Identifier: MIT
#include "monitor/deployment_news.h"

#include "support/monitor_fixture.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace
{

DeploymentSnapshot failed(const QString &id)
{
    return makeSnapshot(id, DeploymentState::Failure, noon());
}

} // namespace

/// Tells of the failed deployments of one repository, after a first refresh that brought none.
class DeploymentNewsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<MonitorFixture>();
        f->connect(1, u"alice"_s).repositories = {{u"R_web"_s, u"acme/web"_s, {}, {}}};
        f->build();
        loadInstallations();
        m_web = f->installations->monitoredRepositories();
        m_shown.clear();
        m_news = std::make_unique<DeploymentNews>(&f->notifier, &f->defaults, &f->clock);
        awaitValue(m_news->announce({}, {}));
    }
    void cleanup()
    {
        m_news.reset();
        f.reset();
    }

    void theFirstAnswerOfARepositoryIsHistory()
    {
        answer(u"a"_s);
        QCOMPARE(f->notifier.announced, QStringList());
        answer(u"b"_s);
        QCOMPARE(f->notifier.announced, QStringList(u"failure b"_s));
    }

    void theEndOfWhatTheListHeldAsUnderWayIsNewsEvenThen()
    {
        m_shown = {makeSnapshot(u"a"_s, DeploymentState::InProgress, noon() - 1min)};
        answer(u"a"_s);
        QCOMPARE(f->notifier.announced, QStringList(u"failure a"_s));
    }

    void whatIsNotMonitoredForAWhileHasAHistoryAgain()
    {
        answer(u"a"_s);
        f->installations->setRepository(u"R_web"_s, false);
        m_news->forgetUnmonitored(context());
        f->installations->setRepository(u"R_web"_s, true);
        answer(u"b"_s);
        QCOMPARE(f->notifier.announced, QStringList());
    }

    void whatIsMissingBecauseItsIdentityIsNotKnownHasNone()
    {
        answer(u"a"_s);
        f->github.identities[u"alice"_s].restFailure = FakeHTTPSession::response(500, "");
        loadInstallations();
        QCOMPARE(context().unloadedIdentities(), QSet<qint64>{1});
        m_news->forgetUnmonitored(context());
        f->github.identities[u"alice"_s].restFailure.reset();
        loadInstallations();
        answer(u"b"_s);
        QCOMPARE(f->notifier.announced, QStringList(u"failure b"_s));
    }

    void aListIsComparedWithThatOfAnEarlierRunOnlyAfterAHandOver_data()
    {
        QTest::addColumn<qint64>("ageInSeconds");
        QTest::addColumn<bool>("isCompared");
        QTest::newRow("a second less than an hour") << qint64(3599) << true;
        QTest::newRow("an hour") << qint64(3600) << false;
    }
    void aListIsComparedWithThatOfAnEarlierRunOnlyAfterAHandOver()
    {
        QFETCH(qint64, ageInSeconds);
        QFETCH(bool, isCompared);
        const DeploymentList list{failed(u"a"_s)};
        DeploymentNews fresh(&f->notifier, &f->defaults, &f->clock);
        QCOMPARE(fresh.comparable(list), DeploymentList());
        fresh.adoptSaved(noon() - std::chrono::seconds(ageInSeconds), noon());
        QCOMPARE(fresh.comparable(list), isCompared ? list : DeploymentList());
        awaitValue(fresh.announce({}, {}));
        QCOMPARE(fresh.comparable(list), list);
    }

private:
    [[nodiscard]] RefreshContext context() const
    {
        return {f->authentication.get(), f->installations.get(), f->clock.now()};
    }
    void loadInstallations() { awaitValue(f->installations->refresh(f->authentication.get())); }

    /// GitHub answers for the repository, and tells of one more deployment, or of another state.
    void answer(const QString &failedID)
    {
        auto updated = m_shown;
        updated.removeIf([&](const DeploymentSnapshot &deployment) { return deployment.id == failedID; });
        updated.append(failed(failedID));
        m_news->recordFetch(context(), m_web, m_shown, updated);
        awaitValue(m_news->announce(m_shown, updated));
        m_shown = updated;
    }

    std::unique_ptr<MonitorFixture> f;
    std::unique_ptr<DeploymentNews> m_news;
    QList<RepositoryRecord> m_web;
    DeploymentList m_shown;
};

VELMORA_TEST(DeploymentNewsTest)
#include "deployment_news_test.moc"
