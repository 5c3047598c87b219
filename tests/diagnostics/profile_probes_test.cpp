// SPDX-License-Identifier: MIT
#include "diagnostics/profile_probes.h"

#include "accounts/earlier_profile.h"
#include "accounts/github_account.h"
#include "platform/preferences_file.h"
#include "support/child_process.h"
#include "support/json.h"
#include "support/test_main.h"

#include <QDir>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace velmora;
using namespace velmora::testing;

namespace
{

void write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

Instant now()
{
    return std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
}

QString allTexts(const ProfileRecord &record)
{
    return reportLines({{QStringLiteral("x"), record.findings + record.choices}}).join(QLatin1Char('\n'));
}

QStringList filesBelow(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

} // namespace

class ProfileProbesTest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_home;

    [[nodiscard]] QString preferences() const { return m_home->filePath(QStringLiteral("preferences.json")); }
    [[nodiscard]] QString cache() const { return m_home->filePath(QStringLiteral("deployments.json")); }
    [[nodiscard]] ProfilePlaces places() const
    {
        ProfilePlaces places;
        places.preferencesFile = preferences();
        places.cacheFolder = m_home->path();
        return places;
    }
    [[nodiscard]] ProfileRecord read() const { return readProfile(places(), now()); }
    [[nodiscard]] ProfileRecord readFor(const LoginOrigin &origin, const std::optional<LoginOrigin> &owner) const
    {
        ProfilePlaces asked = places();
        asked.origin = origin;
        asked.earlierOwner = owner;
        return readProfile(asked, now());
    }

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        qputenv("HOME", m_home->path().toUtf8());
    }

    void anEmptyProfileIsTold()
    {
        const ProfileRecord record = read();
        const QList<Finding> files{{QStringLiteral("preferences"), QStringLiteral("~/preferences.json: not there yet")},
            {QStringLiteral("cache"), QStringLiteral("none")}};
        QCOMPARE(record.findings, files);
        QCOMPARE(record.accountIDs, QList<qint64>());
        QCOMPARE(filesBelow(m_home->path()), QStringList());
    }

    void accountsAndChoicesAreCountedAndNotNamed()
    {
        const QList<GitHubAccount> accounts{
            {7, QStringLiteral("secret-login"), {}}, {8, QStringLiteral("hidden\x1b[31m"), {}}};
        const QJsonObject content{{QStringLiteral("github.accounts"), jsonFromPreference(encodeJSON(accounts))},
            {QStringLiteral("github.disabledInstallations"),
                jsonFromPreference(QStringList{QStringLiteral("7:secret")})},
            {QStringLiteral("github.excludedRepositories"),
                jsonFromPreference(QStringList{QStringLiteral("secret/one"), QStringLiteral("secret/two")})}};
        write(preferences(), QJsonDocument(content).toJson());
        write(cache(), QByteArray(12'345, 's'));
        const ProfileRecord record = read();
        QCOMPARE(record.accountIDs, (QList<qint64>{7, 8}));
        const QString texts = allTexts(record);
        QVERIFY2(texts.contains(QLatin1String("1 installation, 2 repositories")), qPrintable(texts));
        QVERIFY2(texts.contains(QLatin1String("~/deployments.json: 12.3 kB, saved now")), qPrintable(texts));
        for (const QString &name : {QStringLiteral("secret"), QStringLiteral("hidden"), m_home->path()})
            QVERIFY2(!texts.contains(name), qPrintable(texts));
    }

    void accountsOfAnotherHostAreNotLookedAt()
    {
        const LoginOrigin server(QUrl(QStringLiteral("https://ghe.example.com/login")));
        const QString key = QStringLiteral("github.accounts");
        const QJsonObject content{
            {key, jsonFromPreference(encodeJSON(QList<GitHubAccount>{{7, QStringLiteral("mona"), {}}}))},
            {server.preferenceKey(key),
                jsonFromPreference(encodeJSON(QList<GitHubAccount>{{8, QStringLiteral("lisa"), {}}}))}};
        write(preferences(), QJsonDocument(content).toJson());
        QCOMPARE(readFor(LoginOrigin::gitHub(), LoginOrigin::gitHub()).accountIDs, QList<qint64>{7});
        QCOMPARE(readFor(server, LoginOrigin::gitHub()).accountIDs, QList<qint64>{8});
    }

    void earlierAccountsAreThoseOfTheirOwnerAndStayWhereTheyAre()
    {
        const LoginOrigin server(QUrl(QStringLiteral("https://ghe.example.com/login")));
        const QJsonObject content{{QStringLiteral("github.accounts"),
            jsonFromPreference(encodeJSON(QList<GitHubAccount>{{7, QStringLiteral("mona"), {}}}))}};
        write(preferences(), QJsonDocument(content).toJson());
        write(cache(), QByteArray(12'345, 's'));
        const ProfileRecord record = readFor(server, server);
        QCOMPARE(record.accountIDs, QList<qint64>{7});
        QVERIFY(isTokenInherited(*record.preferences, 7));
        QVERIFY(allTexts(record).contains(QLatin1String("~/deployments.json: 12.3 kB")));
        QCOMPARE(readFor(LoginOrigin::gitHub(), server).accountIDs, QList<qint64>());
        QCOMPARE(readFor(server, std::nullopt).accountIDs, QList<qint64>());
        QVERIFY(readFor(server, LoginOrigin::gitHub())
                    .findings.contains(Finding{QStringLiteral("cache"), QStringLiteral("none")}));
        QFile file(preferences());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(QJsonDocument::fromJson(file.readAll()).object(), content);
    }

    void theCacheOfAServerIsToldWithoutItsName()
    {
        const LoginOrigin server(QUrl(QStringLiteral("https://ghe.example.com/login")));
        const QString folder = server.folderIn(m_home->path());
        QVERIFY(QDir().mkpath(folder));
        write(folder + QStringLiteral("/deployments.json"), QByteArray(12'345, 's'));
        const QString texts = allTexts(readFor(server, LoginOrigin::gitHub()));
        QVERIFY2(texts.contains(QStringLiteral("~/…/deployments.json: 12.3 kB")), qPrintable(texts));
        QVERIFY2(!texts.contains(QLatin1String("example")), qPrintable(texts));
    }

    void aDamagedFileIsToldAndLeftAlone()
    {
        write(preferences(), "{\"secret");
        const ProfileRecord record = read();
        QCOMPARE(record.findings.first().text, QStringLiteral("~/preferences.json: damaged, 8 bytes"));
        QCOMPARE(filesBelow(m_home->path()), QStringList{QStringLiteral("preferences.json")});
    }

    void aFileThatCannotBeReadIsTold()
    {
        QVERIFY(QDir().mkpath(preferences()));
        const ProfileRecord record = read();
        QCOMPARE(record.findings.first().text,
            QStringLiteral("~/preferences.json: cannot be read: it is a folder; cannot be saved: it is a folder"));
    }

    void aCacheThatIsNoFileIsTold()
    {
        QCOMPARE(::mkfifo(QFile::encodeName(cache()).constData(), 0600), 0);
        QCOMPARE(read().findings.last().text,
            QStringLiteral("~/deployments.json: cannot be read; cannot be saved: it is not a regular file"));
    }

    void aFullDiskIsTold()
    {
        const QString result = inChild([&] {
            if (!mountSmallDisk(m_home->path(), "64k"))
                return kNotAllowed;
            write(preferences(), "{}");
            fillDisk(m_home->filePath(QStringLiteral("filler")));
            const ProfileRecord record = read();
            return record.findings.first().text + QLatin1Char('\n') + record.findings.last().text;
        });
        if (result == kNotAllowed)
            QSKIP("A disk of one's own cannot be mounted here.");
        QCOMPARE(result,
            QStringLiteral("~/preferences.json: readable, 2 bytes; cannot be saved: No space left on device\n"
                           "~/deployments.json: none; cannot be saved: No space left on device"));
    }

    void withoutAHomeThereIsNoFile()
    {
        const ProfileRecord record = readProfile(ProfilePlaces(), now());
        const QList<Finding> files{{QStringLiteral("preferences"), QStringLiteral("there is no home for it")},
            {QStringLiteral("cache"), QStringLiteral("none")}};
        QCOMPARE(record.findings, files);
    }
};

VELMORA_TEST(ProfileProbesTest)
#include "profile_probes_test.moc"
