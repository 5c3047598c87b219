// SPDX-License-Identifier: MIT
#include "presentation/deployment_sections.h"

#include "presentation/relative_time.h"
#include "presentation/status_text.h"
#include "support/builders.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

class DeploymentSectionsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyStateHasItsSection_data()
    {
        QTest::addColumn<DeploymentState>("state");
        QTest::addColumn<QString>("title");
        using enum DeploymentState;
        for (const auto state : {Queued, Pending, Waiting, InProgress})
            QTest::newRow(qPrintable(rawValue(state))) << state << QStringLiteral("In progress");
        for (const auto state : {Failure, Error})
            QTest::newRow(qPrintable(rawValue(state))) << state << QStringLiteral("Failed");
        for (const auto state : {Success, Inactive, Unknown})
            QTest::newRow(qPrintable(rawValue(state))) << state << QStringLiteral("Completed");
    }

    void everyStateHasItsSection()
    {
        QFETCH(DeploymentState, state);
        QFETCH(QString, title);
        const DeploymentList list{makeSnapshot(QStringLiteral("a"), state, noon())};
        const QList expected{DeploymentSection{title, list, 1}};
        QCOMPARE(deploymentSections(list), expected);
    }

    void sectionsHaveAFixedOrderAndKeepTheOrderOfTheList()
    {
        using enum DeploymentState;
        const auto a = makeSnapshot(QStringLiteral("a"), Success, noon());
        const auto b = makeSnapshot(QStringLiteral("b"), Failure, noon());
        const auto c = makeSnapshot(QStringLiteral("c"), Queued, noon());
        const auto d = makeSnapshot(QStringLiteral("d"), Error, noon());
        QList expected{DeploymentSection{QStringLiteral("In progress"), {c}, 1},
            DeploymentSection{QStringLiteral("Failed"), {b, d}, 2},
            DeploymentSection{QStringLiteral("Completed"), {a}, 1}};
        QCOMPARE(deploymentSections({a, b, c, d}), expected);
        // What does not count stays in its section.
        expected[1].count = 1;
        QCOMPARE(deploymentSections({a, b, c, d}, {{b.id, FailureMark{std::nullopt, false}}}), expected);
        QVERIFY(deploymentSections({}).isEmpty());
    }

    void detailsHoldTheRefOnlyWhenThereIsOne()
    {
        auto deployment = makeSnapshot(QStringLiteral("a"), DeploymentState::Success, noon());
        const QStringList without{QStringLiteral("0123456"), QStringLiteral("2 minutes ago")};
        QCOMPARE(deploymentDetails(deployment, noon() + 2min), without);
        deployment.refName = QStringLiteral("main");
        QCOMPARE(deploymentDetails(deployment, noon() + 2min), QStringList{QStringLiteral("main")} + without);
    }

    void whatIsUnderWaySaysForHowLong()
    {
        auto deployment = makeSnapshot(QStringLiteral("a"), DeploymentState::InProgress, noon());
        deployment.createdAt = noon() - 3min;
        const auto details = [&](Instant now) {
            return deploymentDetails(deployment, now).mid(1).join(QLatin1Char('|'));
        };
        QCOMPARE(details(noon() + 20s), QStringLiteral("for 3 minutes|20 seconds ago"));
        QCOMPARE(details(noon() - 3min), QStringLiteral("in 3 minutes"));
        QCOMPARE(details(noon() - 4min), QStringLiteral("in 4 minutes"));
        QCOMPARE(nextDetailsChange(deployment, noon() + 20s), noon() + 21s);
        QCOMPARE(nextDetailsChange(deployment, noon() + 2min - 1s), noon() + 2min);
        deployment.updatedAt = noon() - 3min + 30s;
        QCOMPARE(nextDetailsChange(deployment, noon()), noon() + 30s);
        QCOMPARE(nextDetailsChange(deployment, noon() + 30s), noon() + 1min);
        for (const auto state : {DeploymentState::Success, DeploymentState::Failure, DeploymentState::Unknown}) {
            deployment.state = state;
            QVERIFY(elapsedText(deployment, noon()).isEmpty());
            QCOMPARE(nextDetailsChange(deployment, noon()), noon() + 30s);
        }
    }

    void aMendedFailureSaysSince()
    {
        const auto failure = makeSnapshot(QStringLiteral("a"), DeploymentState::Failure, noon());
        const FailureMark mended{Mending{QStringLiteral("b"), noon() + 5min + 10s}};
        const QStringList expected{
            QStringLiteral("0123456"), QStringLiteral("25 minutes ago"), QStringLiteral("mended 20 minutes ago")};
        QCOMPARE(deploymentDetails(failure, noon() + 25min + 20s, mended), expected);
        QCOMPARE(nextDetailsChange(failure, noon() + 25min + 20s, mended), noon() + 26min);
        QCOMPARE(nextDetailsChange(failure, noon() + 25min + 5s, mended), noon() + 25min + 10s);
        QVERIFY(markDetails({}, noon()).isEmpty());
        const FailureMark dismissed{mended.mending, false, true};
        QCOMPARE(deploymentDetails(failure, noon() + 25min + 20s, dismissed),
            expected + QStringList(QStringLiteral("dismissed")));
    }

    void aShortCommitIsShownWhole()
    {
        auto deployment = makeSnapshot(QStringLiteral("a"), DeploymentState::Success, noon());
        deployment.commitOID = QStringLiteral("abc12");
        QCOMPARE(shortCommit(deployment), QStringLiteral("abc12"));
    }

    void everyStateHasItsText_data()
    {
        QTest::addColumn<DeploymentMonitorState>("state");
        QTest::addColumn<DeploymentState>("deployment");
        QTest::addColumn<QString>("text");
        using State = DeploymentMonitorState;
        const auto row = [](const char *name, const State &state, DeploymentState deployment, const char *text) {
            QTest::newRow(name) << state << deployment << QString::fromUtf8(text);
        };
        using enum DeploymentState;
        row("loading", State::loading(true), InProgress, "Refreshing deployments");
        row("one queued", State::ready(noon()), Queued, "Deployment in progress");
        row("one pending", State::ready(noon()), Pending, "Deployment in progress");
        row("one waiting", State::ready(noon()), Waiting, "Deployment in progress");
        row("one in progress", State::ready(noon()), InProgress, "Deployment in progress");
        row("one failed", State::ready(noon()), Failure, "GitHub deployments");
        row("stale", State::stale({}), InProgress, "Showing saved data");
        row("rate limited", State::rateLimited({}, noon() + 2h + 5min), InProgress, "Paused until 14:05");
        row("disconnected", State::disconnected(MissingStep::Account), Success, "Connect GitHub");
        row("not installed", State::disconnected(MissingStep::Installation), Success, "Install Velmora on GitHub");
        row("nothing granted", State::disconnected(MissingStep::Access), Success, "No repositories granted");
        row("all switched off", State::disconnected(MissingStep::Selection), Success, "No repositories selected");
        State untold;
        untold.state = State::Case::Disconnected;
        row("disconnected, as an earlier version tells it", untold, Success, "Connect GitHub");
    }

    void everyStateHasItsText()
    {
        QFETCH(DeploymentMonitorState, state);
        QFETCH(DeploymentState, deployment);
        QFETCH(QString, text);
        const auto finished = makeSnapshot(QStringLiteral("a"), DeploymentState::Success, noon());
        const auto other = makeSnapshot(QStringLiteral("b"), deployment, noon());
        QString shown = statusText(state, {finished, other});
        shown.remove(QStringLiteral(":00")); // the short form of the C locale has seconds
        QCOMPARE(shown, text);
    }

    void theNextChangeOfARelativeTimeIsKnown_data()
    {
        QTest::addColumn<qint64>("age");
        using namespace std::chrono;
        const auto row = [](const char *name, microseconds age) {
            QTest::newRow(name) << qint64(age.count());
        };
        row("this moment", 0us);
        row("just now", 400ms);
        row("a second", 1s);
        row("nearly a minute", 59s + 999ms);
        row("a minute", 1min);
        row("some minutes", 7min + 13s);
        row("nearly an hour", 1h - 1us);
        row("a day", 24h);
        row("weeks", weeks(4));
        row("nearly a month", months(1) - 1s);
        row("months", months(11));
        row("years", years(3));
        row("in a moment", -400ms);
        row("in a second", -1s);
        row("in a minute", -1min);
        row("in a minute and a little", -(1min + 1us));
        row("in some hours", -5h);
        row("in a year", -years(1));
    }

    void theNextChangeOfARelativeTimeIsKnown()
    {
        QFETCH(qint64, age);
        const Instant instant = noon() - std::chrono::microseconds(age);
        const Instant next = nextRelativeTimeChange(instant, noon());
        QVERIFY(next > noon());
        const QString text = relativeTime(instant, noon());
        QCOMPARE(relativeTime(instant, next - 1us), text);
        QVERIFY(relativeTime(instant, next) != text);
    }

    void relativeTimesAreWhatAPersonSays_data()
    {
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<QString>("text");
        const auto row = [](qint64 seconds, const char *text) {
            QTest::newRow(text) << seconds << QString::fromUtf8(text);
        };
        row(0, "now");
        row(-1, "1 second ago");
        row(-59, "59 seconds ago");
        row(-60, "1 minute ago");
        row(-119, "1 minute ago ");
        row(-120, "2 minutes ago");
        row(-3599, "59 minutes ago");
        row(-3600, "1 hour ago");
        row(-86400, "1 day ago");
        row(-6 * 86400, "6 days ago");
        row(-7 * 86400, "1 week ago");
        row(-61 * 86400, "2 months ago");
        row(-800 * 86400, "2 years ago");
        row(300, "in 5 minutes");
        row(1, "in 1 second");
    }

    void relativeTimesAreWhatAPersonSays()
    {
        QFETCH(qint64, seconds);
        QFETCH(QString, text);
        QCOMPARE(relativeTime(noon() + std::chrono::seconds(seconds), noon()), text.trimmed());
    }

    void lessThanASecondIsNow()
    {
        QCOMPARE(relativeTime(noon() - 999ms, noon()), QStringLiteral("now"));
        QCOMPARE(relativeTime(noon() + 999ms, noon()), QStringLiteral("now"));
    }
};

VELMORA_TEST(DeploymentSectionsTest)
#include "deployment_sections_test.moc"
