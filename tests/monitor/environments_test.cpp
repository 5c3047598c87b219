// SPDX-License-Identifier: MIT
#include "monitor/environments.h"

#include "support/await.h"
#include "support/builders.h"
#include "support/fake_clock.h"
#include "support/fake_preferences.h"
#include "support/test_main.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;
using enum EnvironmentChoice;

namespace
{

DeploymentSnapshot to(const QString &environment, int number = 0)
{
    DeploymentSnapshot made = makeSnapshot(environment + QString::number(number), DeploymentState::Success, noon());
    made.environment = environment;
    return made;
}

} // namespace

class EnvironmentsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder.emplace();
        m_defaults.values.clear();
        m_clock.setNow(noon());
        build();
    }
    void cleanup() { m_environments.reset(); }

    void whatWasSeenSurvivesARestart()
    {
        see({to(u"production"_s), to(u"staging"_s)});
        build();
        QCOMPARE(names(), (QStringList{u"production"_s, u"staging"_s}));
        QCOMPARE(m_environments->repositoryNamed(u"ACME/web"_s), u"R_web"_s);
        QVERIFY(!m_environments->repositoryNamed(u"acme/api"_s));
    }

    void itIsForgottenAfterThirtyDays()
    {
        see({to(u"production"_s), to(u"staging"_s)});
        m_clock.setNow(noon() + 29 * 24h);
        see({to(u"production"_s, 1)});
        QCOMPARE(names().size(), 2);
        m_clock.setNow(noon() + 30 * 24h);
        see({to(u"production"_s, 2)});
        QCOMPARE(names(), QStringList(u"production"_s));
        build();
        QCOMPARE(names(), QStringList(u"production"_s));
    }

    void whatIsOldIsForgottenWithTheStart()
    {
        see({to(u"staging"_s)});
        m_clock.setNow(noon() + 30 * 24h);
        build();
        QCOMPARE(names(), QStringList());
    }

    void itIsWrittenOnceADayForWhatIsSeenAgain()
    {
        QSignalSpy changes(m_environments.get(), &Environments::changed);
        const DeploymentList list{to(u"production"_s)};
        see(list);
        QCOMPARE(changes.count(), 1);
        QVERIFY(QFile::remove(path()));
        see(list);
        see({to(u"production"_s, 1)});
        m_clock.setNow(noon() + 11h);
        see({to(u"production"_s, 2)});
        QVERIFY(!QFile::exists(path()));
        QCOMPARE(changes.count(), 1);
        m_clock.setNow(noon() + 13h);
        see({to(u"production"_s, 2)});
        QVERIFY(QFile::exists(path()));
        see({to(u"production"_s, 2), to(u"ci"_s)});
        QCOMPARE(changes.count(), 3);
    }

    void ofTooManyTheEarliestDaysAreForgottenButNotThisOne()
    {
        DeploymentList many;
        for (int i = 0; i < 20'001; ++i)
            many.append(to(u"env-%1x"_s.arg(i)));
        SeenEnvironments seen;
        const QDate day(2026, 5, 1);
        QVERIFY(seen.see({to(u"early"_s)}, day.addDays(-1)));
        QVERIFY(seen.see(many, day));
        QVERIFY(seen.forgetOld(day));
        QVERIFY(!seen.forgetOld(day));
        QCOMPARE(seen.repositories().value(u"R_web"_s).environments.size(), 20'001);
        QVERIFY(seen.see({to(u"late"_s)}, day.addDays(1)));
        QVERIFY(seen.forgetOld(day.addDays(1)));
        QCOMPARE(seen.repositories().value(u"R_web"_s).environments.keys(), QStringList(u"late"_s));
    }

    void whatCannotBeReachedAnyMoreIsForgottenUntilItIsSeenAgain()
    {
        auto other = to(u"ci"_s);
        other.repositoryNodeID = u"R_other"_s;
        other.repositoryName = u"acme/other"_s;
        const DeploymentList list{to(u"production"_s), other};
        see(list);
        RepositoryRecord web;
        web.repository.nodeID = u"another form"_s;
        web.repository.nameWithOwner = u"acme/web"_s;
        m_environments->retain({web});
        QCOMPARE(names(), QStringList(u"production"_s));
        QVERIFY(waitUntil([this] { return !m_environments->isSaving(); }));
        see(list);
        QCOMPARE(names().size(), 2);
        m_environments->retain({web});
        build();
        QCOMPARE(names(), QStringList(u"production"_s));
        m_environments->retain({});
        QCOMPARE(names(), QStringList());
    }

    void aRenamedRepositoryHasItsLatestName()
    {
        see({to(u"production"_s)});
        auto renamed = to(u"production"_s, 1);
        renamed.repositoryName = u"acme/site"_s;
        see({renamed});
        build();
        QCOMPARE(m_environments->repositoryNamed(u"acme/site"_s), u"R_web"_s);
        QVERIFY(!m_environments->repositoryNamed(u"acme/web"_s));
    }

    void aDamagedRecordBeginsAnewAndLosesNothingElse()
    {
        storeEnvironmentChoices(&m_defaults, {{{u"ci"_s, Hide}}, false});
        for (const QByteArray &content : {QByteArray("{\"repositories\":[{\"id\""), QByteArray("[]"), QByteArray()}) {
            QFile file(path());
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(content);
            file.close();
            m_environments = std::make_unique<Environments>(&m_defaults, &m_clock, path());
            QSignalSpy damage(m_environments.get(), &Environments::damageFound);
            awaitValue(m_environments->load());
            QCOMPARE(damage.count(), 1);
            QVERIFY(damage.first().first().toString().startsWith(u"The record of environments begins anew: "_s));
            QCOMPARE(names(), QStringList(u"ci"_s));
        }
        see({to(u"production"_s)});
        build();
        QCOMPARE(names(), (QStringList{u"ci"_s, u"production"_s}));
    }

    void aRecordThatCannotBeWrittenIsReportedAndWrittenLater()
    {
        const QString folder = m_folder->filePath(u"velmora"_s);
        QVERIFY(QFile(folder).open(QIODevice::WriteOnly)); // a file in place of the folder
        m_environments = std::make_unique<Environments>(&m_defaults, &m_clock, folder + u"/environments.json"_s);
        QSignalSpy failures(m_environments.get(), &Environments::failureChanged);
        m_environments->see({to(u"production"_s)});
        QVERIFY(waitUntil([&] { return !m_environments->failure().isEmpty(); }));
        QVERIFY(QFile::remove(folder));
        m_environments->saveAgain();
        drainEvents();
        QVERIFY(!m_environments->failure().isEmpty());
        m_clock.setNow(noon() + 30s);
        m_environments->saveAgain();
        QVERIFY(waitUntil([&] { return m_environments->failure().isEmpty(); }));
        QCOMPARE(failures.count(), 2);
        QVERIFY(QFile::exists(folder + u"/environments.json"_s));
    }

    void withoutAFileItIsKeptInMemory()
    {
        m_environments = std::make_unique<Environments>(&m_defaults, &m_clock, QString());
        awaitValue(m_environments->load());
        m_environments->see({to(u"production"_s)});
        QCOMPARE(names(), QStringList(u"production"_s));
        QVERIFY(m_environments->failure().isEmpty());
    }

    void itMayEndWhileItReadsOrWrites()
    {
        see({to(u"production"_s)});
        m_environments = std::make_unique<Environments>(&m_defaults, &m_clock, path());
        const auto loading = start(m_environments->load());
        m_environments.reset();
        QVERIFY(waitUntil([&] { return loading->isDone; }));
        m_environments = std::make_unique<Environments>(&m_defaults, &m_clock, path());
        m_environments->see({to(u"ci"_s)});
        m_environments.reset();
        drainEvents();
        build();
        QCOMPARE(names(), QStringList(u"ci"_s));
    }

    void theLineThatDecidesAboutADeploymentIsThatOfItsRepositoryOrItsEnvironment()
    {
        see({to(u"preview-1"_s), to(u"preview-2"_s), to(u"preview-3"_s), to(u"ci"_s)});
        QCOMPARE(m_environments->ruleOf(to(u"preview-1"_s)), (EnvironmentRule{u"preview-*"_s, Notify}));
        const EnvironmentRule hidden{u"prev*"_s, Hide, u"R_web"_s, u"acme/web"_s};
        m_environments->choose({{u"preview-*"_s, Show}, hidden});
        QCOMPARE(m_environments->ruleOf(to(u"preview-1"_s)), hidden);
        QCOMPARE(m_environments->ruleOf(to(u"ci"_s)), (EnvironmentRule{u"ci"_s, Notify}));
        auto other = to(u"preview-9"_s);
        other.repositoryNodeID = u"R_other"_s;
        QCOMPARE(m_environments->ruleOf(other), (EnvironmentRule{u"preview-*"_s, Show}));
    }

    void choicesAreStoredAndFollowed()
    {
        QSignalSpy changes(m_environments.get(), &Environments::changed);
        m_environments->choose({{u"preview-*"_s, Hide}});
        QCOMPARE(changes.count(), 1);
        m_environments->setOnlyProduction(true);
        QCOMPARE(m_environments->choices(), (EnvironmentChoices{{{u"preview-*"_s, Hide}}, true}));
        QCOMPARE(m_environments->lines().size(), 1);
        m_environments->setOnlyProduction(false);
        m_environments->choose({{u"preview-*"_s, Show}});
        QCOMPARE(environmentChoices(m_defaults), (EnvironmentChoices{{{u"preview-*"_s, Show}}, false}));
        m_defaults.setValue(u"general.other"_s, true);
        QCOMPARE(changes.count(), 4);
    }

private:
    [[nodiscard]] QString path() const { return m_folder->filePath(u"environments.json"_s); }
    void build()
    {
        m_environments = std::make_unique<Environments>(&m_defaults, &m_clock, path());
        awaitValue(m_environments->load());
    }
    /// Returns when the record is written.
    void see(const DeploymentList &deployments)
    {
        m_environments->see(deployments);
        QVERIFY(waitUntil([this] { return !m_environments->isSaving(); }));
    }
    [[nodiscard]] QStringList names() const
    {
        QStringList names;
        for (const EnvironmentLine &line : m_environments->lines())
            names.append(line.rule.pattern);
        return names;
    }

    std::optional<QTemporaryDir> m_folder;
    FakePreferences m_defaults;
    FakeClock m_clock;
    std::unique_ptr<Environments> m_environments;
};

VELMORA_TEST(EnvironmentsTest)
#include "environments_test.moc"
