// SPDX-License-Identifier: MIT
#include "ui/deployments/deployment_list_model.h"

#include "support/builders.h"
#include "support/fake_clock.h"
#include "support/test_main.h"

#include <QAbstractItemModelTester>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using enum DeploymentState;

namespace
{

DeploymentSnapshot snapshot(const char *id, DeploymentState state)
{
    return makeSnapshot(QString::fromLatin1(id), state, noon());
}

QString readable(const DeploymentListModel &model, int row)
{
    if (const auto *deployment = model.deployment(row))
        return deployment->id;
    const auto section = model.section(row);
    return QStringLiteral("[%1 %2]").arg(sectionTitle(section)).arg(model.count(section));
}

QStringList readable(const DeploymentListModel &model)
{
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row)
        rows.append(readable(model, row));
    return rows;
}

QStringList words(const char *text)
{
    return QString::fromLatin1(text).split(QLatin1Char('|'), Qt::SkipEmptyParts);
}

} // namespace

class DeploymentListModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_clock.setNow(noon() + 2min);
        m_model = std::make_unique<DeploymentListModel>(&m_clock);
        // Checks at every signal that the model is consistent.
        new QAbstractItemModelTester(
            m_model.get(), QAbstractItemModelTester::FailureReportingMode::QtTest, m_model.get());
    }

    void aSectionWithoutDeploymentsHasNoHeader()
    {
        QCOMPARE(m_model->rowCount(), 0);
        m_model->setDeployments({snapshot("a", Failure), snapshot("b", DeploymentState::Error)});
        QCOMPARE(readable(*m_model), words("[Failed 2]|a|b"));
    }

    void sectionsStandInTheirOrder()
    {
        m_model->setDeployments(
            {snapshot("w", Waiting), snapshot("p", InProgress), snapshot("ok", Success), snapshot("bad", Failure),
                snapshot("off", Inactive), snapshot("?", Unknown), snapshot("err", DeploymentState::Error)});
        QCOMPARE(readable(*m_model), words("[In progress 2]|w|p|[Failed 2]|bad|err|[Completed 3]|ok|off|?"));
        QCOMPARE(m_model->headerRows(), (std::vector<int>{0, 3, 6}));
    }

    void aChangeIsOneChangeOfTheLayoutInWhichRowsKeepTheirIndex_data()
    {
        using List = DeploymentList;
        QTest::addColumn<List>("before");
        QTest::addColumn<List>("after");
        QTest::addColumn<QStringList>("moves");
        const auto row = [](const char *name, const List &before, const List &after, const char *moves) {
            QTest::newRow(name) << before << after << words(moves);
        };
        const auto a = snapshot("a", Success);
        const auto b = snapshot("b", Success);
        const auto c = snapshot("c", Success);
        const auto running = snapshot("r", InProgress);
        auto later = a;
        later.updatedAt += 1s;
        row("nothing", {a, b}, {a, b}, "0-0|1-1|2-2");
        row("the first ones", {}, {a, b}, "");
        row("a new one", {a, b}, {c, a, b}, "0-0|1-2|2-3");
        row("one gone", {a, b}, {a}, "0-0|1-1|2 gone");
        row("all gone", {a, running}, {}, "0 gone|1 gone|2 gone|3 gone");
        row("one changed", {a, b}, {later, b}, "0-0|1-1|2-2");
        row("another order", {a, b, c}, {c, a, b}, "0-0|1-2|2-3|3-1");
        row("a section more", {a}, {running, a}, "0-2|1-3");
        auto finished = running;
        finished.state = Success;
        row("one finished", {snapshot("q", Queued), running, a}, {snapshot("q", Queued), finished, a},
            "0-0|1-1|2-3|3-2|4-4");
        row("the last one finished", {running, a}, {finished, a}, "0 gone|1-1|2-0|3-2");
        row("twice the same", {a, b, a}, {b, a, a}, "0-0|1-2|2-1|3-2");
    }

    void aChangeIsOneChangeOfTheLayoutInWhichRowsKeepTheirIndex()
    {
        QFETCH(DeploymentList, before);
        QFETCH(DeploymentList, after);
        QFETCH(QStringList, moves);
        m_model->setDeployments(before);
        QList<QPersistentModelIndex> indexes;
        for (int row = 0; row < m_model->rowCount(); ++row)
            indexes.append(m_model->index(row));
        QSignalSpy layouts(m_model.get(), &QAbstractItemModel::layoutChanged);
        QSignalSpy resets(m_model.get(), &QAbstractItemModel::modelReset);
        m_model->setDeployments(after);
        QCOMPARE(layouts.count(), 1);
        QCOMPARE(resets.count(), 0);
        QStringList seen;
        for (qsizetype row = 0; row < indexes.size(); ++row) {
            const QPersistentModelIndex &index = indexes.at(row);
            seen.append(index.isValid() ? QStringLiteral("%1-%2").arg(row).arg(index.row())
                                        : QStringLiteral("%1 gone").arg(row));
        }
        QCOMPARE(seen, moves);
        DeploymentListModel fresh(&m_clock);
        fresh.setDeployments(after);
        QCOMPARE(readable(*m_model), readable(fresh));
    }

    void whoPointsAtADeploymentKeepsPointingAtIt()
    {
        m_model->setDeployments({snapshot("r", InProgress), snapshot("a", Success), snapshot("b", Success)});
        const QPersistentModelIndex running = m_model->index(1);
        const QPersistentModelIndex gone = m_model->index(4);
        auto finished = snapshot("r", Failure);
        m_model->setDeployments({finished, snapshot("c", Success), snapshot("a", Success)});
        QCOMPARE(readable(*m_model), words("[Failed 1]|r|[Completed 2]|c|a"));
        QCOMPARE(m_model->deployment(running.row())->id, QStringLiteral("r"));
        QVERIFY(!gone.isValid());
    }

    void anyTwoListsAreBridged()
    {
        QRandomGenerator random(1848);
        for (int turn = 0; turn < 300; ++turn) {
            DeploymentList list;
            for (int i = 0; i < 12; ++i) {
                if (random.bounded(3) == 0)
                    continue;
                const auto state = kAllDeploymentStates.at(random.bounded(quint32(kAllDeploymentStates.size())));
                list.insert(random.bounded(static_cast<int>(list.size() + 1)),
                    makeSnapshot(QString::number(i), state, noon() + std::chrono::seconds(random.bounded(3))));
            }
            QHash<QString, QPersistentModelIndex> indexes;
            for (int row = 0; row < m_model->rowCount(); ++row) {
                if (const auto *deployment = m_model->deployment(row))
                    indexes.insert(deployment->id, m_model->index(row));
            }
            m_model->setDeployments(list);
            DeploymentListModel fresh(&m_clock);
            fresh.setDeployments(list);
            QCOMPARE(readable(*m_model), readable(fresh));
            for (auto [id, index] : indexes.asKeyValueRange()) {
                const bool isThere = std::ranges::find(list, id, &DeploymentSnapshot::id) != list.end();
                QCOMPARE(index.isValid(), isThere);
                if (isThere)
                    QCOMPARE(m_model->deployment(index.row())->id, id);
            }
            for (int row = 0; row < fresh.rowCount(); ++row) {
                if (fresh.deployment(row))
                    QCOMPARE(*m_model->deployment(row), *fresh.deployment(row));
            }
        }
    }

    void theSameListTwiceIsNoUpdate()
    {
        const DeploymentList list{snapshot("a", Success)};
        m_model->setDeployments(list);
        QSignalSpy updates(m_model.get(), &DeploymentListModel::layoutChanged);
        m_model->setDeployments(list);
        QCOMPARE(updates.count(), 0);
    }

    void changesWithinARowAreTakenOver()
    {
        auto list = DeploymentList{snapshot("a", Success), snapshot("b", Success), snapshot("c", Success)};
        m_model->setDeployments(list);
        for (auto &deployment : list)
            change(
                deployment, [](DeploymentSnapshot &record) { record.statusDescription = QStringLiteral("changed"); });
        m_model->setDeployments(list);
        QCOMPARE(*m_model->deployment(1), *list.at(0));
        QCOMPARE(*m_model->deployment(3), *list.at(2));
    }

    void rowsCanBeRead()
    {
        const auto deployment = snapshot("a", Failure);
        m_model->setDeployments({deployment});
        QCOMPARE(m_model->index(0).data(), QStringLiteral("Failed"));
        QCOMPARE(m_model->index(0).data(Qt::AccessibleTextRole), QStringLiteral("Failed, 1"));
        QVERIFY(m_model->index(0).data(Qt::ToolTipRole).isNull());
        QCOMPARE(m_model->index(1).data(), QStringLiteral("acme/web"));
        QCOMPARE(m_model->index(1).data(Qt::AccessibleTextRole),
            QStringLiteral("acme/web, production, failed, 0123456, 2 minutes ago"));
        QVERIFY(m_model->index(1).data(Qt::ToolTipRole).toString().contains(deployment.commitOID));
        QCOMPARE(m_model->index(1).data(Qt::AccessibleDescriptionRole),
            QStringLiteral("Return opens the deployments page. Delete dismisses the failure."));
        m_model->setDeployments({deployment}, {{deployment.id, FailureMark{std::nullopt, false, true}}});
        QCOMPARE(m_model->index(0).data(Qt::AccessibleTextRole), QStringLiteral("Failed, 0"));
        QCOMPARE(m_model->index(1).data(Qt::AccessibleTextRole),
            QStringLiteral("acme/web, production, failed, 0123456, 2 minutes ago, dismissed"));
        QCOMPARE(m_model->index(1).data(Qt::AccessibleDescriptionRole),
            QStringLiteral("Return opens the deployments page."));
        QVERIFY(m_model->data({}, Qt::DisplayRole).isNull());
    }

    void whatIsHiddenIsALineAtTheEndUntilItIsShown()
    {
        const DeploymentList list{snapshot("a", Failure), snapshot("b", Success)};
        const MarkedDeployments hidden{{snapshot("p", InProgress), snapshot("f", Failure)},
            {{QStringLiteral("f"), FailureMark{std::nullopt, false, true}}}};
        m_model->setDeployments(list, {}, hidden);
        QCOMPARE(readable(*m_model), words("[Failed 1]|a|[Completed 1]|b|[Hidden 2]"));
        const QPersistentModelIndex line = m_model->index(4);
        QCOMPARE(line.data(), QStringLiteral("2 hidden by your choices"));
        QCOMPARE(line.data(Qt::AccessibleTextRole), line.data());
        QVERIFY(line.flags().testFlag(Qt::ItemIsSelectable));
        m_model->setShowsHidden(true);
        QCOMPARE(readable(*m_model), words("[Failed 1]|a|[Completed 1]|b|[Hidden 2]|p|f"));
        QCOMPARE(m_model->headerRows(), (std::vector<int>{0, 2, 4}));
        QCOMPARE(line.row(), 4);
        QVERIFY(m_model->mark(*m_model->deployment(6)).isDismissed);
        QCOMPARE(m_model->undismissed(), QSet<QString>{QStringLiteral("a")});
        // It stays so for what comes, until nothing is hidden.
        m_model->setDeployments({list.first()}, {}, {{snapshot("q", Success)}, {}});
        QCOMPARE(readable(*m_model), words("[Failed 1]|a|[Hidden 1]|q"));
        m_model->setDeployments({}, {}, hidden);
        QCOMPARE(readable(*m_model), words("[Hidden 2]|p|f"));
        m_model->setShowsHidden(false);
        QCOMPARE(readable(*m_model), words("[Hidden 2]"));
        m_model->setShowsHidden(true);
        m_model->setDeployments({list.first()});
        QVERIFY(!m_model->showsHidden());
        m_model->setShowsHidden(true);
        QVERIFY(!m_model->showsHidden());
        QCOMPARE(readable(*m_model), words("[Failed 1]|a"));
    }

    void onlyDeploymentsCanBeSelected()
    {
        m_model->setDeployments({snapshot("a", Failure)});
        QVERIFY(!m_model->index(0).flags().testFlag(Qt::ItemIsSelectable));
        QVERIFY(m_model->index(1).flags().testFlag(Qt::ItemIsSelectable));
        QVERIFY(!m_model->deployment(-1));
        QVERIFY(!m_model->deployment(2));
    }

private:
    FakeClock m_clock;
    std::unique_ptr<DeploymentListModel> m_model;
};

VELMORA_TEST(DeploymentListModelTest)
#include "deployment_list_model_test.moc"
