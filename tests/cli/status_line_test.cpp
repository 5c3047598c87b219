// SPDX-License-Identifier: MIT
#include "cli/status_line.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

using State = DeploymentMonitorState;

namespace
{

MonitorReport report(const State &state, const QList<DeploymentState> &deployments)
{
    MonitorReport report;
    report.applicationName = QStringLiteral("Velmora");
    report.state = state;
    int number = 0;
    for (const auto deployment : deployments)
        report.deployments.append(makeSnapshot(QStringLiteral("D_%1").arg(++number), deployment, noon()));
    return report;
}

QByteArray filled(const char *format, const MonitorReport &report)
{
    return StatusLine::parse(QString::fromUtf8(format)).line.value().lineOf(report);
}

QJsonObject waybar(const MonitorReport &report)
{
    const QByteArray line = filled("waybar", report);
    return line.contains('\n') ? QJsonObject() : QJsonDocument::fromJson(line).object();
}

} // namespace

class StatusLineTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aTemplateIsFilledWithCountsOfTheList()
    {
        using enum DeploymentState;
        const MonitorReport mixed
            = report(State::ready(noon()), {InProgress, Queued, Failure, Error, Error, Success, Inactive, Unknown});
        QCOMPARE(filled("{active} {failed} {succeeded} {total}", mixed), QByteArray("2 3 1 8"));
    }

    void failuresThatDoNotCountAreNotCounted()
    {
        using enum DeploymentState;
        MonitorReport one = report(State::ready(noon()), {Failure, Error, Success});
        one.marks = {{QStringLiteral("D_1"), FailureMark{std::nullopt, false}}};
        QCOMPARE(filled("{failed} {total} {state}", one), QByteArray("1 3 failed"));
        QCOMPARE(waybar(one).value(QLatin1String("text")).toString(), QStringLiteral("1"));
        QVERIFY(waybar(one).value(QLatin1String("tooltip")).toString().contains(QStringLiteral("Failed: 1\n")));
        one.marks.insert(QStringLiteral("D_2"), FailureMark{std::nullopt, false});
        QCOMPARE(filled("{failed} {total} {state}", one), QByteArray("0 3 ok"));
        QCOMPARE(waybar(one).value(QLatin1String("text")).toString(), QString());
    }

    void theStateIsOneWord_data()
    {
        using enum DeploymentState;
        QTest::addColumn<MonitorReport>("report");
        QTest::newRow("active") << report(State::ready(noon()), {Failure, Waiting});
        QTest::newRow("failed") << report(State::ready(noon()), {Success, Error});
        QTest::newRow("ok") << report(State::ready(noon()), {Success});
        QTest::newRow("loading") << report(State::loading(true), {InProgress});
        QTest::newRow("stale") << report(State::stale(noon()), {Failure});
        QTest::newRow("paused") << report(State::rateLimited(noon(), noon() + 1h), {InProgress});
        QTest::newRow("disconnected") << report(State::disconnected(MissingStep::Account), {});
    }

    void theStateIsOneWord()
    {
        QFETCH(MonitorReport, report);
        const QByteArray word = QTest::currentDataTag();
        QCOMPARE(filled("{state}", report), word);
        QCOMPARE(waybar(report).value(QLatin1String("class")).toString(), QString::fromUtf8(word));
        QCOMPARE(waybar(report).value(QLatin1String("alt")).toString(), QString::fromUtf8(word));
    }

    void theTitleIsThatOfTheTrayItem()
    {
        QCOMPARE(filled("{title}", report(State::ready(noon()), {DeploymentState::Pending})), QByteArray("1"));
        QCOMPARE(filled("{title}", report(State::stale(noon()), {DeploymentState::Pending})), QByteArray("Velmora"));
    }

    void theTimeOfTheRefreshIsTheClocks()
    {
        MonitorReport refreshed = report(State::ready(noon()), {});
        QCOMPARE(filled("{updated}", refreshed), QByteArray("never"));
        refreshed.lastRefreshedAt = noon() + 59s;
        QCOMPARE(filled("{updated}", refreshed), QByteArray("12:00"));
    }

    void doubledBracesStandForThemselves()
    {
        QCOMPARE(filled("{{{active}}} }}{{", report(State::loading(false), {})), QByteArray("{0} }{"));
    }

    void whatStandsForNothingIsRefused_data()
    {
        QTest::addColumn<QString>("error");
        QTest::newRow("bar") << QStringLiteral("“bar” is neither");
        QTest::newRow("") << QStringLiteral("“” is neither");
        QTest::newRow("{{active}}") << QStringLiteral("is neither");
        QTest::newRow("{active") << QStringLiteral("A single {");
        QTest::newRow("{active}}") << QStringLiteral("A single }");
        QTest::newRow("{Active}") << QStringLiteral("There is no {Active}.");
        QTest::newRow("{}") << QStringLiteral("There is no {}.");
    }

    void whatStandsForNothingIsRefused()
    {
        QFETCH(QString, error);
        const auto parsed = StatusLine::parse(QString::fromUtf8(QTest::currentDataTag()));
        QVERIFY(!parsed.line);
        QVERIFY2(parsed.error.contains(error), qPrintable(parsed.error));
    }

    void waybarGetsTheMostUrgentCount()
    {
        using enum DeploymentState;
        const auto text = [](const MonitorReport &shown) {
            return waybar(shown).value(QLatin1String("text")).toString();
        };
        QCOMPARE(text(report(State::ready(noon()), {Failure, Failure, InProgress})), QStringLiteral("1"));
        QCOMPARE(text(report(State::ready(noon()), {Failure, Failure, Success})), QStringLiteral("2"));
        QCOMPARE(text(report(State::ready(noon()), {Success})), QString());
    }

    void theTooltipNamesTheDeploymentsUpToABound()
    {
        const QList<DeploymentState> many(40, DeploymentState::InProgress);
        MonitorReport shown = report(State::ready(noon()), many + QList{DeploymentState::Failure});
        change(shown.deployments.first(),
            [](DeploymentSnapshot &deployment) { deployment.environment = QStringLiteral("<b>&staging\n\u202E"); });
        const QString tooltip = waybar(shown).value(QLatin1String("tooltip")).toString();
        QVERIFY2(tooltip.startsWith(QStringLiteral("Deployment in progress\nIn progress: 40\n  acme/web · ")),
            qPrintable(tooltip));
        QVERIFY2(tooltip.contains(QStringLiteral("&lt;b&gt;&amp;staging \uFFFD")), qPrintable(tooltip));
        QCOMPARE(tooltip.count(QStringLiteral("acme/web")), 12);
    }

    void theTooltipSaysWhatToDoAboutAnEmptyList()
    {
        MonitorReport empty = report(State::disconnected(MissingStep::Account), {});
        empty.hint = QStringLiteral("Run it");
        QCOMPARE(waybar(empty).value(QLatin1String("tooltip")).toString(), QStringLiteral("Connect GitHub\nRun it"));
    }

    void noTextSteersATerminal()
    {
        MonitorReport named = report(State::stale(noon()), {});
        named.applicationName = QStringLiteral("a\x1b[31mb\nc");
        QVERIFY(!filled("{title}", named).contains('\x1b'));
        QVERIFY(!filled("{title}", named).contains('\n'));
    }
};

VELMORA_TEST(StatusLineTest)
#include "status_line_test.moc"
