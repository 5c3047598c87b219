// SPDX-License-Identifier: MIT
#include "monitor/deployment_monitor_state.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;

class DeploymentMonitorStateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyStateHasItsSymbolAndTitle_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<QList<DeploymentState>>("deployments");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QString>("title");
        using enum DeploymentState;
        const auto row = [](const char *name, const DeploymentMonitorState &state, const QList<DeploymentState> &list,
                             const char *symbol, const char *title) {
            QTest::newRow(name) << static_cast<int>(state.state) << list << QString::fromLatin1(symbol)
                                << QString::fromLatin1(title);
        };
        const auto ready = DeploymentMonitorState::ready(noon());
        row("active ones", ready, {Queued, Pending, Waiting, InProgress, Failure}, "arrow.up.circle.fill", "4");
        row("failed ones", ready, {Failure, Error, Success}, "exclamationmark.triangle.fill", "Velmora");
        row("one in error", ready, {Error}, "exclamationmark.triangle.fill", "Velmora");
        row("all is well", ready, {Success, Unknown}, "checkmark.circle", "Velmora");
        row("nothing", ready, {}, "checkmark.circle", "Velmora");
        const QList<DeploymentState> some{InProgress, Failure};
        row("loading", DeploymentMonitorState::loading(true), some, "arrow.triangle.2.circlepath", "Velmora");
        row("stale", DeploymentMonitorState::stale(noon()), some, "exclamationmark.circle", "Velmora");
        row("rate limited", DeploymentMonitorState::rateLimited({}, noon()), some, "clock.badge.exclamationmark",
            "Velmora");
        row("disconnected", DeploymentMonitorState::disconnected(MissingStep::Account), {}, "arrow.up.circle.dotted",
            "Velmora");
    }

    void everyStateHasItsSymbolAndTitle()
    {
        QFETCH(int, state);
        QFETCH(QList<DeploymentState>, deployments);
        QFETCH(QString, symbol);
        QFETCH(QString, title);
        DeploymentMonitorState monitorState;
        monitorState.state = static_cast<DeploymentMonitorState::Case>(state);
        DeploymentList list;
        for (const auto deploymentState : deployments)
            list.append(makeSnapshot(QString::number(list.size()), deploymentState, noon()));
        const auto result = presentation(monitorState, list, {});
        QCOMPARE(result.symbol(), symbol);
        QCOMPARE(result.title(), title);
    }

    void onlyTheReadyStateCounts()
    {
        const DeploymentList list{makeSnapshot(QStringLiteral("a"), DeploymentState::InProgress, noon()),
            makeSnapshot(QStringLiteral("b"), DeploymentState::Error, noon())};
        const auto ready = presentation(DeploymentMonitorState::ready(noon()), list, {});
        QCOMPARE(ready.activeCount, 1);
        QCOMPARE(ready.failedCount, 1);
        const auto stale = presentation(DeploymentMonitorState::stale(noon()), list, {});
        QCOMPARE(stale.activeCount, 0);
        QCOMPARE(stale.failedCount, 0);
    }

    void aFailureThatDoesNotCountIsNotCounted()
    {
        const DeploymentList list{makeSnapshot(QStringLiteral("a"), DeploymentState::Failure, noon()),
            makeSnapshot(QStringLiteral("b"), DeploymentState::Error, noon())};
        FailureMarks marks{{QStringLiteral("a"), FailureMark{std::nullopt, false}}};
        const auto ready = DeploymentMonitorState::ready(noon());
        QCOMPARE(presentation(ready, list, marks).failedCount, 1);
        marks.insert(QStringLiteral("b"), FailureMark{std::nullopt, false});
        QCOMPARE(presentation(ready, list, marks).symbol(), QStringLiteral("checkmark.circle"));
        QCOMPARE(presentation(DeploymentMonitorState::stale(noon()), list, marks).failedCount, 0);
    }

    void everyStateHasItsName()
    {
        using Case = DeploymentMonitorState::Case;
        QCOMPARE(rawValue(Case::Loading), QStringLiteral("loading"));
        QCOMPARE(rawValue(Case::Ready), QStringLiteral("ready"));
        QCOMPARE(rawValue(Case::Stale), QStringLiteral("stale"));
        QCOMPARE(rawValue(Case::RateLimited), QStringLiteral("rateLimited"));
        QCOMPARE(rawValue(Case::Disconnected), QStringLiteral("disconnected"));
        QCOMPARE(rawValue(MissingStep::Account), QStringLiteral("account"));
        QCOMPARE(rawValue(MissingStep::Installation), QStringLiteral("installation"));
        QCOMPARE(rawValue(MissingStep::Access), QStringLiteral("access"));
        QCOMPARE(rawValue(MissingStep::Selection), QStringLiteral("selection"));
    }
};

VELMORA_TEST(DeploymentMonitorStateTest)
#include "deployment_monitor_state_test.moc"
