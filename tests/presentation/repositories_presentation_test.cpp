// SPDX-License-Identifier: MIT
#include "presentation/repositories_presentation.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;

namespace
{

using Case = InstallationLoadingState::Case;

InstallationLoadingState state(Case value)
{
    return {value, value == Case::Stale ? QStringLiteral("alice: offline") : QString()};
}

RepositoryRecord record(const QString &name, const QString &login, bool isIncluded = true)
{
    RepositoryRecord made;
    made.repository.nodeID = name;
    made.repository.nameWithOwner = name;
    made.installationAccount.login = login;
    made.isIncluded = isIncluded;
    return made;
}

} // namespace

Q_DECLARE_METATYPE(velmora::InstallationLoadingState::Case)
Q_DECLARE_METATYPE(velmora::RepositoriesContent)

class RepositoriesPresentationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aSearchFindsNamesAndLogins_data()
    {
        QTest::addColumn<QString>("search");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("login");
        QTest::addColumn<bool>("isFound");
        const QString site = QStringLiteral("Acme/site");
        const QString other = QStringLiteral("other");
        QTest::newRow("in the name, in another case") << QStringLiteral("acme") << site << other << true;
        QTest::newRow("in the name, in capitals") << QStringLiteral("SITE") << site << other << true;
        QTest::newRow("across the slash") << QStringLiteral("e/s") << site << other << true;
        QTest::newRow("in the login only")
            << QStringLiteral("acme") << QStringLiteral("x/y") << QStringLiteral("acme-inc") << true;
        QTest::newRow("in neither") << QStringLiteral("acme") << QStringLiteral("x/y") << other << false;
        QTest::newRow("not across name and login") << QStringLiteral("siteother") << site << other << false;
        QTest::newRow("nothing") << QString() << site << other << true;
        QTest::newRow("a blank, which nobody has") << QStringLiteral(" ") << site << other << false;
        QTest::newRow("a blank, which the login has")
            << QStringLiteral(" ") << site << QStringLiteral("Acme Inc") << true;
        QTest::newRow("not trimmed") << QStringLiteral(" acme") << site << other << false;
        QTest::newRow("no pattern") << QStringLiteral("acme.*") << site << other << false;
        QTest::newRow("letters beyond ASCII") << QStringLiteral("MÜLL") << QStringLiteral("müller/x") << other << true;
    }

    void aSearchFindsNamesAndLogins()
    {
        QFETCH(QString, search);
        QFETCH(QString, name);
        QFETCH(QString, login);
        QFETCH(bool, isFound);
        QCOMPARE(RepositorySearch(search).finds(record(name, login)), isFound);
        QCOMPARE(RepositorySearch(search).text(), search);
    }

    void aRefreshIsInProgress_data()
    {
        QTest::addColumn<bool>("isRefreshing");
        QTest::addColumn<Case>("state");
        QTest::addColumn<bool>("isInProgress");
        QTest::newRow("disconnected") << false << Case::Disconnected << false;
        QTest::newRow("loading") << false << Case::Loading << true;
        QTest::newRow("ready") << false << Case::Ready << false;
        QTest::newRow("stale") << false << Case::Stale << false;
        QTest::newRow("asked for, disconnected") << true << Case::Disconnected << true;
        QTest::newRow("asked for, loading") << true << Case::Loading << true;
        QTest::newRow("asked for, ready") << true << Case::Ready << true;
        QTest::newRow("asked for, stale") << true << Case::Stale << true;
    }

    void aRefreshIsInProgress()
    {
        QFETCH(bool, isRefreshing);
        QFETCH(Case, state);
        QFETCH(bool, isInProgress);
        QCOMPARE(repositoryRefreshIsInProgress(isRefreshing, ::state(state)), isInProgress);
    }

    void theAreaShows_data()
    {
        QTest::addColumn<Case>("state");
        QTest::addColumn<bool>("hasRepositories");
        QTest::addColumn<bool>("hasResults");
        QTest::addColumn<RepositoriesContent>("content");
        for (const Case value : {Case::Disconnected, Case::Ready, Case::Stale}) {
            const QByteArray name = QByteArray::number(static_cast<int>(value));
            QTest::newRow("nothing there, state " + name) << value << false << false << RepositoriesContent::NoResults;
            QTest::newRow("nothing found, state " + name) << value << true << false << RepositoriesContent::NoResults;
            QTest::newRow("found, state " + name) << value << true << true << RepositoriesContent::List;
        }
        QTest::newRow("nothing there yet") << Case::Loading << false << false << RepositoriesContent::Loading;
        QTest::newRow("loading again") << Case::Loading << true << true << RepositoriesContent::List;
        QTest::newRow("loading again, nothing found")
            << Case::Loading << true << false << RepositoriesContent::NoResults;
    }

    void theAreaShows()
    {
        QFETCH(Case, state);
        QFETCH(bool, hasRepositories);
        QFETCH(bool, hasResults);
        QFETCH(RepositoriesContent, content);
        QCOMPARE(repositoriesContent(::state(state), hasRepositories, hasResults), content);
    }

    void allCanBeSwitchedWhereThatChangesSomething()
    {
        const auto on = record(QStringLiteral("a/a"), {}, true);
        const auto off = record(QStringLiteral("a/b"), {}, false);
        QVERIFY(!canEnableAll({}));
        QVERIFY(!canDisableAll({}));
        QVERIFY(!canEnableAll({on, on}));
        QVERIFY(canDisableAll({on, on}));
        QVERIFY(canEnableAll({on, off}));
        QVERIFY(canDisableAll({on, off}));
        QVERIFY(canEnableAll({off}));
        QVERIFY(!canDisableAll({off}));
    }

    void onlyAFailedRefreshWarns()
    {
        QCOMPARE(repositoriesWarning(state(Case::Stale)), std::optional(QStringLiteral("alice: offline")));
        for (const Case value : {Case::Disconnected, Case::Loading, Case::Ready})
            QCOMPARE(repositoriesWarning(state(value)), std::nullopt);
    }

    void thePlaceholderNamesTheSearch()
    {
        QCOMPARE(noResultsTitle(QStringLiteral("acme")), QStringLiteral("No results for “acme”"));
        QCOMPARE(noResultsTitle(QStringLiteral("%1")), QStringLiteral("No results for “%1”"));
        QCOMPARE(noResultsTitle(QString()), QStringLiteral("No results"));
    }

    void aRowIsOneSentence()
    {
        QCOMPARE(monitoringSentence(QStringLiteral("acme/web"), true), QStringLiteral("acme/web, monitored"));
        QCOMPARE(monitoringSentence(QStringLiteral("acme/web"), false), QStringLiteral("acme/web, not monitored"));
    }
};

VELMORA_TEST(RepositoriesPresentationTest)
#include "repositories_presentation_test.moc"
