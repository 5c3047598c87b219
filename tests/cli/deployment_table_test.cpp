// SPDX-License-Identifier: MIT
#include "cli/deployment_table.h"

#include "cli/plain_text.h"
#include "support/builders.h"
#include "support/test_main.h"

#include <QRegularExpression>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

using State = DeploymentMonitorState;

namespace
{

MonitorReport storyReport()
{
    MonitorReport report;
    report.applicationName = QStringLiteral("Velmora");
    report.state = State::ready(noon() - 5s);
    auto running = makeSnapshot(QStringLiteral("a"), DeploymentState::Waiting, noon() - 2min);
    running.refName = QStringLiteral("main");
    auto failed = makeSnapshot(QStringLiteral("b"), DeploymentState::Error, noon() - 1h);
    failed.repositoryName = QStringLiteral("tarvik/api");
    const auto done = makeSnapshot(QStringLiteral("c"), DeploymentState::Success, noon() - 3h);
    report.deployments = {running, failed, done};
    return report;
}

QStringList lines(const char *text)
{
    return QString::fromUtf8(text).split(QLatin1Char('\n'));
}

QString withoutColours(QString text)
{
    static const QRegularExpression colours(QStringLiteral("\x1b\\[[0-9]+m"));
    return text.remove(colours);
}

} // namespace

class DeploymentTableTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void deploymentsStandInTheirSections()
    {
        const QStringList expected = lines( //
            "Velmora  Deployment in progress                    Updated 5 seconds ago\n"
            "\n"
            "In progress                                                            1\n"
            "  ‖ acme/web    production  waiting · main · 0123456 · 2 minutes ago\n"
            "\n"
            "Failed                                                                 1\n"
            "  ✗ tarvik/api  production  0123456 · 1 hour ago\n"
            "\n"
            "Completed                                                              1\n"
            "  ✓ acme/web    production  0123456 · 3 hours ago");
        QCOMPARE(renderReport(storyReport(), {}, noon(), {72, 0, false}), expected);
    }

    void whatIsHiddenIsSaidAtTheEnd()
    {
        MonitorReport report = storyReport();
        report.hidden = {report.deployments.takeLast(), report.deployments.takeLast()};
        const QString said = QStringLiteral("2 hidden by your choices");
        QCOMPARE(renderReport(report, {}, noon(), {72, 0, false}).mid(4), (QStringList{QString(), said}));
        // There is room for it, whatever is left out.
        const QStringList low = renderReport(report, {}, noon(), {72, 6, false});
        QCOMPARE(low.size(), 6);
        QCOMPARE(low.last(), said);
        report.deployments.clear();
        const QStringList none = renderReport(report, {}, noon(), {72, 0, false});
        QCOMPARE(none.last(), said);
        QVERIFY(none.contains(QStringLiteral("No recent deployments")));
    }

    void aMendedFailureSaysSoWhereThereIsRoom()
    {
        MonitorReport report = storyReport();
        report.marks = {{QStringLiteral("b"), FailureMark{Mending{QStringLiteral("c"), noon() - 20min}}}};
        const auto row = [&](int width) {
            return renderReport(report, {}, noon(), {width, 0, false}).at(6);
        };
        QCOMPARE(row(84), QStringLiteral("  ✗ tarvik/api  production  0123456 · 1 hour ago · mended 20 minutes ago"));
        QCOMPARE(row(72), QStringLiteral("  ✗ tarvik/api  production  0123456 · 1 hour ago"));
    }

    void aFailureThatDoesNotCountIsWrittenQuietly()
    {
        MonitorReport report = storyReport();
        const auto lineOf = [&](int line) {
            return renderReport(report, {}, noon(), {72, 0, true}).at(line);
        };
        const QString loud = lineOf(6);
        QVERIFY(loud.contains(QStringLiteral("\x1b[31m✗")));
        QVERIFY(withoutColours(lineOf(5)).endsWith(QStringLiteral(" 1")));
        report.marks = {{QStringLiteral("b"), FailureMark{std::nullopt, false}}};
        QVERIFY(lineOf(6).contains(QStringLiteral("\x1b[2m✗")));
        QVERIFY(lineOf(6).contains(QStringLiteral("\x1b[2mtarvik/api")));
        QCOMPARE(withoutColours(lineOf(6)), withoutColours(loud));
        QVERIFY(withoutColours(lineOf(5)).endsWith(QStringLiteral(" 0")));
    }

    void whatIsUnderWaySaysForHowLongWhereThereIsRoom()
    {
        MonitorReport report = storyReport();
        change(report.deployments[0], [](DeploymentSnapshot &running) { running.createdAt = noon() - 2h; });
        const auto row = [&](int width) {
            return renderReport(report, {}, noon(), {width, 0, false}).at(3);
        };
        QCOMPARE(row(84),
            QStringLiteral("  ‖ acme/web    production  waiting for 2 hours · main · 0123456 · 2 minutes ago"));
        QCOMPARE(row(72), QStringLiteral("  ‖ acme/web    production  waiting · main · 0123456 · 2 minutes ago"));
        QCOMPARE(row(50), QStringLiteral("  ‖ acme/web    production  2 minutes ago"));
    }

    /// Any process that owns the name on the session bus may send a report.
    void noTextOfAReportSteersTheTerminal()
    {
        const QString hostile = QStringLiteral("a\x1b]0;b\a\x1b[2Jc\u202ed\x9b");
        MonitorReport report = storyReport();
        report.applicationName = hostile;
        report.message = hostile;
        report.unsaved = hostile;
        report.hint = hostile;
        for (auto &deployment : report.deployments) {
            change(deployment, [&](DeploymentSnapshot &record) {
                record.repositoryName = record.environment = record.commitOID = hostile;
                record.refName = hostile;
            });
        }
        const QStringList printed = renderReport(report, {hostile}, noon(), {200, 0, false})
            + renderChanges(MonitorReport(), report) + renderColumns({QStringLiteral("NAME")}, {{hostile}});
        QVERIFY(printed.size() > 10);
        for (const QString &line : printed) {
            QCOMPARE(line, harmless(line));
            QVERIFY2(!line.contains(QLatin1Char('\x1b')), qPrintable(line));
        }
        QCOMPARE(printed.first().left(1), QStringLiteral("a"));
    }

    void coloursAreAddedAndNothingElse()
    {
        const QStringList plain = renderReport(storyReport(), {}, noon(), {72, 0, false});
        const QStringList coloured = renderReport(storyReport(), {}, noon(), {72, 0, true});
        QCOMPARE(coloured.size(), plain.size());
        for (qsizetype i = 0; i < plain.size(); ++i)
            QCOMPARE(withoutColours(coloured.at(i)), plain.at(i));
        QVERIFY(coloured.at(6).contains(QStringLiteral("\x1b[31m✗\x1b[0m")));
        QVERIFY(coloured.at(9).contains(QStringLiteral("\x1b[32m✓\x1b[0m")));
        QVERIFY(coloured.at(3).contains(QStringLiteral("\x1b[33m‖\x1b[0m")));
        QVERIFY(!plain.join(QString()).contains(QLatin1Char('\x1b')));
    }

    void noLineIsWiderThanTheTerminal_data()
    {
        QTest::addColumn<int>("width");
        for (const int width : {1, 2, 7, 20, 39, 60, 80, 200})
            QTest::newRow(qPrintable(QString::number(width))) << width;
    }

    void noLineIsWiderThanTheTerminal()
    {
        QFETCH(int, width);
        MonitorReport report = storyReport();
        change(report.deployments[0], [](DeploymentSnapshot &deployment) {
            deployment.repositoryName = QStringLiteral("organisation-with-a-long-name/試験試験試験試験試験");
        });
        change(report.deployments[1], [](DeploymentSnapshot &deployment) {
            deployment.environment = QStringLiteral("review/an-environment-with-a-very-long-name-indeed");
        });
        change(report.deployments[2], [](DeploymentSnapshot &deployment) {
            deployment.refName = QStringLiteral("refs/heads/a-branch-with-a-name-that-never-ends");
        });
        report.message = QStringLiteral("zed: something has gone wrong in a way that takes many words to tell");
        report.hint = report.message;
        for (const bool isColoured : {false, true}) {
            const QStringList rendered
                = renderReport(report, {report.message}, noon(), TableStyle{width, 0, isColoured});
            for (const QString &line : rendered)
                QVERIFY2(displayWidth(withoutColours(line)) <= width, qPrintable(line));
        }
    }

    void longNamesAreElidedInTheMiddleAndTheDetailsStay()
    {
        MonitorReport report = storyReport();
        report.deployments = {report.deployments.at(1)};
        change(report.deployments[0], [](DeploymentSnapshot &deployment) {
            deployment.repositoryName = QStringLiteral("an-organisation/with-a-repository");
        });
        const QString row = renderReport(report, {}, noon(), {66, 0, false}).at(3);
        QCOMPARE(row, QStringLiteral("  ✗ an-organisatio…-a-repository  production  0123456 · 1 hour ago"));
        const QString narrow = renderReport(report, {}, noon(), {60, 0, false}).at(3);
        QCOMPARE(narrow, QStringLiteral("  ✗ an-organisation/…th-a-repository  production  1 hour ago"));
    }

    void whatDoesNotFitIsCounted()
    {
        MonitorReport report = storyReport();
        for (int i = 0; i < 50; ++i)
            report.deployments.append(makeSnapshot(QString::number(i), DeploymentState::Success, noon()));
        for (int height = 1; height < 40; ++height) {
            const QStringList rendered = renderReport(report, {}, noon(), {80, height, false});
            QVERIFY2(rendered.size() <= height, qPrintable(QString::number(height)));
        }
        const QStringList rendered = renderReport(report, {}, noon(), {80, 20, false});
        QCOMPARE(rendered.size(), 20);
        QCOMPARE(rendered.last(), QStringLiteral("  … and 41 more"));
        const QStringList whole = renderReport(report, {}, noon(), {80, 60, false});
        QCOMPARE(whole.size(), 60);
        QVERIFY(!whole.last().contains(QStringLiteral("more")));
    }

    void hostileNamesAreHarmless()
    {
        MonitorReport report = storyReport();
        const QString hostile = QStringLiteral("a\x1b[2J\u202Eb\nc");
        for (auto &deployment : report.deployments) {
            change(deployment, [&](DeploymentSnapshot &record) {
                record.repositoryName = record.environment = record.commitOID = hostile;
                record.refName = hostile;
            });
        }
        report.message = QStringLiteral("x\x1b]0;title\x07");
        const QString text = renderReport(report, {hostile}, noon(), {100, 0, false}).join(QLatin1Char('|'));
        QVERIFY(!text.contains(QLatin1Char('\x1b')));
        QVERIFY(!text.contains(QLatin1Char('\n')));
        QVERIFY(!text.contains(QChar(0x202E)));
        QVERIFY(text.contains(QStringLiteral("a\uFFFD[2J\uFFFDb c")));
        QVERIFY(text.contains(QStringLiteral("x\uFFFD]0;title\uFFFD")));
        for (const QString &line : renderChanges({}, report))
            QVERIFY(!line.contains(QLatin1Char('\x1b')) && !line.contains(QLatin1Char('\n')));
    }

    void aStretchedIntervalIsToldUnderTheTitleAndWhenItChanges()
    {
        const QString notice = QStringLiteral("Refreshing every 72 seconds, to stay within GitHub's limit");
        MonitorReport before = storyReport();
        MonitorReport stretched = before;
        stretched.state.refreshIntervalSeconds = 72;
        QCOMPARE(renderReport(stretched, {}, noon(), {72, 0, false}).at(1), notice);
        QCOMPARE(renderChanges(before, stretched), QStringList(notice));
        QCOMPARE(renderChanges(stretched, stretched), QStringList());
        QCOMPARE(renderChanges(stretched, before), QStringList());
    }

    void messagesAndAnnouncementsStandUnderTheTitle()
    {
        MonitorReport report = storyReport();
        report.message = QStringLiteral("ann: one\nzed: two");
        report.unsaved = QStringLiteral("Cannot write a\nCannot write b");
        const QStringList rendered = renderReport(report, {QStringLiteral("14:05 news")}, noon(), {80, 0, false});
        QCOMPARE(rendered.mid(1, 5),
            (QStringList{QStringLiteral("ann: one"), QStringLiteral("zed: two"), QStringLiteral("Cannot write a"),
                QStringLiteral("Cannot write b"), QStringLiteral("* 14:05 news")}));
    }

    void anEmptyListSaysWhy()
    {
        MonitorReport report = storyReport();
        report.deployments.clear();
        const auto text = [&] {
            return renderReport(report, {}, noon(), {80, 0, false}).join(QLatin1Char('\n'));
        };
        QVERIFY(text().contains(QStringLiteral("No recent deployments")));
        report.state = State::loading(false);
        QVERIFY(text().contains(QStringLiteral("Loading deployments…")));
        report.state = State::loading(true);
        QVERIFY(text().contains(QStringLiteral("No recent deployments")));
        report.state = State::disconnected(MissingStep::Account);
        report.hint = QStringLiteral("Connect first.");
        QVERIFY(text().contains(QStringLiteral("Connect GitHub\nConnect first.")));
        QVERIFY(!text().contains(QStringLiteral("No recent deployments")));
    }

    void whileLoadingOldDeploymentsAreHiddenUnlessThereIsContent()
    {
        MonitorReport report = storyReport();
        report.state = State::loading(false);
        QVERIFY(!renderReport(report, {}, noon(), {80, 0, false}).join(QString()).contains(QStringLiteral("acme")));
        report.state = State::loading(true);
        QVERIFY(renderReport(report, {}, noon(), {80, 0, false}).join(QString()).contains(QStringLiteral("acme")));
    }

    void savedDataSaysHowOldItIs()
    {
        MonitorReport report = storyReport();
        report.state = State::stale(noon() - 3min);
        report.savedAt = noon() - 3min;
        QCOMPARE(renderReport(report, {}, noon(), {80, 0, false}).first().simplified(),
            QStringLiteral("Velmora Showing saved data Saved 3 minutes ago"));
    }

    void changesAreToldOnce()
    {
        const MonitorReport first = storyReport();
        const QStringList told = renderChanges({}, first);
        QCOMPARE(told.size(), 4);
        QCOMPARE(told.first(), QStringLiteral("Velmora: Deployment in progress"));
        QCOMPARE(told.at(1), QStringLiteral("2026-05-01T11:58:00Z  waiting  acme/web  production  main · 0123456"));
        QVERIFY(renderChanges(first, first).isEmpty());

        MonitorReport next = first;
        change(
            next.deployments[0], [](DeploymentSnapshot &deployment) { deployment.state = DeploymentState::Success; });
        next.message = QStringLiteral("zed: The network is down.");
        const QStringList expected{QStringLiteral("Velmora: GitHub deployments"),
            QStringLiteral("zed: The network is down."),
            QStringLiteral("2026-05-01T11:58:00Z  succeeded  acme/web  production  main · 0123456")};
        QCOMPARE(renderChanges(first, next), expected);
    }

    void aNotificationFitsOnOneLine()
    {
        auto snapshot = makeSnapshot(QStringLiteral("a"), DeploymentState::Failure, noon());
        QCOMPARE(announcementText(deploymentNotification(snapshot, DeploymentNotificationKind::Failure)),
            QStringLiteral("acme/web failed · production · The deployment did not complete successfully."));
        snapshot.statusDescription = QString();
        QCOMPARE(announcementText(deploymentNotification(snapshot, DeploymentNotificationKind::Failure)),
            QStringLiteral("acme/web failed · production"));
    }

    void columnsAreAsWideAsTheirWidestText()
    {
        const QStringList expected{
            QStringLiteral("A     B"), QStringLiteral("試験  x"), QStringLiteral("y     \uFFFD")};
        QCOMPARE(renderColumns({QStringLiteral("A"), QStringLiteral("B")},
                     {{QStringLiteral("試験"), QStringLiteral("x")}, {QStringLiteral("y"), QStringLiteral("\x1b")}}),
            expected);
    }
};

VELMORA_TEST(DeploymentTableTest)
#include "deployment_table_test.moc"
