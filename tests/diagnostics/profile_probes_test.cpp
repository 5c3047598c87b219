// SPDX-License-Identifier: MIT
#include "diagnostics/profile_probes.h"

#include "accounts/github_account.h"
#include "platform/preferences_file.h"
#include "support/json.h"

#include <QDir>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

using namespace velmora;

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
    [[nodiscard]] ProfileRecord read() const { return readProfile(preferences(), cache(), now()); }

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
        QCOMPARE(record.findings.first().text, QStringLiteral("~/preferences.json: cannot be read"));
    }

    void withoutAHomeThereIsNoFile()
    {
        const ProfileRecord record = readProfile(QString(), QString(), now());
        const QList<Finding> files{{QStringLiteral("preferences"), QStringLiteral("there is no home for it")},
            {QStringLiteral("cache"), QStringLiteral("none")}};
        QCOMPARE(record.findings, files);
    }
};

QTEST_GUILESS_MAIN(ProfileProbesTest)
#include "profile_probes_test.moc"
