// SPDX-License-Identifier: MIT
#include "monitor/result_announcer.h"

#include "monitor/environment_choices.h"
#include "platform/file_preferences.h"
#include "support/await.h"
#include "support/builders.h"
#include "support/fake_clock.h"
#include "support/fake_notifier.h"
#include "support/fake_preferences.h"
#include "support/test_main.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const QString kFailures = QStringLiteral("deployments.notifiedFailures");
const QString kWaiting = QStringLiteral("deployments.waitingResults");
const QString kApprovals = QStringLiteral("deployments.notifiedApprovals");
const QString kAnnouncesApprovals = QStringLiteral("general.waitingNotificationsEnabled");
const QString kSuccesses = QStringLiteral("deployments.notifiedSuccesses");

DeploymentSnapshot make(const char *id, DeploymentState state)
{
    return makeSnapshot(QString::fromLatin1(id), state, noon());
}

QStringList texts(std::initializer_list<const char *> list)
{
    QStringList result;
    for (const auto *text : list)
        result.append(QString::fromLatin1(text));
    return result;
}

} // namespace

class ResultAnnouncerTest : public QObject
{
    Q_OBJECT

private:
    using enum DeploymentState;

    FakeNotifier notifier;
    FakeClock clock{noon()};
    std::unique_ptr<FakePreferences> defaults;

    static void run(ResultAnnouncer &announcer, const DeploymentList &previous, const DeploymentList &updated)
    {
        awaitValue(announcer.process(previous, updated));
    }

private Q_SLOTS:
    void init()
    {
        notifier = FakeNotifier();
        defaults = std::make_unique<FakePreferences>();
        defaults->values[QStringLiteral("general.notificationsEnabled")] = true;
        defaults->values[QStringLiteral("general.successNotificationsEnabled")] = true;
    }

    void theFirstCallOnlyTakesNote()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        QVERIFY(!announcer.hasCompletedLiveRefresh());
        run(announcer, {},
            {make("c", Failure), make("a", Error), make("b", Failure), make("d", Success), make("e", InProgress)});
        QVERIFY(announcer.hasCompletedLiveRefresh());
        QCOMPARE(notifier.announced, QStringList());
        QCOMPARE(defaults->stringList(kFailures), texts({"a:error", "b:failure", "c:failure"}));
        QCOMPARE(defaults->stringList(kSuccesses), texts({"d:success"}));
    }

    void theFirstCallTakesNoteWhateverTheTogglesSay()
    {
        defaults->values.clear();
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {make("a", Failure)});
        QCOMPARE(defaults->stringList(kFailures), texts({"a:failure"}));
        QVERIFY(defaults->value(kSuccesses).has_value());
        QCOMPARE(defaults->stringList(kSuccesses), QStringList());
    }

    void aNewFailureIsAnnouncedOnceAndRemembered()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        run(announcer, {}, {make("a", Failure)});
        QCOMPARE(notifier.announced, texts({"failure a"}));
        QCOMPARE(defaults->stringList(kFailures), texts({"a:failure"}));
        run(announcer, {}, {make("a", Failure)});
        QCOMPARE(notifier.announced.size(), 1);
    }

    void aFailureThatWasOneBeforeIsSkippedEvenUnderANewKey()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        run(announcer, {make("a", Error)}, {make("a", Failure)});
        QCOMPARE(notifier.announced, QStringList());
        QCOMPARE(defaults->stringList(kFailures), QStringList());
    }

    void aSuccessThatWasOneBeforeIsSkipped()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        run(announcer, {make("a", Success)}, {make("a", Success)});
        QCOMPARE(notifier.announced, QStringList());
    }

    void aFailureThatFollowsASuccessIsAnnouncedAndTheOtherWayRound()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        run(announcer, {make("a", Success), make("b", Failure)}, {make("a", Failure), make("b", Success)});
        QCOMPARE(notifier.announced, texts({"failure a", "success b"}));
    }

    void aSuccessWithTheOptionOffIsNeitherAnnouncedNorRemembered()
    {
        defaults->values.remove(QStringLiteral("general.successNotificationsEnabled"));
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        run(announcer, {make("a", InProgress)}, {make("a", Success)});
        QCOMPARE(notifier.announced, QStringList());
        QCOMPARE(defaults->stringList(kSuccesses), QStringList());
        // Switched on only now: the deployment had succeeded before this fetch.
        defaults->values[QStringLiteral("general.successNotificationsEnabled")] = true;
        run(announcer, {make("a", Success)}, {make("a", Success)});
        QCOMPARE(notifier.announced, QStringList());
    }

    void failuresWithTheOptionOffAreNeitherAnnouncedNorRemembered()
    {
        defaults->values[QStringLiteral("general.notificationsEnabled")] = false;
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        run(announcer, {}, {make("a", Failure), make("b", Success)});
        QCOMPARE(notifier.announced, texts({"success b"}));
        QCOMPARE(defaults->stringList(kFailures), QStringList());
    }

    void aToggleOfAnotherTypeCountsAsOff()
    {
        defaults->values[QStringLiteral("general.notificationsEnabled")] = QStringLiteral("true");
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        run(announcer, {}, {make("a", Failure)});
        QCOMPARE(notifier.announced, QStringList());
    }

    void keysOfAnEarlierRunSuppressTheSameResult()
    {
        defaults->values[kFailures] = texts({"a:failure"});
        defaults->values[kSuccesses] = texts({"b:success"});
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        run(announcer, {make("a", InProgress), make("b", InProgress)}, {make("a", Failure), make("b", Success)});
        QCOMPARE(notifier.announced, QStringList());
    }

    void storedKeysOfAnotherTypeReadAsNone()
    {
        defaults->values[kFailures] = true;
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        run(announcer, {}, {make("a", Failure)});
        QCOMPARE(notifier.announced, texts({"failure a"}));
        QCOMPARE(defaults->stringList(kFailures), texts({"a:failure"}));
    }

    void aNotificationThatCouldNotBeDeliveredCountsAsAnnounced()
    {
        notifier.fails = true;
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        run(announcer, {}, {make("a", Failure), make("b", Failure)});
        QCOMPARE(notifier.announced, texts({"failure a", "failure b"}));
        QCOMPARE(defaults->stringList(kFailures), texts({"a:failure", "b:failure"}));
        run(announcer, {}, {make("a", Failure), make("b", Failure)});
        QCOMPARE(notifier.announced.size(), 2);
    }

    void failuresComeBeforeSuccessesEachInTheOrderOfTheList()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        run(announcer, {}, {make("d", Success), make("b", Failure), make("c", Success), make("a", Error)});
        QCOMPARE(notifier.announced, texts({"failure b", "failure a", "success d", "success c"}));
    }

    void notificationsArePostedOneAtATime()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        notifier.gate.emplace();
        run(announcer, {}, {make("a", Failure), make("b", Failure)});
        QCOMPARE(notifier.announced, texts({"failure a"}));
        // Results that come meanwhile are queued, and none is queued twice.
        run(announcer, {}, {make("a", Failure), make("b", Failure), make("c", Failure)});
        QCOMPARE(notifier.announced, texts({"failure a"}));
        const auto gate = *notifier.gate;
        notifier.gate.reset();
        gate.resolve();
        QCOMPARE(notifier.announced, texts({"failure a", "failure b", "failure c"}));
        QCOMPARE(defaults->stringList(kWaiting), QStringList());
    }

    void aResultIsRememberedBeforeItIsHandedOver()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        notifier.gate.emplace();
        run(announcer, {}, {make("a", Failure), make("b", Failure)});
        QCOMPARE(defaults->stringList(kFailures), texts({"a:failure"}));
        QCOMPARE(defaults->stringList(kWaiting), texts({"b:failure"}));
        const auto gate = *std::exchange(notifier.gate, std::nullopt);
        gate.resolve();
        QCOMPARE(defaults->stringList(kWaiting), QStringList());
    }

    void whileTheNotifierIsBusyTheQueueWaitsAndNothingIsLost()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        notifier.busy.emplace();
        run(announcer, {}, {make("a", Failure)});
        run(announcer, {make("a", Failure)}, {make("a", Failure), make("b", Success)});
        QCOMPARE(notifier.announced, QStringList());
        QCOMPARE(defaults->stringList(kWaiting), texts({"a:failure", "b:success"}));
        const auto busy = *std::exchange(notifier.busy, std::nullopt);
        busy.resolve();
        QCOMPARE(notifier.announced, texts({"failure a", "success b"}));
        QCOMPARE(defaults->stringList(kWaiting), QStringList());
    }

    void itEndsWhenTheQueueIsInTheFile()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("preferences.json"));
        FilePreferences preferences(path, &clock);
        preferences.setValue(QStringLiteral("general.notificationsEnabled"), true);
        ResultAnnouncer announcer(&notifier, &preferences, &clock);
        run(announcer, {}, {});
        notifier.busy.emplace();
        run(announcer, {}, {make("a", Failure)});
        const FilePreferences ofAnotherProcess(path, &clock);
        QCOMPARE(ofAnotherProcess.stringList(kWaiting), texts({"a:failure"}));
    }

    void whatOneRunHasNotPostedTheNextOnePosts()
    {
        notifier.busy.emplace();
        {
            ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
            run(announcer, {}, {});
            run(announcer, {}, {make("a", Failure)});
        }
        drainEvents();
        notifier.busy.reset();
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {make("a", Failure)}, {make("a", Failure), make("b", Failure)});
        QCOMPARE(notifier.announced, texts({"failure a"}));
        QCOMPARE(defaults->stringList(kFailures), texts({"a:failure", "b:failure"}));
        QCOMPARE(defaults->stringList(kWaiting), QStringList());
    }

    void whatIsSwitchedOffWhileItWaitsIsNeitherPostedNorRemembered()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        notifier.busy.emplace();
        run(announcer, {}, {make("a", Failure), make("b", Success)});
        defaults->values[QStringLiteral("general.notificationsEnabled")] = false;
        const auto busy = *std::exchange(notifier.busy, std::nullopt);
        busy.resolve();
        QCOMPARE(notifier.announced, texts({"success b"}));
        QCOMPARE(defaults->stringList(kFailures), QStringList());
        QCOMPARE(defaults->stringList(kWaiting), QStringList());
    }

    void twoRunsOfOneProfileAnnounceEachResultOnce()
    {
        FakeNotifier another;
        ResultAnnouncer first(&notifier, defaults.get(), &clock);
        ResultAnnouncer second(&another, defaults.get(), &clock);
        run(first, {}, {});
        run(second, {}, {});
        another.busy.emplace();
        const DeploymentList updated{make("a", Failure), make("b", Failure)};
        run(second, {}, updated);
        run(first, {}, updated);
        QCOMPARE(notifier.announced, texts({"failure a", "failure b"}));
        const auto busy = *std::exchange(another.busy, std::nullopt);
        busy.resolve();
        QCOMPARE(another.announced, QStringList());
        run(second, updated, updated + DeploymentList{make("c", Success)});
        run(first, updated, updated + DeploymentList{make("c", Success)});
        QCOMPARE(another.announced, texts({"success c"}));
        QCOMPARE(notifier.announced.size(), 2);
        QCOMPARE(defaults->stringList(kWaiting), QStringList());
    }

    void theEndOfWhatWasUnderWayIsNewsFromTheFirstCallOn()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {make("a", InProgress), make("b", Failure), make("c", Queued)},
            {make("a", Failure), make("b", Failure), make("c", Success), make("d", Success)});
        QCOMPARE(notifier.announced, texts({"failure a", "success c"}));
        QCOMPARE(defaults->stringList(kFailures), texts({"a:failure", "b:failure"}));
        QCOMPARE(defaults->stringList(kSuccesses), texts({"c:success", "d:success"}));
    }

    void anAnnouncerThatIsDestroyedWhileItWaitsEndsQuietly()
    {
        auto announcer = std::make_unique<ResultAnnouncer>(&notifier, defaults.get(), &clock);
        run(*announcer, {}, {});
        notifier.gate.emplace();
        run(*announcer, {}, {make("a", Failure), make("b", Failure)});
        announcer.reset();
        notifier.gate->resolve();
        QCOMPARE(notifier.announced, texts({"failure a"}));
    }

    void nothingIsWrittenWhenNothingIsNew()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {make("a", Failure)});
        defaults->writes.clear();
        run(announcer, {make("a", Failure)}, {make("a", Failure)});
        QCOMPARE(defaults->writes, QStringList());
    }

    void historyOfALatecomerIsNotAnnounced()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        announcer.recordHistory({}, {make("a", Failure), make("b", Success)});
        run(announcer, {}, {make("a", Failure), make("b", Success)});
        QCOMPARE(notifier.announced, QStringList());
    }

    void theEndOfWhatTheListHeldAsUnderWayIsNoHistory()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        const DeploymentList previous{make("a", InProgress)};
        const DeploymentList updated{make("a", Failure), make("b", Failure)};
        announcer.recordHistory(previous, updated);
        run(announcer, previous, updated);
        QCOMPARE(notifier.announced, texts({"failure a"}));
    }

    void whatBeginsToWaitForApprovalIsAnnouncedOnce()
    {
        defaults->values[kAnnouncesApprovals] = true;
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {make("old", Waiting)});
        QCOMPARE(notifier.announced, QStringList());
        QCOMPARE(defaults->stringList(kApprovals), texts({"old:waiting"}));
        const DeploymentList begun{make("a", InProgress)};
        const DeploymentList waiting{make("a", Waiting), make("b", Waiting)};
        run(announcer, begun, waiting);
        QCOMPARE(notifier.announced, texts({"waiting a", "waiting b"}));
        QCOMPARE(defaults->stringList(kApprovals), texts({"a:waiting", "b:waiting", "old:waiting"}));
        // It goes on, and waits at a second gate.
        run(announcer, waiting, begun);
        run(announcer, begun, waiting);
        QCOMPARE(notifier.announced.size(), 2);
    }

    void approvalsAreNotAnnouncedUnlessTheyAreChosen()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        run(announcer, {make("a", Queued)}, {make("a", Waiting)});
        QCOMPARE(notifier.announced, QStringList());
        QCOMPARE(defaults->stringList(kApprovals), QStringList());
        // Switched on only now: the deployment has been waiting before this fetch.
        defaults->values[kAnnouncesApprovals] = true;
        run(announcer, {make("a", Waiting)}, {make("a", Waiting)});
        QCOMPARE(notifier.announced, QStringList());
    }

    void whatWaitedAlreadyInTheLastRunIsHistory()
    {
        defaults->values[kAnnouncesApprovals] = true;
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {make("a", Waiting), make("b", InProgress), make("c", Waiting)},
            {make("a", Waiting), make("b", Waiting), make("c", Failure)});
        QCOMPARE(notifier.announced, texts({"failure c", "waiting b"}));
        QCOMPARE(defaults->stringList(kApprovals), texts({"a:waiting", "b:waiting"}));
        ResultAnnouncer next(&notifier, defaults.get(), &clock);
        run(next, {}, {make("a", Waiting), make("b", Waiting)});
        run(next, {make("b", InProgress)}, {make("b", Waiting)});
        QCOMPARE(notifier.announced.size(), 2);
    }

    void theEndOfWhatWaitedForApprovalIsAnnouncedLikeAnyOther()
    {
        defaults->values[kAnnouncesApprovals] = true;
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        run(announcer, {make("a", Waiting), make("b", Waiting)},
            {make("c", Waiting), make("a", Success), make("b", Failure)});
        QCOMPARE(notifier.announced, texts({"failure b", "success a", "waiting c"}));
    }

    void whatIsApprovedBeforeTheDesktopIsReadyIsNotAnnounced()
    {
        defaults->values[kAnnouncesApprovals] = true;
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        notifier.busy.emplace();
        const DeploymentList waiting{make("a", Waiting), make("b", Waiting)};
        run(announcer, {}, waiting);
        run(announcer, waiting, {make("a", InProgress), make("b", Waiting)});
        const auto busy = *std::exchange(notifier.busy, std::nullopt);
        busy.resolve();
        QCOMPARE(notifier.announced, texts({"waiting b"}));
        QCOMPARE(defaults->stringList(kApprovals), texts({"b:waiting"}));
        QCOMPARE(defaults->stringList(kWaiting), QStringList());
    }

    void onlyTheUsersOwnDeploymentsAreAnnouncedWhereThatIsChosen()
    {
        const auto by = [](const char *id, std::optional<QString> creator) {
            DeploymentSnapshot deployment = make(id, Failure);
            deployment.creatorLogin = std::move(creator);
            return deployment;
        };
        const DeploymentList updated{by("mine", QStringLiteral("OctoCat")), by("theirs", QStringLiteral("zed")),
            by("bot", QStringLiteral("github-actions")), by("nobody", std::nullopt)};
        defaults->values[QStringLiteral("general.notifiesOnlyMine")] = true;
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        announcer.choices().setLogins(texts({"mira", "octocat"}));
        run(announcer, {}, {});
        run(announcer, {}, updated);
        QCOMPARE(notifier.announced, texts({"failure mine"}));
        QCOMPARE(defaults->stringList(kFailures), texts({"mine:failure"}));
        // Chosen only now: the others had failed before this fetch.
        defaults->values[QStringLiteral("general.notifiesOnlyMine")] = false;
        run(announcer, updated, updated + DeploymentList{by("late", QStringLiteral("zed"))});
        QCOMPARE(notifier.announced, texts({"failure mine", "failure late"}));
    }

    void aChoiceAboutAnEnvironmentThatIsTakenBackAnnouncesNothingOld()
    {
        auto announcer = std::make_unique<ResultAnnouncer>(&notifier, defaults.get(), &clock);
        run(*announcer, {}, {});
        const DeploymentList underWay{make("a", InProgress), make("b", InProgress)};
        const DeploymentList failed{make("a", Failure), make("b", InProgress)};
        run(*announcer, {}, underWay);
        storeEnvironmentChoices(defaults.get(), {{{QStringLiteral("production"), EnvironmentChoice::Hide}}, false});
        run(*announcer, underWay, failed);
        storeEnvironmentChoices(defaults.get(), {});
        run(*announcer, failed, failed);
        QCOMPARE(notifier.announced, QStringList());
        // Nor does the next program.
        announcer = std::make_unique<ResultAnnouncer>(&notifier, defaults.get(), &clock);
        run(*announcer, failed, {make("a", Failure), make("b", Success)});
        QCOMPARE(notifier.announced, texts({"success b"}));
    }

    void whatIsMutedIsNotedAndNeverAnnounced()
    {
        const DeploymentList before{make("muted", InProgress)};
        const DeploymentList after{make("muted", Failure)};
        {
            ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
            announcer.choices().muted().mute(QStringLiteral("R_web"));
            run(announcer, {}, before);
            run(announcer, before, after);
            QCOMPARE(defaults->stringList(kFailures), texts({"muted:failure"}));
            announcer.choices().muted().unmute(QStringLiteral("R_web"));
            run(announcer, before, after);
        }
        ResultAnnouncer next(&notifier, defaults.get(), &clock);
        run(next, before, after);
        QCOMPARE(notifier.announced, QStringList());
    }

    void whatIsMutedWhileItWaitsIsNotedAndNeverAnnounced()
    {
        const DeploymentList after{make("late", Failure)};
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        notifier.busy.emplace();
        run(announcer, {}, after);
        QCOMPARE(defaults->stringList(kWaiting), texts({"late:failure"}));
        announcer.choices().muted().mute(QStringLiteral("R_web"));
        {
            // Another run finds it waiting.
            ResultAnnouncer next(&notifier, defaults.get(), &clock);
            run(next, {}, after);
            QCOMPARE(defaults->stringList(kFailures), texts({"late:failure"}));
            QCOMPARE(defaults->stringList(kWaiting), QStringList());
        }
        notifier.busy->resolve();
        QCOMPARE(notifier.announced, QStringList());
    }

    void whatIsMutedBeforeTheDesktopIsReadyIsNoted()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        notifier.busy.emplace();
        run(announcer, {}, {make("late", Failure)});
        announcer.choices().muted().mute(QStringLiteral("R_web"));
        notifier.busy->resolve();
        QCOMPARE(defaults->stringList(kFailures), texts({"late:failure"}));
        QCOMPARE(defaults->stringList(kWaiting), QStringList());
        QCOMPARE(notifier.announced, QStringList());
    }

    void whatFailsDuringAPauseIsSummedUpOnceAtItsEnd()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        announcer.choices().pause().begin(noon() + std::chrono::hours(1));
        const DeploymentList first{make("a", Failure), make("s", Success)};
        run(announcer, {}, first);
        run(announcer, first, first + DeploymentList{make("b", Error)});
        announcer.followClock();
        QCOMPARE(notifier.announced, QStringList());
        QCOMPARE(defaults->stringList(kFailures), texts({"a:failure", "b:error"}));
        QCOMPARE(defaults->stringList(kSuccesses), texts({"s:success"}));
        clock.advance(std::chrono::hours(1));
        announcer.followClock();
        QCOMPARE(notifier.announced, texts({"failure a b"}));
        announcer.followClock();
        run(announcer, first, first + DeploymentList{make("b", Error), make("c", Failure)});
        QCOMPARE(notifier.announced, texts({"failure a b", "failure c"}));
    }

    void aPauseThatIsResumedIsSummedUpAtOnce()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        announcer.choices().pause().begin(std::nullopt);
        run(announcer, {}, {make("a", Failure)});
        announcer.choices().pause().resume();
        QCOMPARE(notifier.announced, texts({"failure a"}));
    }

    void aPauseInWhichNothingFailedEndsQuietly()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        announcer.choices().pause().begin(std::nullopt);
        run(announcer, {}, {make("s", Success)});
        announcer.choices().pause().resume();
        announcer.followClock();
        QCOMPARE(notifier.announced, QStringList());
    }

    void aPauseThatEndsWhileNoProgramRunsIsSummedUpByTheNext()
    {
        const DeploymentList failed{make("a", Failure)};
        {
            ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
            run(announcer, {}, {});
            announcer.choices().pause().begin(noon() + std::chrono::hours(1));
            run(announcer, {}, failed);
        }
        clock.advance(std::chrono::hours(9));
        ResultAnnouncer next(&notifier, defaults.get(), &clock);
        next.followClock();
        run(next, failed, failed);
        QCOMPARE(notifier.announced, texts({"failure a"}));
    }

    void twoRunsOfOneProfileSumUpAPauseOnce()
    {
        FakeNotifier second;
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        ResultAnnouncer other(&second, defaults.get(), &clock);
        run(announcer, {}, {});
        run(other, {}, {});
        announcer.choices().pause().begin(std::nullopt);
        run(announcer, {}, {make("a", Failure)});
        run(other, {}, {make("a", Failure)});
        notifier.busy.emplace();
        second.busy.emplace();
        announcer.choices().pause().resume();
        QCOMPARE(notifier.announced + second.announced, QStringList());
        second.busy->resolve();
        notifier.busy->resolve();
        QCOMPARE(second.announced, texts({"failure a"}));
        QCOMPARE(notifier.announced, QStringList());
    }

    void whatWaitsWhenAPauseBeginsIsSummedUp()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        notifier.busy.emplace();
        run(announcer, {}, {make("a", Failure), make("s", Success)});
        announcer.choices().pause().begin(std::nullopt);
        notifier.busy->resolve();
        notifier.busy.reset();
        QCOMPARE(notifier.announced, QStringList());
        QCOMPARE(defaults->stringList(kWaiting), QStringList());
        announcer.choices().pause().resume();
        QCOMPARE(notifier.announced, texts({"failure a"}));
    }

    void whatIsMutedMeanwhileIsNotSummedUp()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        announcer.choices().pause().begin(std::nullopt);
        run(announcer, {}, {make("a", Failure)});
        announcer.choices().muted().mute(QStringLiteral("R_web"));
        announcer.choices().pause().resume();
        announcer.choices().muted().unmute(QStringLiteral("R_web"));
        announcer.followClock();
        QCOMPARE(notifier.announced, QStringList());
    }

    void aSummaryThatCouldNotBeDeliveredCountsAsAnnounced()
    {
        ResultAnnouncer announcer(&notifier, defaults.get(), &clock);
        run(announcer, {}, {});
        announcer.choices().pause().begin(std::nullopt);
        run(announcer, {}, {make("a", Failure)});
        notifier.fails = true;
        announcer.choices().pause().resume();
        notifier.fails = false;
        announcer.followClock();
        QCOMPARE(notifier.announced, texts({"failure a"}));
    }

    void aRepeatedIdInThePreviousListEndsTheProgram()
    {
        QProcess process;
        process.start(QCoreApplication::applicationFilePath(),
            {QStringLiteral("result_announcer_test"), QStringLiteral("--repeat-an-id")});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitStatus(), QProcess::CrashExit);
        QVERIFY(process.readAllStandardError().contains("The list of deployments holds an id twice."));
    }
};

static int runOrRepeatAnId(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (argc == 2 && QByteArrayView(argv[1]) == "--repeat-an-id") {
        FakeNotifier notifier;
        FakePreferences defaults;
        const FakeClock clock;
        ResultAnnouncer announcer(&notifier, &defaults, &clock);
        awaitValue(announcer.process({}, {}));
        awaitValue(announcer.process({make("a", DeploymentState::Success), make("a", DeploymentState::Failure)}, {}));
        return 0;
    }
    ResultAnnouncerTest test;
    return QTest::qExec(&test, argc, argv);
}

VELMORA_TEST_FUNCTION(runOrRepeatAnId)
#include "result_announcer_test.moc"
