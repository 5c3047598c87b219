// SPDX-License-Identifier: MIT
#include "monitor/environment_rules.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace Qt::Literals::StringLiterals;
using enum EnvironmentChoice;

namespace
{

EnvironmentRule ofWeb(const QString &pattern, EnvironmentChoice choice)
{
    return {pattern, choice, u"R_web"_s, u"acme/web"_s};
}

DeploymentSnapshot to(const QString &environment, const QString &repositoryID = u"R_web"_s)
{
    DeploymentSnapshot made = makeSnapshot(environment + repositoryID, DeploymentState::Success, noon());
    made.environment = environment;
    made.repositoryNodeID = repositoryID;
    return made;
}

} // namespace

class EnvironmentRulesTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void withNothingChosenEverythingIsAnnounced()
    {
        const EnvironmentRules rules;
        QCOMPARE(rules.choice(to(u"preview-7"_s)), Notify);
        QVERIFY(!rules.areHiding());
    }

    void anAsteriskStandsForAnyText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<bool>("isNamed");
        QTest::newRow("same") << u"staging"_s << u"staging"_s << true;
        QTest::newRow("longer") << u"staging-2"_s << u"staging"_s << false;
        QTest::newRow("shorter") << u"stag"_s << u"staging"_s << false;
        QTest::newRow("end") << u"preview-117"_s << u"preview-*"_s << true;
        QTest::newRow("no text") << u"preview-"_s << u"preview-*"_s << true;
        QTest::newRow("beginning missing") << u"my-preview-117"_s << u"preview-*"_s << false;
        QTest::newRow("start") << u"eu-production"_s << u"*-production"_s << true;
        QTest::newRow("middle") << u"web-eu-prod"_s << u"web-*-prod"_s << true;
        QTest::newRow("again after a difference") << u"aab"_s << u"*ab"_s << true;
        QTest::newRow("several") << u"a-b-c-b"_s << u"*-b*b"_s << true;
        QTest::newRow("end missing") << u"a-b-c"_s << u"*-b*b"_s << false;
        QTest::newRow("everything") << u"x"_s << u"*"_s << true;
        QTest::newRow("nothing") << QString() << u"**"_s << true;
        QTest::newRow("empty pattern") << u"x"_s << QString() << false;
        QTest::newRow("pattern as text") << u"preview-*"_s << u"prev*"_s << true;
    }
    void anAsteriskStandsForAnyText()
    {
        QFETCH(QString, text);
        QFETCH(QString, pattern);
        QTEST(isNamed(text, pattern), "isNamed");
    }

    void aPatternOfManyAsterisksTakesNoLongerThanOthers()
    {
        // A search that tries every place of each would not end.
        const QString pattern = u"*a"_s.repeated(200) + u"b"_s;
        QVERIFY(!isNamed(QString(20'000, u'a'), pattern));
    }

    void lettersMayBeInAnyCase()
    {
        const EnvironmentRules rules({{{u"Preview-*"_s, Hide}, {u"STAGING"_s, Show}}, false});
        QCOMPARE(rules.choice(to(u"preview-1"_s)), Hide);
        QCOMPARE(rules.choice(to(u"PREVIEW-1"_s)), Hide);
        QCOMPARE(rules.choice(to(u"Staging"_s)), Show);
    }

    void anExactNameComesBeforeAPatternAndTheMostSpecificPatternFirst()
    {
        const EnvironmentRules rules(
            {{{u"*"_s, Hide}, {u"preview-*"_s, Show}, {u"preview-1*"_s, Hide}, {u"preview-117"_s, Notify}}, false});
        QCOMPARE(rules.choice(to(u"preview-117"_s)), Notify);
        QCOMPARE(rules.choice(to(u"preview-118"_s)), Hide);
        QCOMPARE(rules.choice(to(u"preview-2"_s)), Show);
        QCOMPARE(rules.choice(to(u"staging"_s)), Hide);
        QVERIFY(rules.areHiding());
    }

    void ofEquallySpecificPatternsTheFirstCounts()
    {
        const QList<EnvironmentRule> both{{u"*b"_s, Hide}, {u"a*"_s, Show}};
        QCOMPARE(EnvironmentRules({both, false}).choice({}, u"ab"_s), Hide);
        QCOMPARE(EnvironmentRules({{both.last(), both.first()}, false}).choice({}, u"ab"_s), Hide);
    }

    void whatIsChosenForOneRepositoryComesBeforeEverythingElse()
    {
        const EnvironmentRules rules({{{u"staging"_s, Hide}, ofWeb(u"stag*"_s, Notify)}, false});
        QCOMPARE(rules.choice(to(u"staging"_s)), Notify);
        QCOMPARE(rules.choice(to(u"staging"_s, u"R_other"_s)), Hide);
        QCOMPARE(rules.choice(to(u"ci"_s)), Notify);
    }

    void aRepositoryIsKnownByItsIDSoThatItMayBeRenamed()
    {
        const EnvironmentRules rules({{ofWeb(u"staging"_s, Hide)}, false});
        auto renamed = to(u"staging"_s);
        renamed.repositoryName = u"acme/site"_s;
        QCOMPARE(rules.choice(renamed), Hide);
        auto successor = to(u"staging"_s, u"R_new"_s);
        QCOMPARE(rules.choice(successor), Notify);
    }

    void productionIsNamedSo_data()
    {
        QTest::addColumn<bool>("isOne");
        for (const char *name : {"production", "prod", "Production", "PROD", "Production – web", "prod-eu",
                 "production/eu", "github-pages"})
            QTest::newRow(name) << true;
        for (const char *name :
            {"", "products", "production2", "preproduction", "pre-production", "non-prod", "staging"})
            QTest::newRow(name) << false;
    }
    void productionIsNamedSo() { QTEST(isProduction(QString::fromUtf8(QTest::currentDataTag())), "isOne"); }

    void onlyProductionSilencesEverythingElseAndHidesNothing()
    {
        const EnvironmentChoices before{
            {{u"preview-*"_s, Hide}, {u"production"_s, Hide}, {u"prod"_s, Show}, {u"staging"_s, Notify}}, false};
        const EnvironmentChoices choices = withOnlyProduction(before, true);
        QCOMPARE(choices.rules, (QList<EnvironmentRule>{{u"preview-*"_s, Hide}}));
        const EnvironmentRules rules(choices);
        QCOMPARE(rules.choice(to(u"production"_s)), Notify);
        QCOMPARE(rules.choice(to(u"prod"_s)), Notify);
        QCOMPARE(rules.choice(to(u"staging"_s)), Show);
        QCOMPARE(rules.choice(to(u"preview-1"_s)), Hide);
    }

    void moreCanBeAnnouncedBesideProduction()
    {
        const auto choices = withRules(withOnlyProduction({}, true), {{u"staging"_s, Notify}});
        QCOMPARE(EnvironmentRules(choices).choice(to(u"staging"_s)), Notify);
        QCOMPARE(EnvironmentRules(choices).choice(to(u"ci"_s)), Show);
        QCOMPARE(withOnlyProduction(choices, false), EnvironmentChoices());
    }

    void aChoiceReplacesTheOneAboutTheSame()
    {
        EnvironmentChoices choices = withRules({}, {{u"ci"_s, Hide}, ofWeb(u"ci"_s, Show), {u"ci"_s, Show}});
        choices = withRules(choices, {{u"CI"_s, Hide}});
        QCOMPARE(choices.rules.size(), 2);
        QCOMPARE(EnvironmentRules(choices).choice(to(u"ci"_s)), Show);
        QCOMPARE(EnvironmentRules(choices).choice({}, u"ci"_s), Hide);
    }

    void noChoiceIsKeptThatHoldsAnyway()
    {
        QCOMPARE(withRules({}, {{u"production"_s, Notify}, ofWeb(u"ci"_s, Notify)}), EnvironmentChoices());
        const EnvironmentChoices hiding{{{u"ci"_s, Hide}}, false};
        QCOMPARE(withRules(hiding, {{u"ci"_s, Notify}}), EnvironmentChoices());
        QCOMPARE(withRules(hiding, {ofWeb(u"ci"_s, Notify)}).rules.size(), 2);
        // Whatever the order, both of one request hold.
        QCOMPARE(withRules({}, {{u"production"_s, Notify}, {u"*"_s, Hide}}).rules.size(), 2);
        // A pattern may overlap with another one.
        QCOMPARE(withRules(hiding, {{u"c*"_s, Notify}}).rules.size(), 2);
    }

    void aListIsDividedInItsOrder()
    {
        const DeploymentList list{to(u"preview-1"_s), to(u"production"_s), to(u"preview-2"_s), to(u"staging"_s)};
        const EnvironmentRules rules({{{u"preview-*"_s, Hide}, {u"staging"_s, Show}}, false});
        const DividedDeployments parts = divided(list, rules);
        QCOMPARE(parts.listed, (DeploymentList{list.at(1), list.at(3)}));
        QCOMPARE(parts.hidden, (DeploymentList{list.at(0), list.at(2)}));
    }

    void whatHidesNothingKeepsTheListItself()
    {
        const DeploymentList list{to(u"production"_s)};
        QVERIFY(divided(list, EnvironmentRules()).listed.isSharedWith(list));
        const EnvironmentRules others({{{u"ci"_s, Hide}}, false});
        QVERIFY(divided(list, others).listed.isSharedWith(list));
        QVERIFY(divided(list, others).hidden.isEmpty());
    }

    void aTargetIsNamedAsInTheTerminal()
    {
        QCOMPARE((EnvironmentRule{u"preview-*"_s, Hide}).target(), u"preview-*"_s);
        QCOMPARE(ofWeb(u"staging"_s, Hide).target(), u"acme/web:staging"_s);
    }
};

VELMORA_TEST(EnvironmentRulesTest)
#include "environment_rules_test.moc"
