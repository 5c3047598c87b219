// SPDX-License-Identifier: MIT
#include "monitor/announcement_choices.h"

#include "notifications/deployment_notification_kind.h"
#include "support/builders.h"
#include "support/fake_preferences.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace Qt::Literals::StringLiterals;

class AnnouncementChoicesTest final : public QObject
{
    Q_OBJECT

private:
    using enum DeploymentState;

    FakePreferences m_defaults;
    AnnouncementChoices m_choices{&m_defaults};

    [[nodiscard]] bool isAnnounced(DeploymentState state, const std::optional<QString> &creator = std::nullopt) const
    {
        DeploymentSnapshot result = makeSnapshot(u"id"_s, state, noon());
        result.creatorLogin = creator;
        return m_choices.isAnnounced(result);
    }

private Q_SLOTS:
    void init()
    {
        m_defaults.values.clear();
        m_choices.setLogins({});
    }

    void eachKindHasItsSwitch()
    {
        const QMap<DeploymentState, QString> switches{{Failure, u"general.notificationsEnabled"_s},
            {Error, u"general.notificationsEnabled"_s}, {Success, u"general.successNotificationsEnabled"_s},
            {Waiting, u"general.waitingNotificationsEnabled"_s}};
        for (auto each = switches.begin(); each != switches.end(); ++each) {
            m_defaults.values.clear();
            QVERIFY(!isAnnounced(each.key()));
            m_defaults.values[*each] = true;
            QVERIFY(isAnnounced(each.key()));
            for (auto other = switches.begin(); other != switches.end(); ++other)
                QCOMPARE(isAnnounced(other.key()), *other == *each);
        }
    }

    void whatIsNoResultIsNotAnnounced()
    {
        switchAllOn();
        for (const DeploymentState state : {Queued, Pending, InProgress, Inactive, Unknown})
            QVERIFY(!isAnnounced(state));
    }

    void whereOnlyTheUsersOwnAreChosenTheCreatorDecidesInLettersOfAnyCase()
    {
        switchAllOn();
        m_choices.setLogins({u"mira"_s, u"octocat"_s});
        QVERIFY(isAnnounced(Failure, u"zed"_s));
        QVERIFY(isAnnounced(Failure));
        m_defaults.values[QString::fromLatin1(kOnlyMinePreference)] = true;
        QVERIFY(isAnnounced(Failure, u"OctoCat"_s));
        QVERIFY(!isAnnounced(Failure, u"zed"_s));
        QVERIFY(!isAnnounced(Failure));
    }

    void onlyEnvironmentsOfWhichTheUserIsNotifiedCount()
    {
        using enum EnvironmentChoice;
        switchAllOn();
        for (const EnvironmentChoice choice : {Hide, Show, Notify}) {
            storeEnvironmentChoices(&m_defaults, {{{u"prod*"_s, choice}}, false});
            QCOMPARE(isAnnounced(Failure), choice == Notify);
        }
        storeEnvironmentChoices(&m_defaults, {{{u"production"_s, Show, u"R_other"_s, u"acme/other"_s}}, false});
        QVERIFY(isAnnounced(Failure));
        storeEnvironmentChoices(&m_defaults, {{}, true});
        QVERIFY(isAnnounced(Failure));
        storeEnvironmentChoices(&m_defaults, {{{u"*"_s, Show}}, true});
        QVERIFY(!isAnnounced(Failure));
    }

private:
    void switchAllOn()
    {
        for (const DeploymentNotificationKind kind : kAllNotificationKinds)
            m_defaults.values[preferenceOf(kind)] = true;
    }
};

VELMORA_TEST(AnnouncementChoicesTest)
#include "announcement_choices_test.moc"
