// SPDX-License-Identifier: MIT
#include "monitor/environment_lines.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace Qt::Literals::StringLiterals;
using enum EnvironmentChoice;

namespace
{

const QDate kDay(2026, 5, 1);

DeploymentSnapshot to(const QString &repository, const QString &environment)
{
    DeploymentSnapshot made = makeSnapshot(repository + environment, DeploymentState::Success, noon());
    made.repositoryNodeID = u"R_"_s + repository;
    made.repositoryName = u"acme/"_s + repository;
    made.environment = environment;
    return made;
}

/// The lines as texts, such as "preview-* 2 hide chosen".
QStringList lines(const SeenEnvironments &seen, const QList<EnvironmentRule> &rules = {}, bool onlyProduction = false)
{
    QStringList texts;
    for (const EnvironmentLine &line : environmentLines(seen, {rules, onlyProduction})) {
        QString text = u"%1 %2 %3"_s.arg(line.rule.target()).arg(line.repositories).arg(rawValue(line.rule.choice));
        texts.append(line.isChosen ? text + u" chosen"_s : text);
    }
    return texts;
}

} // namespace

class EnvironmentLinesTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aTrailingNumberOrHashIsTheSame_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::newRow("preview-117") << u"preview-*"_s;
        QTest::newRow("pr-42") << u"pr-*"_s;
        QTest::newRow("deploy-1a2b3c4") << u"deploy-*"_s;
        QTest::newRow("deploy/0123456789ABCDEF0123456789abcdef01234567") << u"deploy/*"_s;
        QTest::newRow("Preview – web 7") << u"Preview – web *"_s;
        QTest::newRow("pr #42") << u"pr #*"_s;
        QTest::newRow("review-550e8400-e29b-41d4-a716-446655440000") << u"review-*"_s;
        QTest::newRow("a-1-2") << u"a-1-*"_s;
        for (const char *name : {"", "production", "preview-", "117", "pr42", "eu-west", "red-defaced", "x-1a2b3c",
                 "x-01234567890123456789012345678901234567890a", "-"})
            QTest::newRow(name) << QString();
    }
    void aTrailingNumberOrHashIsTheSame()
    {
        QTEST(commonPattern(QString::fromUtf8(QTest::currentDataTag())), "pattern");
    }

    void eachEnvironmentHasALineWithTheNumberOfItsRepositories()
    {
        see({to(u"web"_s, u"staging"_s), to(u"web"_s, u"Production"_s), to(u"api"_s, u"production"_s)});
        QCOMPARE(lines(m_seen), (QStringList{u"Production 2 notify"_s, u"staging 1 notify"_s}));
        QCOMPARE(lines(m_seen, {}, true), (QStringList{u"Production 2 notify"_s, u"staging 1 show"_s}));
    }

    void threeThatDifferInTheirNumberShareALine()
    {
        see({to(u"web"_s, u"preview-1"_s), to(u"web"_s, u"preview-2"_s)});
        QCOMPARE(lines(m_seen), (QStringList{u"preview-1 1 notify"_s, u"preview-2 1 notify"_s}));
        see({to(u"api"_s, u"Preview-1a2b3c4"_s)});
        QCOMPARE(lines(m_seen).size(), 1);
        QVERIFY(lines(m_seen).first().compare(u"preview-* 2 notify"_s, Qt::CaseInsensitive) == 0);
    }

    void aChosenPatternStaysALineForTheNextOnes()
    {
        const QList<EnvironmentRule> rules{{u"preview-*"_s, Hide}};
        QCOMPARE(lines(m_seen, rules), QStringList(u"preview-* 0 hide chosen"_s));
        see({to(u"web"_s, u"preview-7"_s)});
        QCOMPARE(lines(m_seen, rules), QStringList(u"preview-* 1 hide chosen"_s));
    }

    void whatWasChosenByItsNameHasALineOfItsOwn()
    {
        see({to(u"web"_s, u"preview-1"_s), to(u"web"_s, u"preview-2"_s), to(u"api"_s, u"preview-3"_s)});
        const QList<EnvironmentRule> rules{{u"preview-3"_s, Show}};
        QCOMPARE(lines(m_seen, rules), (QStringList{u"preview-* 1 notify"_s, u"preview-3 1 show chosen"_s}));
    }

    void otherPatternsCountWhereTheyHold()
    {
        see({to(u"web"_s, u"eu-prod"_s), to(u"api"_s, u"us-prod"_s), to(u"api"_s, u"ci"_s)});
        QCOMPARE(lines(m_seen, {{u"*-prod"_s, Show}}),
            (QStringList{u"*-prod 2 show chosen"_s, u"ci 1 notify"_s, u"eu-prod 1 show"_s, u"us-prod 1 show"_s}));
        // A rule that does nothing, about nothing, is no line.
        QCOMPARE(lines({}, {{u"x*"_s, Notify}, {u"y*"_s, Show}}), QStringList(u"y* 0 show chosen"_s));
    }

    void whatHoldsForOneRepositoryComesLastUnderItsPresentName()
    {
        see({to(u"web"_s, u"staging"_s), to(u"api"_s, u"staging"_s)});
        const EnvironmentRule hidden{u"staging"_s, Hide, u"R_web"_s, u"acme/old"_s};
        const EnvironmentRule unseen{u"*"_s, Show, u"R_gone"_s, u"acme/gone"_s};
        QCOMPARE(lines(m_seen, {hidden, unseen}),
            (QStringList{u"staging 2 notify"_s, u"acme/gone:* 0 show chosen"_s, u"acme/web:staging 1 hide chosen"_s}));
    }

    void theLineOfAnEnvironmentIsItsPatternOrItself()
    {
        see({to(u"web"_s, u"preview-1"_s), to(u"web"_s, u"preview-2"_s), to(u"api"_s, u"preview-3"_s)});
        const auto all
            = environmentLines(m_seen, {{{u"preview-3"_s, Show}, {u"*"_s, Show, u"R_web"_s, u"x/y"_s}}, false});
        QCOMPARE(patternOfLine(u"preview-1"_s, all), u"preview-*"_s);
        QCOMPARE(patternOfLine(u"preview-99"_s, all), u"preview-*"_s);
        QCOMPARE(patternOfLine(u"preview-3"_s, all), u"preview-3"_s);
        QCOMPARE(patternOfLine(u"staging-1"_s, all), u"staging-1"_s);
        QCOMPARE(patternOfLine(u"production"_s, all), u"production"_s);
    }

    void init() { m_seen = {}; }

private:
    void see(const DeploymentList &deployments) { m_seen.see(deployments, kDay); }

    SeenEnvironments m_seen;
};

VELMORA_TEST(EnvironmentLinesTest)
#include "environment_lines_test.moc"
