// SPDX-License-Identifier: MIT
#include "monitor/environment_choices.h"

#include "support/fake_preferences.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace Qt::Literals::StringLiterals;
using enum EnvironmentChoice;

class EnvironmentChoicesTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_defaults.values.clear(); }

    void atFirstNothingIsChosen() { QCOMPARE(environmentChoices(m_defaults), EnvironmentChoices()); }

    void choicesComeBackAsTheyWereStored()
    {
        const EnvironmentChoices all{
            {{u"Preview – web *"_s, Hide}, {u"production"_s, Notify}, {u"ci:a b"_s, Show, u"R_kgDO="_s, u"acme/web"_s}},
            true};
        storeEnvironmentChoices(&m_defaults, all);
        QCOMPARE(stored(),
            (QStringList{u"hide Preview – web *"_s, u"notify production"_s, u"only production"_s,
                u"show@R_kgDO= acme/web:ci:a b"_s}));
        EnvironmentChoices read = environmentChoices(m_defaults);
        std::ranges::sort(read.rules, {}, &EnvironmentRule::pattern);
        EnvironmentChoices expected = all;
        std::ranges::sort(expected.rules, {}, &EnvironmentRule::pattern);
        QCOMPARE(read, expected);
        QVERIFY(isEnvironmentChoice(u"deployments.environmentChoices"_s));
        QVERIFY(!isEnvironmentChoice(u"deployments.dismissedFailures"_s));
    }

    void onlyWhatChangesIsWritten()
    {
        storeEnvironmentChoices(&m_defaults, {{{u"ci"_s, Hide}}, false});
        const auto writes = m_defaults.writes.size();
        storeEnvironmentChoices(&m_defaults, {{{u"ci"_s, Hide}}, false});
        QCOMPARE(m_defaults.writes.size(), writes);
        storeEnvironmentChoices(&m_defaults, {{{u"ci"_s, Show}}, false});
        QCOMPARE(stored(), QStringList(u"show ci"_s));
        storeEnvironmentChoices(&m_defaults, {});
        QCOMPARE(stored(), QStringList());
    }

    void whatIsNoChoiceIsIgnored()
    {
        m_defaults.setValue(kKey,
            QStringList{u""_s, u"hide"_s, u"hide "_s, u"ignore ci"_s, u"show@R_web acme/web"_s,
                u"show@R_web acme/web:"_s, u"hide CI"_s, u"show ci"_s});
        QCOMPARE(environmentChoices(m_defaults), (EnvironmentChoices{{{u"CI"_s, Hide}}, false}));
    }

    void theRulesFollowWhatIsStored()
    {
        const StoredEnvironmentRules rules(&m_defaults);
        QCOMPARE(rules.current().choice({}, u"ci"_s), Notify);
        storeEnvironmentChoices(&m_defaults, {{{u"ci"_s, Hide}}, false});
        QCOMPARE(rules.current().choice({}, u"ci"_s), Hide);
        m_defaults.remove(kKey);
        QCOMPARE(rules.current().choice({}, u"ci"_s), Notify);
    }

private:
    [[nodiscard]] QStringList stored() const { return m_defaults.stringList(kKey); }

    const QString kKey = u"deployments.environmentChoices"_s;
    FakePreferences m_defaults;
};

VELMORA_TEST(EnvironmentChoicesTest)
#include "environment_choices_test.moc"
