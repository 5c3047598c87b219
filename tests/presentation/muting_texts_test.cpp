// SPDX-License-Identifier: MIT
#include "presentation/muting_texts.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QLocale>
#include <QTest>

#include <ctime>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace
{

/// While it lives, the user's zone has daylight saving.
class ZoneInBerlin
{
public:
    ZoneInBerlin() { set("Europe/Berlin"); }
    ~ZoneInBerlin() { set(m_before); }
    Q_DISABLE_COPY_MOVE(ZoneInBerlin)

private:
    static void set(const QByteArray &zone)
    {
        qputenv("TZ", zone);
        ::tzset();
    }

    QByteArray m_before = qgetenv("TZ");
};

} // namespace

class MutingTextsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom)); }

    void anEndIsATimeWithItsDayUnlessItIsToday()
    {
        QCOMPARE(untilText(noon() + 5h, noon()), u"until 17:00"_s);
        QCOMPARE(untilText(noon() + 12h - 1s, noon()), u"until 23:59"_s);
        QCOMPARE(untilText(noon() + 12h, noon()), u"until tomorrow, 00:00"_s);
        QCOMPARE(untilText(noon() + 21h, noon()), u"until tomorrow, 09:00"_s);
        QCOMPARE(untilText(noon() + 48h, noon()), u"until 03/05/2026, 12:00"_s);
    }

    void anActionNamesTheRepositoryOnOneLine()
    {
        QCOMPARE(mutingAction(u"acme/web"_s, false), u"Mute acme/web"_s);
        QCOMPARE(mutingAction(u"acme/web"_s, true), u"Unmute acme/web"_s);
        QCOMPARE(mutingAction(u"acme/\nweb"_s, false), u"Mute acme/ web"_s);
    }

    void aMutingTellsItsEnd()
    {
        QCOMPARE(mutedText(std::nullopt, noon()), QString());
        QCOMPARE(mutedText(Term{noon(), std::nullopt}, noon()), u"muted"_s);
        QCOMPARE(mutedText(Term{noon(), noon() + 8h}, noon()), u"muted until 20:00"_s);
    }

    void aPauseTellsItsEnd()
    {
        QCOMPARE(pausedText(std::nullopt, noon()), QString());
        QCOMPARE(pausedText(Term{noon(), std::nullopt}, noon()), u"Notifications are paused"_s);
        QCOMPARE(pausedText(Term{noon(), noon() + 1h}, noon()), u"Notifications are paused until 13:00"_s);
        QCOMPARE(resumeText(Term{noon(), std::nullopt}, noon()), u"Resume notifications"_s);
        QCOMPARE(resumeText(Term{noon(), noon() + 1h}, noon()), u"Resume notifications (paused until 13:00)"_s);
    }

    void theMenuOffersThreePauses()
    {
        QCOMPARE(pauseText(PauseChoice::OneHour), u"Pause notifications for 1 hour"_s);
        QCOMPARE(pauseText(PauseChoice::FourHours), u"Pause notifications for 4 hours"_s);
        QCOMPARE(pauseText(PauseChoice::UntilTomorrow), u"Pause notifications until tomorrow, 09:00"_s);
        QCOMPARE(endOf(PauseChoice::OneHour, noon()), noon() + 1h);
        QCOMPARE(endOf(PauseChoice::FourHours, noon()), noon() + 4h);
        QCOMPARE(endOf(PauseChoice::UntilTomorrow, noon()), noon() + 21h);
    }

    void aTimeOfTheDayIsTheNextOne()
    {
        QCOMPARE(nextLocalTime(QTime(9, 0), noon()), noon() + 21h);
        QCOMPARE(nextLocalTime(QTime(12, 0), noon()), noon() + 24h);
        QCOMPARE(nextLocalTime(QTime(12, 1), noon()), noon() + 1min);
        QCOMPARE(nextLocalTime(QTime(12, 0), noon() - 1us), noon());
    }

    void aTimeOfTheDayFollowsTheClocksOfTheUsersZone()
    {
        const ZoneInBerlin zone;
        // The clocks skip the hour from 2:00 on 29 March 2026 and repeat it on 25 October.
        const auto at = [](const QString &text) {
            return *parseISO8601(text);
        };
        QCOMPARE(nextLocalTime(QTime(9, 0), at(u"2026-03-28T20:00:00+01:00"_s)), at(u"2026-03-29T09:00:00+02:00"_s));
        QCOMPARE(nextLocalTime(QTime(9, 0), at(u"2026-10-24T20:00:00+02:00"_s)), at(u"2026-10-25T09:00:00+01:00"_s));
        QCOMPARE(nextLocalTime(QTime(2, 30), at(u"2026-03-28T20:00:00+01:00"_s)), at(u"2026-03-29T03:00:00+02:00"_s));
        QCOMPARE(untilText(at(u"2026-03-29T09:00:00+02:00"_s), at(u"2026-03-28T20:00:00+01:00"_s)),
            u"until tomorrow, 09:00"_s);
    }
};

VELMORA_TEST(MutingTextsTest)
#include "muting_texts_test.moc"
