// SPDX-License-Identifier: MIT
#include "monitor/failure_marks.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

/// A failure of acme/web in production at noon, and what comes after it.
class FailureMarksTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aLaterSuccessInTheSamePlaceMendsAFailure()
    {
        const auto success = makeSnapshot(u"s"_s, DeploymentState::Success, noon() + 5min);
        QCOMPARE(marks({success, m_failure}, {}), mendedBy(u"s"_s, noon() + 5min));
        auto ended = m_failure;
        ended.state = DeploymentState::Error;
        QCOMPARE(marks({success, ended}, {}), mendedBy(u"s"_s, noon() + 5min));
    }

    void nothingElseMendsIt_data()
    {
        QTest::addColumn<DeploymentSnapshot>("other");
        const auto row = [](const char *name, const auto &edit) {
            DeploymentSnapshot other = makeSnapshot(u"s"_s, DeploymentState::Success, noon() + 5min);
            edit(other);
            QTest::newRow(name) << other;
        };
        row("another repository", [](auto &other) { other.repositoryNodeID = u"R_api"_s; });
        row("another environment", [](auto &other) { other.environment = u"staging"_s; });
        row("under way", [](auto &other) { other.state = DeploymentState::InProgress; });
        row("another failure", [](auto &other) { other.state = DeploymentState::Failure; });
        row("unknown", [](auto &other) { other.state = DeploymentState::Unknown; });
        row("a success from before", [](auto &other) { other.createdAt = other.updatedAt = noon() - 1s; });
        row("an older deployment that succeeds later", [](auto &other) { other.createdAt = noon() - 1s; });
        row("a newer deployment that had succeeded already", [](auto &other) {
            other.createdAt = noon() + 1s;
            other.updatedAt = noon() - 1s;
        });
        row("one of the same instant", [](auto &other) { other.createdAt = noon(); });
    }

    void nothingElseMendsIt()
    {
        QFETCH(DeploymentSnapshot, other);
        QCOMPARE(marks({other, m_failure}, {}), FailureMarks());
    }

    void ofSeveralSuccessesTheFirstHasMendedIt()
    {
        const auto first = makeSnapshot(u"first"_s, DeploymentState::Success, noon() + 1min);
        const auto second = makeSnapshot(u"second"_s, DeploymentState::Success, noon() + 2min);
        QCOMPARE(marks({second, first, m_failure}, {}), mendedBy(u"first"_s, noon() + 1min));
        QCOMPARE(marks({first, second, m_failure}, {}), mendedBy(u"first"_s, noon() + 1min));
    }

    void eachFailureHasItsOwn()
    {
        const auto success = makeSnapshot(u"s"_s, DeploymentState::Success, noon() + 5min);
        const auto later = makeSnapshot(u"later"_s, DeploymentState::Failure, noon() + 6min);
        auto before = makeSnapshot(u"before"_s, DeploymentState::Error, noon() - 1min);
        FailureMarks both = mendedBy(u"s"_s, noon() + 5min);
        both.insert(u"before"_s, both.value(u"f"_s));
        QCOMPARE(marks({later, success, m_failure, before}, {}), both);
    }

    void aFailureStaysMendedWhenTheNextSuccessHasTakenThePlaceOfTheFirst()
    {
        const auto mended = mendedBy(u"gone"_s, noon() + 1min);
        const auto next = makeSnapshot(u"next"_s, DeploymentState::Success, noon() + 2min);
        QCOMPARE(marks({next, m_failure}, mended), mended);
        QCOMPARE(marks({m_failure}, mended), mended);
    }

    void whatFailsAgainIsNotMendedAnyMore()
    {
        const auto mended = mendedBy(u"s"_s, noon() + 1min);
        auto again = m_failure;
        again.updatedAt = noon() + 2min;
        QCOMPARE(marks({again}, mended), FailureMarks());
        const auto broken = makeSnapshot(u"s"_s, DeploymentState::Failure, noon() + 2min);
        QCOMPARE(marks({broken, m_failure}, mended), FailureMarks());
    }

    void whatIsNoFailureAnyMoreHasNoMark()
    {
        auto repeated = m_failure;
        repeated.state = DeploymentState::Success;
        QCOMPARE(marks({repeated}, mendedBy(u"s"_s, noon() + 1min)), FailureMarks());
        QCOMPARE(marks({}, mendedBy(u"s"_s, noon() + 1min)), FailureMarks());
    }

    void aMendedFailureCountsUntilTheUserChoosesOtherwise()
    {
        const auto success = makeSnapshot(u"s"_s, DeploymentState::Success, noon() + 5min);
        const auto later = makeSnapshot(u"later"_s, DeploymentState::Failure, noon() + 6min);
        const DeploymentList list{later, success, m_failure};
        QCOMPARE(uncounted(marks(list, {})), 0);
        FailureChoices ignoring;
        ignoring.ignoresMended = true;
        const FailureMarks ignored = failureMarks(list, marks(list, {}), ignoring);
        QCOMPARE(uncounted(ignored), 1);
        QVERIFY(!ignored.value(u"f"_s).isCounted);
        QVERIFY(ignored.value(u"later"_s).isCounted);
        QCOMPARE(failureMarks(list, ignored, {}), marks(list, {}));
    }

    void aDismissedFailureDoesNotCountInTheStateInWhichItWasDismissed()
    {
        FailureChoices choices;
        choices.dismissed = {u"f:failure"_s, u"s:success"_s, u"gone:failure"_s};
        const auto success = makeSnapshot(u"s"_s, DeploymentState::Success, noon() - 5min);
        const FailureMarks dismissed = failureMarks({m_failure, success}, {}, choices);
        QCOMPARE(dismissed, (FailureMarks{{u"f"_s, FailureMark{std::nullopt, false, true}}}));
        QCOMPARE(uncounted(dismissed), 1);
        auto ended = m_failure;
        ended.state = DeploymentState::Error;
        QCOMPARE(failureMarks({ended, success}, dismissed, choices), FailureMarks());
        const auto mending = makeSnapshot(u"s"_s, DeploymentState::Success, noon() + 5min);
        QCOMPARE(failureMarks({mending, m_failure}, dismissed, choices),
            (FailureMarks{{u"f"_s, FailureMark{Mending{u"s"_s, noon() + 5min}, false, true}}}));
        QCOMPARE(failureMarks({m_failure}, dismissed, {}), FailureMarks());
    }

    void thePartsOfAListHaveMarksOfTheirOwn()
    {
        const auto other = makeSnapshot(u"other"_s, DeploymentState::Failure, noon() + 1min);
        const auto success = makeSnapshot(u"s"_s, DeploymentState::Success, noon() + 5min);
        const FailureMarks all = marks({success, other, m_failure}, {});
        QCOMPARE(all.size(), 2);
        const MarkedDeployments part = marked({m_failure, success}, all, {other});
        QCOMPARE(part.deployments, (DeploymentList{m_failure, success}));
        QCOMPARE(part.marks.keys(), QStringList(u"f"_s));
        QCOMPARE(marked({other}, all, {m_failure, success}).marks.keys(), QStringList(u"other"_s));
        QCOMPARE(marked({}, all, {}), MarkedDeployments());
    }

private:
    static FailureMarks marks(const DeploymentList &list, const FailureMarks &before)
    {
        return failureMarks(list, before, {});
    }
    static FailureMarks mendedBy(const QString &id, Instant at) { return {{u"f"_s, FailureMark{Mending{id, at}}}}; }

    const DeploymentSnapshot m_failure = makeSnapshot(u"f"_s, DeploymentState::Failure, noon());
};

VELMORA_TEST(FailureMarksTest)
#include "failure_marks_test.moc"
