// SPDX-License-Identifier: MIT
#include "model/json_deployment_cache.h"
#include "support/await.h"
#include "support/builders.h"
#include "support/json.h"
#include "support/private_file.h"
#include "support/test_main.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace velmora;
using namespace velmora::testing;

namespace
{

DeploymentSnapshot plainDeployment(int number)
{
    DeploymentSnapshot deployment;
    deployment.id = QStringLiteral("DE_%1").arg(number);
    deployment.repositoryNodeID = QStringLiteral("R_1");
    deployment.repositoryName = QStringLiteral("acme/site");
    deployment.repositoryURL = WebAddress(QStringLiteral("https://github.com/acme/site"));
    deployment.environment = QStringLiteral("production");
    deployment.commitOID = QStringLiteral("0123456789abcdef");
    deployment.state = DeploymentState::InProgress;
    deployment.createdAt = parseISO8601(u"2026-05-01T12:00:00Z").value();
    deployment.updatedAt = parseISO8601(u"2026-05-01T12:00:01.000001Z").value();
    return deployment;
}

DeploymentSnapshot fullDeployment()
{
    DeploymentSnapshot deployment = plainDeployment(7);
    deployment.refName = QStringLiteral("main");
    deployment.creatorLogin = QStringLiteral("zoë");
    deployment.statusDescription = QString();
    deployment.logURL = WebAddress(QStringLiteral("https://ci.test/1"));
    deployment.environmentURL = WebAddress(QStringLiteral("https://site.test/"));
    return deployment;
}

DeploymentCachePayload payload(int count)
{
    DeploymentCachePayload result;
    result.savedAt = parseISO8601(u"2026-05-01T12:34:56.789Z").value();
    for (int i = 0; i < count; ++i)
        result.deployments.append(plainDeployment(i));
    return result;
}

unsigned mode(const QString &path)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777U : 0U;
}

/// Writes the two payloads alternately, without end.
[[noreturn]] void writeForEver(const QString &path, const QByteArray &first, const QByteArray &second)
{
    for (;;) {
        writePrivateFile(path, first);
        writePrivateFile(path, second);
    }
}

} // namespace

class JSONDeploymentCacheTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void whatIsSavedComesBack()
    {
        JSONDeploymentCache cache(folder());
        auto saved = payload(2);
        saved.deployments.append(fullDeployment());
        awaitValue(cache.save(saved));
        QVERIFY(awaitValue(cache.load()) == saved);
        JSONDeploymentCache another(folder());
        QVERIFY(awaitValue(another.load()) == saved);
    }

    void everyStateComesBack()
    {
        auto saved = payload(static_cast<int>(kAllDeploymentStates.size()));
        for (std::size_t i = 0; i < kAllDeploymentStates.size(); ++i) {
            change(saved.deployments[static_cast<qsizetype>(i)],
                [i](DeploymentSnapshot &deployment) { deployment.state = kAllDeploymentStates[i]; });
        }
        QVERIFY(decodeJSON<DeploymentCachePayload>(encodeJSON(saved)) == saved);
    }

    void theFileHasTheFieldsUnderTheirNamesAndLeavesOutAbsentOnes()
    {
        auto saved = payload(1);
        saved.savedAt = parseISO8601(u"2001-01-01T00:00:01.5Z").value();
        const QByteArray text = encodeJSON(saved);
        QVERIFY(text.startsWith("{\"deployments\":[{\"id\":\"DE_0\",\"repositoryNodeID\":\"R_1\""));
        QVERIFY(text.endsWith("\"savedAt\":1.5}"));
        QVERIFY(!text.contains("refName") && !text.contains("logURL") && !text.contains("null"));
    }

    void savingTwiceLeavesOneFileWithTheSecondPayload()
    {
        JSONDeploymentCache cache(folder());
        const auto first = start(cache.save(payload(3)));
        const auto second = start(cache.save(payload(1)));
        QVERIFY(waitUntil([&] { return first->isDone && second->isDone; }));
        QVERIFY(awaitValue(cache.load()) == payload(1));
        QCOMPARE(QDir(folder()).entryList(QDir::Files | QDir::Hidden), QStringList(QStringLiteral("deployments.json")));
    }

    void fileAndFolderArePrivate()
    {
        JSONDeploymentCache cache(folder());
        awaitValue(cache.save(payload(1)));
        QCOMPARE(cache.path(), folder() + QStringLiteral("/deployments.json"));
        QCOMPARE(mode(cache.path()), 0600U);
        QCOMPARE(mode(folder()), 0700U);
    }

    void noFileIsNoPayload()
    {
        JSONDeploymentCache cache(folder());
        QVERIFY(!awaitValue(cache.load()).has_value());
        QVERIFY(!QDir(folder()).exists());
    }

    void aFileThatCannotBeDecodedCountsAsAbsent_data()
    {
        QTest::addColumn<QByteArray>("content");
        const QByteArray good = encodeJSON(payload(1));
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("no JSON") << QByteArray("\x00\xff garbage", 10);
        QTest::newRow("truncated") << good.left(good.size() / 2);
        QTest::newRow("other shape") << QByteArray("[]");
        QTest::newRow("missing field") << QByteArray(good).replace("\"commitOID\"", "\"commitOld\"");
        QTest::newRow("unknown state") << QByteArray(good).replace("inProgress", "exploded");
    }

    void aFileThatCannotBeDecodedCountsAsAbsent()
    {
        QFETCH(QByteArray, content);
        JSONDeploymentCache cache(folder());
        writePrivateFile(cache.path(), content);
        QVERIFY(!awaitValue(cache.load()).has_value());
        awaitValue(cache.save(payload(1)));
        QVERIFY(awaitValue(cache.load()) == payload(1));
    }

    void aFailureToSaveIsThrownAndLoadingDoesNotThrow()
    {
        writePrivateFile(folder(), QByteArrayView("a file in the place of the folder"));
        JSONDeploymentCache cache(folder());
        QVERIFY(await(cache.save(payload(1))).failedWithType<FileError>());
        QVERIFY(!awaitValue(cache.load()).has_value());
    }

    void whatIsNoFileIsNeitherWaitedForNorReplaced()
    {
        JSONDeploymentCache cache(folder());
        makePrivateFolder(folder());
        QCOMPARE(::mkfifo(QFile::encodeName(cache.path()).constData(), 0600), 0);
        QVERIFY(!awaitValue(cache.load()).has_value());
        QVERIFY(await(cache.save(payload(1))).failedWithType<FileError>());
        QVERIFY(QFile::remove(cache.path()));
        QVERIFY(QFile::link(QStringLiteral("/dev/zero"), cache.path()));
        QVERIFY(!awaitValue(cache.load()).has_value());
        QVERIFY(await(cache.save(payload(1))).failedWithType<FileError>());
        QVERIFY(QFileInfo(cache.path()).isSymLink());
    }

    void withoutAFolderNothingIsKept()
    {
        JSONDeploymentCache cache{QString()};
        QVERIFY(cache.path().isEmpty());
        awaitValue(cache.save(payload(1)));
        QVERIFY(!awaitValue(cache.load()).has_value());
    }

    void theEndOfTheCacheWaitsForSavesUnderWay()
    {
        auto cache = std::make_unique<JSONDeploymentCache>(folder());
        const auto saved = start(cache->save(payload(100)));
        cache.reset();
        QVERIFY(waitUntil([&] { return saved->isDone; }));
        JSONDeploymentCache another(folder());
        QVERIFY(awaitValue(another.load()) == payload(100));
    }

    void aKillAtAnyInstantLeavesTheOldFileOrTheNewOne()
    {
        JSONDeploymentCache cache(folder());
        const auto small = payload(1);
        const auto large = payload(500);
        const QByteArray first = encodeJSON(small);
        const QByteArray second = encodeJSON(large);
        awaitValue(cache.save(small));
        for (int round = 0; round < 40; ++round) {
            const pid_t child = ::fork();
            if (child == 0)
                writeForEver(cache.path(), first, second);
            QVERIFY(child > 0);
            ::usleep(static_cast<useconds_t>(500 + round * 431)); // gives the writer time to get somewhere
            ::kill(child, SIGKILL);
            QCOMPARE(::waitpid(child, nullptr, 0), child);
            const auto loaded = awaitValue(cache.load());
            QVERIFY(loaded.has_value());
            QVERIFY(*loaded == small || *loaded == large);
        }
    }

private:
    [[nodiscard]] QString folder() const { return m_folder->filePath(QStringLiteral("velmora")); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

VELMORA_TEST(JSONDeploymentCacheTest)
#include "json_deployment_cache_test.moc"
