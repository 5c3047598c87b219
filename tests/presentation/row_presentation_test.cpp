// SPDX-License-Identifier: MIT
#include "presentation/row_presentation.h"

#include "support/builders.h"
#include "support/hostile_texts.h"
#include "support/test_main.h"

#include <QTest>
#include <QTextDocument>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

DeploymentSnapshot deployment(DeploymentState state = DeploymentState::Failure)
{
    auto snapshot = makeSnapshot(text("a"), state, noon());
    snapshot.refName = text("main");
    return snapshot;
}

QString plain(const QString &rich)
{
    QTextDocument document;
    document.setHtml(rich);
    return document.toPlainText();
}

} // namespace

class RowPresentationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyStateHasItsIconAndWords_data()
    {
        QTest::addColumn<DeploymentState>("state");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<int>("tone");
        QTest::addColumn<QChar>("sign");
        QTest::addColumn<QString>("words");
        using enum DeploymentState;
        const auto row = [](DeploymentState state, const char *symbol, Tone tone, char16_t sign, const char *words) {
            QTest::newRow(qPrintable(rawValue(state)))
                << state << text(symbol) << static_cast<int>(tone) << QChar(sign) << text(words);
        };
        row(Queued, "clock", Tone::Orange, u'○', "queued");
        row(Pending, "clock", Tone::Orange, u'○', "pending");
        row(Waiting, "pause.circle.fill", Tone::Orange, u'‖', "waiting");
        row(InProgress, "arrow.triangle.2.circlepath", Tone::Blue, u'◐', "in progress");
        row(Success, "checkmark.circle.fill", Tone::Green, u'✓', "succeeded");
        row(Failure, "xmark.circle.fill", Tone::Red, u'✗', "failed");
        row(Error, "xmark.circle.fill", Tone::Red, u'✗', "ended in an error");
        row(Inactive, "minus.circle", Tone::Secondary, u'–', "inactive");
        row(Unknown, "questionmark.circle", Tone::Secondary, u'?', "state unknown");
    }

    void everyStateHasItsIconAndWords()
    {
        QFETCH(DeploymentState, state);
        QFETCH(QString, symbol);
        QFETCH(int, tone);
        QFETCH(QChar, sign);
        QFETCH(QString, words);
        const StateIcon icon = stateIcon(state);
        QCOMPARE(icon.symbol, symbol);
        QCOMPARE(static_cast<int>(icon.tone), tone);
        QCOMPARE(icon.sign, sign);
        QCOMPARE(stateWords(state), words);
    }

    void aRowReadsAsOneSentence()
    {
        QCOMPARE(rowSentence(deployment(), noon() + 2min),
            text("acme/web, production, failed, main, 0123456, 2 minutes ago"));
        QCOMPARE(rowSentence(makeSnapshot(text("a"), DeploymentState::InProgress, noon()), noon()),
            text("acme/web, production, in progress, 0123456, now"));
        QCOMPARE(rowSentence(makeSnapshot(text("a"), DeploymentState::InProgress, noon()), noon() + 3min),
            text("acme/web, production, in progress, 0123456, for 3 minutes, 3 minutes ago"));
        auto nameless = deployment();
        nameless.environment.clear();
        QCOMPARE(rowSentence(nameless, noon()), text("acme/web, failed, main, 0123456, now"));
        const FailureMark mended{Mending{text("b"), noon() + 1min}};
        QCOMPARE(rowSentence(deployment(), noon() + 2min, mended),
            text("acme/web, production, failed, main, 0123456, 2 minutes ago, mended 1 minute ago"));
    }

    void theToolTipTellsEverything()
    {
        auto full = deployment();
        full.creatorLogin = text("octocat");
        full.statusDescription = text("Tests failed\nTry again");
        const QString shown = plain(rowToolTip(full, noon() + 2min));
        for (const char *part : {"acme/web", "production", "failed", "main", "0123456789abcdef0123456789abcdef01234567",
                 "2 minutes ago", "Created by octocat", "Tests failed", "Try again"})
            QVERIFY2(shown.contains(text(part)), part);
        const QString less = plain(rowToolTip(makeSnapshot(text("a"), DeploymentState::Success, noon()), noon()));
        QVERIFY(!less.contains(text("main")));
        QVERIFY(!less.contains(text("Created by")));
        QVERIFY(!less.contains(text("\n\n")));
        const auto waiting = makeSnapshot(text("a"), DeploymentState::Waiting, noon());
        QVERIFY(plain(rowToolTip(waiting, noon() + 2h)).contains(QStringLiteral("production · waiting for 2 hours")));
        const FailureMark mended{Mending{text("b"), noon() + 1min}};
        QVERIFY(plain(rowToolTip(full, noon() + 2min, mended)).contains(text("\nmended 1 minute ago\n")));
    }

    void theToolTipNamesTheHostToWhichAClickLeads_data()
    {
        QTest::addColumn<QString>("log");
        QTest::addColumn<QString>("line");
        QTest::newRow("no log") << QString() << text("Opens github.com");
        QTest::newRow("a log") << text("https://ci.example:8443/1") << text("Opens ci.example");
        QTest::newRow("a user in front") << text("https://github.com@evil.example/1") << text("Opens evil.example");
        QTest::newRow("letters that look like others")
            << QStringLiteral("https://g\u0456thub.com/1") << text("Opens xn--gthub-n2e.com");
        QTest::newRow("no web page") << text("file:///etc/passwd") << text("Opens github.com");
    }

    void theToolTipNamesTheHostToWhichAClickLeads()
    {
        QFETCH(QString, log);
        QFETCH(QString, line);
        auto snapshot = deployment();
        if (!log.isEmpty())
            snapshot.logURL = WebAddress(log);
        QCOMPARE(plain(rowToolTip(snapshot, noon())).split(QLatin1Char('\n')).last(), line);
        snapshot.logURL = {};
        snapshot.repositoryURL = WebAddress(text("file:///x"));
        QVERIFY(!plain(rowToolTip(snapshot, noon())).contains(text("Opens")));
    }

    void theLinkSaysWhatItOpens() { QCOMPARE(plain(linkToolTip(deployment())), text("Open production")); }

    void textsFromTheNetworkAreShownLiterally_data()
    {
        QTest::addColumn<QString>("given");
        QTest::addColumn<QString>("shown");
        for (const HostileText &hostile : hostileTexts())
            QTest::newRow(hostile.name.c_str()) << hostile.given << hostile.shown;
    }

    void textsFromTheNetworkAreShownLiterally()
    {
        QFETCH(QString, given);
        QFETCH(QString, shown);
        const QString line = shownOnOneLine(given);
        QVERIFY(!line.contains(QLatin1Char('\n')));
        QVERIFY(line.size() <= 300);
        if (shown.size() <= 300)
            QCOMPARE(line, QString(shown).replace(QLatin1Char('\n'), QLatin1Char(' ')));

        // Rich text collapses white space.
        auto hostile = deployment();
        hostile.environment = given;
        hostile.statusDescription = given;
        const QString expected = line.simplified();
        QVERIFY(plain(linkToolTip(hostile)).simplified().contains(expected));
        const QString toolTip = rowToolTip(hostile, noon());
        QVERIFY(Qt::mightBeRichText(toolTip));
        QVERIFY(plain(toolTip).simplified().contains(expected));
        QVERIFY(!rowSentence(hostile, noon()).contains(QLatin1Char('\n')));
    }

    void aRowOpensTheLogElseThePageOfDeployments_data()
    {
        QTest::addColumn<QString>("log");
        QTest::addColumn<QString>("repository");
        QTest::addColumn<QString>("opened");
        const auto row = [](const char *name, const char *log, const char *repository, const char *opened) {
            QTest::newRow(name) << text(log) << text(repository) << text(opened);
        };
        row("log", "https://ci.example/1", "https://github.com/acme/web", "https://ci.example/1");
        row("plain http", "http://ci.example/1", "https://github.com/acme/web", "http://ci.example/1");
        row("no log", "", "https://github.com/acme/web", "https://github.com/acme/web/deployments");
        row("a log that is no web page", "file:///etc/passwd", "https://github.com/acme/web",
            "https://github.com/acme/web/deployments");
        row("a log that is a script", "javascript:alert(1)", "https://github.com/acme/web",
            "https://github.com/acme/web/deployments");
        row("nothing that is a web page", "ssh://host/x", "file:///x", "");
        row("nothing at all", "", "", "");
    }

    void aRowOpensTheLogElseThePageOfDeployments()
    {
        QFETCH(QString, log);
        QFETCH(QString, repository);
        QFETCH(QString, opened);
        auto snapshot = deployment();
        if (!log.isEmpty())
            snapshot.logURL = WebAddress(log);
        snapshot.repositoryURL = WebAddress(repository);
        const auto address = rowAddress(snapshot);
        QCOMPARE(address.has_value(), !opened.isEmpty());
        QCOMPARE(address.value_or(WebAddress()).text(), opened);
    }

    void onlyAWebAddressOfTheEnvironmentIsALink()
    {
        auto snapshot = deployment();
        QVERIFY(!environmentAddress(snapshot));
        snapshot.environmentURL = WebAddress(text("javascript:alert(1)"));
        QVERIFY(!environmentAddress(snapshot));
        snapshot.environmentURL = WebAddress(text("https://shop.example"));
        QCOMPARE(environmentAddress(snapshot)->text(), text("https://shop.example"));
    }

    void theKeysAreExplained()
    {
        auto snapshot = deployment();
        QCOMPARE(rowKeys(snapshot), text("Return opens the deployments page."));
        snapshot.logURL = WebAddress(text("https://ci.example/1"));
        QCOMPARE(rowKeys(snapshot), text("Return opens the log."));
        snapshot.environmentURL = WebAddress(text("https://shop.example"));
        QCOMPARE(rowKeys(snapshot), text("Return opens the log. Control Return opens the environment."));
        snapshot.logURL = {};
        snapshot.environmentURL = {};
        snapshot.repositoryURL = WebAddress(text("file:///x"));
        QVERIFY(rowKeys(snapshot).isEmpty());
    }

    void onlyAFailureCanBeDismissed()
    {
        using enum RowActionKind;
        QCOMPARE(dismissal(deployment(), {}), std::optional(RowAction{Dismiss, text("Dismiss")}));
        QCOMPARE(dismissal(deployment(), FailureMark{std::nullopt, false}),
            std::optional(RowAction{Dismiss, text("Dismiss")}));
        QCOMPARE(dismissal(deployment(), FailureMark{std::nullopt, false, true}),
            std::optional(RowAction{Restore, text("Restore")}));
        for (const auto state : {DeploymentState::Success, DeploymentState::InProgress, DeploymentState::Unknown})
            QVERIFY(!dismissal(makeSnapshot(text("a"), state, noon()), {}));
    }

    void theMenuOffersWhatCanBeDone()
    {
        using enum RowActionKind;
        using Actions = QList<RowAction>;
        auto snapshot = deployment();
        QCOMPARE(rowActions(snapshot),
            (Actions{{OpenDetails, text("Open deployments page")}, {CopyCommit, text("Copy commit ID")},
                {CopyDetailsLink, text("Copy link to deployments page")}}));
        snapshot.logURL = WebAddress(text("https://ci.example/1"));
        snapshot.environmentURL = WebAddress(text("https://shop.example"));
        QCOMPARE(rowActions(snapshot),
            (Actions{{OpenDetails, text("Open log")}, {OpenEnvironment, text("Open environment")},
                {CopyCommit, text("Copy commit ID")}, {CopyDetailsLink, text("Copy link to log")},
                {CopyEnvironmentLink, text("Copy link to environment")}}));
        snapshot.logURL = {};
        snapshot.environmentURL = {};
        snapshot.repositoryURL = WebAddress(text("file:///x"));
        QCOMPARE(rowActions(snapshot), (Actions{{CopyCommit, text("Copy commit ID")}}));
    }
};

VELMORA_TEST(RowPresentationTest)
#include "row_presentation_test.moc"
