// SPDX-License-Identifier: MIT
#include "monitor/live_repositories.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;

namespace
{

RepositoryRecord record(const QString &nodeID, qint64 identityID)
{
    RepositoryRecord result;
    result.identityID = identityID;
    result.repository.nodeID = nodeID;
    return result;
}

const RepositoryRecord kWeb = record(QStringLiteral("web"), 1);
const RepositoryRecord kAPI = record(QStringLiteral("api"), 2);

} // namespace

class LiveRepositoriesTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aRepositoryIsNewOnce()
    {
        LiveRepositories live;
        QCOMPARE(live.add({kWeb}), QList{kWeb});
        QCOMPARE(live.add({kWeb, kAPI}), QList{kAPI});
        QCOMPARE(live.add({kWeb, kAPI}), QList<RepositoryRecord>());
    }

    void whatIsNotMonitoredForAWhileIsNewAgain()
    {
        LiveRepositories live;
        std::ignore = live.add({kWeb, kAPI});
        live.retain({kWeb}, {});
        QCOMPARE(live.add({kWeb, kAPI}), QList{kAPI});
    }

    void whatIsMissingBecauseItsIdentityIsNotKnownIsNotNewAgain()
    {
        LiveRepositories live;
        std::ignore = live.add({kWeb, kAPI});
        live.retain({}, {2});
        QCOMPARE(live.add({kWeb, kAPI}), QList{kWeb});
    }
};

VELMORA_TEST(LiveRepositoriesTest)
#include "live_repositories_test.moc"
