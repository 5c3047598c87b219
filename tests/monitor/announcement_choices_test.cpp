// SPDX-License-Identifier: MIT
#include "monitor/announcement_choices.h"

#include "notifications/deployment_notification_kind.h"
#include "support/builders.h"
#include "support/fake_clock.h"
#include "support/fake_preferences.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

class AnnouncementChoicesTest final : public QObject
{
    Q_OBJECT

private:
    using enum DeploymentState;

    FakePreferences m_defaults;
    FakeClock m_clock{noon()};
    AnnouncementChoices m_choices{&m_defaults, &m_clock};

    [[nodiscard]] Announcement announcementOf(DeploymentState state) const
    {
        return m_choices.announcementOf(makeSnapshot(u"id"_s, state, noon()));
    }
    [[nodiscard]] bool isPosted(DeploymentState state, const std::optional<QString> &creator = std::nullopt) const
    {
        DeploymentSnapshot result = makeSnapshot(u"id"_s, state, noon());
        result.creatorLogin = creator;
        return m_choices.announcementOf(result) == Announcement::Posted;
    }

private Q_SLOTS:
    void init()
    {
        m_defaults.values.clear();
        m_clock.setNow(noon());
        m_choices.setLogins({});
    }

    void eachKindHasItsSwitch()
    {
        const QMap<DeploymentState, QString> switches{{Failure, u"general.notificationsEnabled"_s},
            {Error, u"general.notificationsEnabled"_s}, {Success, u"general.successNotificationsEnabled"_s},
            {Waiting, u"general.waitingNotificationsEnabled"_s}};
        for (auto each = switches.begin(); each != switches.end(); ++each) {
            m_defaults.values.clear();
            QVERIFY(!isPosted(each.key()));
            m_defaults.values[*each] = true;
            QVERIFY(isPosted(each.key()));
            for (auto other = switches.begin(); other != switches.end(); ++other)
                QCOMPARE(isPosted(other.key()), *other == *each);
        }
    }

    void whatIsNoResultIsNotAnnounced()
    {
        switchAllOn();
        for (const DeploymentState state : {Queued, Pending, InProgress, Inactive, Unknown})
            QCOMPARE(announcementOf(state), Announcement::None);
    }

    void whereOnlyTheUsersOwnAreChosenTheCreatorDecidesInLettersOfAnyCase()
    {
        switchAllOn();
        m_choices.setLogins({u"mira"_s, u"octocat"_s});
        QVERIFY(isPosted(Failure, u"zed"_s));
        QVERIFY(isPosted(Failure));
        m_defaults.values[QString::fromLatin1(kOnlyMinePreference)] = true;
        QVERIFY(isPosted(Failure, u"OctoCat"_s));
        QVERIFY(!isPosted(Failure, u"zed"_s));
        QVERIFY(!isPosted(Failure));
    }

    void whatIsMutedIsNotedAndNotPosted()
    {
        m_choices.muted().mute(u"R_web"_s, noon() + 1h);
        QCOMPARE(announcementOf(Failure), Announcement::None);
        switchAllOn();
        QCOMPARE(announcementOf(Failure), Announcement::Silent);
        QCOMPARE(announcementOf(InProgress), Announcement::None);
        m_clock.advance(1h);
        QCOMPARE(announcementOf(Failure), Announcement::Posted);
        m_choices.forgetOver();
        QCOMPARE(m_defaults.stringList(u"repositories.muted"_s), QStringList());
    }

    void duringAPauseNothingIsPosted()
    {
        switchAllOn();
        m_choices.pause().begin(noon() + 1h);
        QCOMPARE(announcementOf(Failure), Announcement::Paused);
        QCOMPARE(announcementOf(Success), Announcement::Paused);
        QCOMPARE(announcementOf(InProgress), Announcement::None);
        m_choices.muted().mute(u"R_web"_s);
        QCOMPARE(announcementOf(Failure), Announcement::Silent);
        m_choices.muted().unmute(u"R_web"_s);
        m_clock.advance(1h);
        QCOMPARE(announcementOf(Failure), Announcement::Posted);
        m_choices.forgetOver();
        QCOMPARE(m_defaults.stringList(u"notifications.pause"_s), QStringList());
    }

    void whatIsSummedUpIsStillWantedAndNotMuted()
    {
        const DeploymentSnapshot failure = makeSnapshot(u"id"_s, Failure, noon());
        QVERIFY(!m_choices.isSummedUp(failure));
        switchAllOn();
        // Whose it is was asked before.
        m_defaults.values[QString::fromLatin1(kOnlyMinePreference)] = true;
        QVERIFY(m_choices.isSummedUp(failure));
        storeEnvironmentChoices(&m_defaults, {{{u"production"_s, EnvironmentChoice::Show}}, false});
        QVERIFY(!m_choices.isSummedUp(failure));
        storeEnvironmentChoices(&m_defaults, {});
        m_choices.muted().mute(u"R_web"_s);
        QVERIFY(!m_choices.isSummedUp(failure));
        m_choices.muted().unmute(u"R_web"_s);
    }

    void onlyEnvironmentsOfWhichTheUserIsNotifiedCount()
    {
        using enum EnvironmentChoice;
        switchAllOn();
        for (const EnvironmentChoice choice : {Hide, Show, Notify}) {
            storeEnvironmentChoices(&m_defaults, {{{u"prod*"_s, choice}}, false});
            QCOMPARE(isPosted(Failure), choice == Notify);
        }
        storeEnvironmentChoices(&m_defaults, {{{u"production"_s, Show, u"R_other"_s, u"acme/other"_s}}, false});
        QVERIFY(isPosted(Failure));
        storeEnvironmentChoices(&m_defaults, {{}, true});
        QVERIFY(isPosted(Failure));
        storeEnvironmentChoices(&m_defaults, {{{u"*"_s, Show}}, true});
        QVERIFY(!isPosted(Failure));
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
