// SPDX-License-Identifier: MIT
#include "ui/settings/repositories/repository_list_model.h"

#include "support/monitor_fixture.h"
#include "support/test_main.h"

#include <QAbstractItemModelTester>
#include <QLocale>
#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

FakeGitHub::Repository repository(const QString &name)
{
    FakeGitHub::Repository made;
    made.nodeID = QStringLiteral("R_") + name;
    made.name = name;
    return made;
}

} // namespace

class RepositoryListModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_model.reset();
        m_fixture = std::make_unique<MonitorFixture>();
        m_fixture->connect(1, QStringLiteral("alice"));
        load({QStringLiteral("acme/api"), QStringLiteral("acme/web"), QStringLiteral("beta/site")}, Build::Yes);
        m_model = std::make_unique<RepositoryListModel>(m_fixture->installations.get(), &muted(), &m_fixture->clock);
        m_tester = std::make_unique<QAbstractItemModelTester>(
            m_model.get(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    }

    void cleanup() { m_tester.reset(); }

    void aRowTellsEverything()
    {
        const QModelIndex row = m_model->index(1);
        QCOMPARE(row.data(Qt::DisplayRole).toString(), QStringLiteral("acme/web"));
        QCOMPARE(row.data(RepositoryListModel::LoginRole).toString(), QStringLiteral("alice-org"));
        QCOMPARE(row.data(RepositoryListModel::NodeIDRole).toString(), QStringLiteral("R_acme/web"));
        QCOMPARE(row.data(Qt::CheckStateRole).value<Qt::CheckState>(), Qt::Checked);
        QCOMPARE(row.data(Qt::AccessibleTextRole).toString(), QStringLiteral("acme/web, monitored"));
        QCOMPARE(row.data(Qt::AccessibleDescriptionRole).toString(), QStringLiteral("alice-org"));
        QVERIFY(!row.data(Qt::DecorationRole).isValid());
        QVERIFY(row.flags().testFlag(Qt::ItemIsUserCheckable));
        QVERIFY(!m_model->data({}, Qt::DisplayRole).isValid());
        QCOMPARE(m_model->rowCount(row), 0);
    }

    void switchingARowAsksTheStoreOnce()
    {
        m_fixture->defaults.writes.clear();
        QSignalSpy changes(m_model.get(), &QAbstractItemModel::dataChanged);
        QVERIFY(m_model->setData(m_model->index(1), Qt::Unchecked, Qt::CheckStateRole));
        QCOMPARE(m_fixture->defaults.writes, QStringList{QStringLiteral("github.excludedRepositories")});
        QVERIFY(!m_fixture->installations->repositories().at(1).isIncluded);
        QCOMPARE(m_model->index(1).data(Qt::CheckStateRole).value<Qt::CheckState>(), Qt::Unchecked);
        QCOMPARE(m_model->index(1).data(Qt::AccessibleTextRole).toString(), QStringLiteral("acme/web, not monitored"));
        // Only this row was announced.
        QCOMPARE(changes.size(), 1);
        QCOMPARE(changes.first().at(0).toModelIndex().row(), 1);
        QCOMPARE(changes.first().at(1).toModelIndex().row(), 1);
    }

    void mutingARowChangesThatRow()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
        const QModelIndex row = m_model->index(1);
        QVERIFY(!row.data(RepositoryListModel::MutedRole).toBool());
        QCOMPARE(row.data(RepositoryListModel::MutingRole).toString(), QStringLiteral("Mute acme/web (Ctrl+M)"));
        QSignalSpy changes(m_model.get(), &QAbstractItemModel::dataChanged);
        QVERIFY(m_model->setData(row, true, RepositoryListModel::MutedRole));
        QVERIFY(muted().isMuted(QStringLiteral("R_acme/web")));
        QVERIFY(row.data(RepositoryListModel::MutedRole).toBool());
        QCOMPARE(row.data(Qt::AccessibleTextRole).toString(), QStringLiteral("acme/web, monitored, muted"));
        QCOMPARE(changes.size(), 1);
        QCOMPARE(changes.first().at(0).toModelIndex().row(), 1);
        QCOMPARE(changes.first().at(1).toModelIndex().row(), 1);
        muted().mute(QStringLiteral("R_acme/web"), m_fixture->clock.now() + std::chrono::hours(1));
        QCOMPARE(row.data(RepositoryListModel::MutingRole).toString(),
            QStringLiteral("Muted until 13:00\nUnmute acme/web (Ctrl+M)"));
        QVERIFY(m_model->setData(row, false, RepositoryListModel::MutedRole));
        QVERIFY(!muted().isMuted(QStringLiteral("R_acme/web")));
        QCOMPARE(row.data(Qt::AccessibleTextRole).toString(), QStringLiteral("acme/web, monitored"));
    }

    void theEndOfAMutingIsFollowed()
    {
        muted().mute(QStringLiteral("R_acme/web"), m_fixture->clock.now() + std::chrono::hours(1));
        QVERIFY(m_model->index(1).data(RepositoryListModel::MutedRole).toBool());
        m_fixture->clock.advance(std::chrono::hours(1));
        muted().forgetOver();
        QVERIFY(!m_model->index(1).data(RepositoryListModel::MutedRole).toBool());
    }

    void nothingButTheSwitchAndTheBellCanBeSet()
    {
        QVERIFY(!m_model->setData(m_model->index(0), QStringLiteral("x"), Qt::DisplayRole));
        QVERIFY(!m_model->setData({}, Qt::Unchecked, Qt::CheckStateRole));
        QCOMPARE(names().first(), QStringLiteral("acme/api"));
    }

    void aSearchKeepsTheOrderOfTheStore()
    {
        m_model->setSearch(QStringLiteral("ACME"));
        QCOMPARE(names(), (QStringList{QStringLiteral("acme/api"), QStringLiteral("acme/web")}));
        m_model->setSearch(QStringLiteral("alice-org"));
        QCOMPARE(names().size(), 3);
        m_model->setSearch(QStringLiteral(" "));
        QVERIFY(names().isEmpty());
        m_model->setSearch(QString());
        QCOMPARE(names().size(), 3);
    }

    void theSameSearchAgainTellsNothing()
    {
        m_model->setSearch(QStringLiteral("web"));
        QSignalSpy resets(m_model.get(), &QAbstractItemModel::modelReset);
        m_model->setSearch(QStringLiteral("web"));
        QCOMPARE(resets.size(), 0);
    }

    void rowsAreFoundByTheirRepository()
    {
        QCOMPARE(m_model->rowOf(QStringLiteral("R_beta/site")), 2);
        m_model->setSearch(QStringLiteral("site"));
        QCOMPARE(m_model->rowOf(QStringLiteral("R_beta/site")), 0);
        QCOMPARE(m_model->rowOf(QStringLiteral("R_acme/api")), -1);
    }

    void switchingAllIsOneChange()
    {
        QSignalSpy changes(m_model.get(), &QAbstractItemModel::dataChanged);
        m_fixture->installations->setAllRepositories(false);
        QCOMPARE(changes.size(), 1);
        QCOMPARE(changes.first().at(0).toModelIndex().row(), 0);
        QCOMPARE(changes.first().at(1).toModelIndex().row(), 2);
    }

    void changesThatAreApartAreToldApart()
    {
        m_fixture->installations->setRepository(QStringLiteral("R_acme/web"), false);
        QSignalSpy changes(m_model.get(), &QAbstractItemModel::dataChanged);
        m_fixture->installations->setAllRepositories(true);
        m_fixture->installations->setRepository(QStringLiteral("R_acme/web"), false);
        changes.clear();
        m_fixture->defaults.setValue(QStringLiteral("github.excludedRepositories"),
            QStringList{QStringLiteral("R_acme/api"), QStringLiteral("R_acme/web"), QStringLiteral("R_beta/site")});
        QCOMPARE(changes.size(), 2);
    }

    void aRefreshThatFindsTheSameTellsNothing()
    {
        QSignalSpy changes(m_model.get(), &QAbstractItemModel::dataChanged);
        QSignalSpy resets(m_model.get(), &QAbstractItemModel::modelReset);
        load({QStringLiteral("acme/api"), QStringLiteral("acme/web"), QStringLiteral("beta/site")});
        QCOMPARE(changes.size() + resets.size(), 0);
    }

    void rowsThatComeAndGoLeaveTheOthersAlone()
    {
        const QPersistentModelIndex site(m_model->index(2));
        QSignalSpy resets(m_model.get(), &QAbstractItemModel::modelReset);
        load({QStringLiteral("acme/api"), QStringLiteral("acme/new"), QStringLiteral("acme/newer"),
            QStringLiteral("beta/site")});
        QCOMPARE(names(),
            (QStringList{QStringLiteral("acme/api"), QStringLiteral("acme/new"), QStringLiteral("acme/newer"),
                QStringLiteral("beta/site")}));
        QCOMPARE(resets.size(), 0);
        QCOMPARE(site.row(), 3);
    }

    void aRenamedRepositoryMovesWithItsRow()
    {
        const QPersistentModelIndex api(m_model->index(0));
        QSignalSpy resets(m_model.get(), &QAbstractItemModel::modelReset);
        auto &repositories = m_fixture->github.identities[QStringLiteral("alice")].repositories;
        repositories[0].name = QStringLiteral("zeta/api");
        refresh();
        QCOMPARE(names(),
            (QStringList{QStringLiteral("acme/web"), QStringLiteral("beta/site"), QStringLiteral("zeta/api")}));
        QCOMPARE(resets.size(), 0);
        QCOMPARE(api.row(), 2);
        repositories[0].name = QStringLiteral("aaaa/api");
        refresh();
        QCOMPARE(api.row(), 0);
        QCOMPARE(names().first(), QStringLiteral("aaaa/api"));
    }

    void ofAListOfOthersTheSameRowsAreKept()
    {
        QStringList many;
        for (int i = 0; i < 300; ++i)
            many.append(QStringLiteral("acme/%1").arg(i, 3, 10, QLatin1Char('0')));
        load(many);
        QStringList fewer;
        for (int i = 0; i < 300; i += 2)
            fewer.append(many.at(i));
        const QPersistentModelIndex kept(m_model->index(298));
        const QPersistentModelIndex gone(m_model->index(299));
        QSignalSpy layouts(m_model.get(), &QAbstractItemModel::layoutChanged);
        load(fewer);
        QCOMPARE(layouts.size(), 1);
        QCOMPARE(names(), fewer);
        QCOMPARE(kept.row(), 149);
        QVERIFY(!gone.isValid());
    }

    void theListEmptiesWithTheLastAccount()
    {
        std::ignore = start(m_fixture->authentication->remove(1));
        refresh();
        QCOMPARE(m_model->rowCount(), 0);
    }

private:
    MutedRepositories &muted() { return m_fixture->monitor->announcements().muted(); }

    enum class Build {
        No,
        Yes,
    };

    void load(const QStringList &repositories, Build build = Build::No)
    {
        auto &identity = m_fixture->github.identities[QStringLiteral("alice")];
        identity.repositories.clear();
        for (const QString &name : repositories)
            identity.repositories.append(repository(name));
        if (build == Build::Yes)
            m_fixture->build();
        refresh();
    }

    void refresh() { awaitValue(m_fixture->installations->refresh(m_fixture->authentication.get())); }

    [[nodiscard]] QStringList names() const
    {
        QStringList result;
        for (int row = 0; row < m_model->rowCount(); ++row)
            result.append(m_model->index(row).data().toString());
        return result;
    }

    std::unique_ptr<MonitorFixture> m_fixture;
    std::unique_ptr<RepositoryListModel> m_model;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
};

VELMORA_TEST(RepositoryListModelTest)
#include "repository_list_model_test.moc"
