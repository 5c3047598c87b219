// SPDX-License-Identifier: MIT
// The real program without room on the disk, with a private home and keyring.
#include "program_world.h"

#include "accounts/keychain_credential_store.h"
#include "accounts/login_origin.h"
#include "support/await.h"
#include "support/test_main.h"

#include <sys/resource.h>
#include <sys/stat.h>

using namespace velmora::testing;

class ProgramDiskTest : public QObject, private ProgramWorld
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_simulator.start()); }

    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        m_simulator.log().clear();
        m_connected.clear();
        connectFirst();
        QCOMPARE(finished("watch --once")->code(), 0);
        fillPreferences();
        m_before = content(preferences());
    }

    void aChoiceThatIsNotSavedFailsAndLosesNothing_data()
    {
        QTest::addColumn<QByteArray>("arguments");
        QTest::newRow("a repository") << QByteArray("repositories --none");
        QTest::newRow("an installation") << QByteArray("installations --disable ACCOUNT");
        QTest::newRow("an account") << QByteArray("accounts remove LOGIN");
    }

    void aChoiceThatIsNotSavedFailsAndLosesNothing()
    {
        QFETCH(QByteArray, arguments);
        const QJsonObject installation = array(finished("installations --json")->out()).first().toObject();
        arguments.replace("ACCOUNT", installation.value(QLatin1String("account")).toString().toUtf8());
        arguments.replace("LOGIN", m_connected.last());
        const auto run = withoutRoom(arguments.constData());
        QCOMPARE(run->err(), "The change is not saved. " + reason(preferences()));
        QCOMPARE(run->out(), QByteArray());
        QCOMPARE(run->code(), 1);
        QCOMPARE(content(preferences()), m_before);
        QCOMPARE(array(finished("accounts --json")->out()).size(), 1);
    }

    void anAccountThatIsNotSavedFailsAndKeepsTheOthers()
    {
        removeTokensOfEarlierTests();
        QCOMPARE(loginsWithToken(), m_connected);
        const auto run = withoutRoom("connect");
        QCOMPARE(run->err(), "The account is not saved. " + reason(preferences()));
        // No token stays in the keyring that no list names.
        QCOMPARE(loginsWithToken(), m_connected);
        QVERIFY(!run->out().contains("Connected as"));
        QCOMPARE(run->code(), 1);
        QCOMPARE(content(preferences()), m_before);
        QCOMPARE(array(finished("accounts --json")->out()).size(), 1);
    }

    void deploymentsThatAreNotSavedAreShownAllTheSame()
    {
        const QByteArray saved = content(cache());
        QVERIFY(saved.size() > kRoom);
        const auto run = withoutRoom("watch --once --json");
        QVERIFY2(run->err().contains(reason(cache())), run->err().constData());
        QCOMPARE(run->code(), 1);
        const QJsonObject shown = jsonLines(run->out()).last();
        QCOMPARE(shown.value(QLatin1String("state")).toString(), QStringLiteral("ready"));
        QVERIFY(!shown.value(QLatin1String("deployments")).toArray().isEmpty());
        QVERIFY(shown.value(QLatin1String("unsaved")).toString().contains(cache()));
        QCOMPARE(content(cache()), saved);
    }

    void whatIsNoFileIsSaidAndNotWaitedFor_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("FIFO") << QStringLiteral("fifo");
        QTest::newRow("folder") << QStringLiteral("folder");
        QTest::newRow("device without an end") << QStringLiteral("/dev/zero");
        QTest::newRow("link to nothing") << QStringLiteral("nowhere");
    }

    void whatIsNoFileIsSaidAndNotWaitedFor()
    {
        QFETCH(QString, kind);
        for (const QString &path : {preferences(), cache()}) {
            QVERIFY(QFile::remove(path));
            if (kind == QLatin1String("fifo"))
                QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
            else if (kind == QLatin1String("folder"))
                QVERIFY(QDir().mkpath(path));
            else
                QVERIFY(QFile::link(kind, path));
        }
        const auto status = finished("status");
        QVERIFY2(status->err().startsWith("Cannot read " + preferences().toUtf8()), status->err().constData());
        const auto connection = finished("connect");
        QVERIFY2(connection->err().contains("The account is not saved. "), connection->err().constData());
        QCOMPARE(connection->code(), 1);
    }

private:
    static constexpr qsizetype kRoom = 4096;

    [[nodiscard]] QString preferences() const
    {
        return m_home->filePath(QStringLiteral(".config/velmora/preferences.json"));
    }
    [[nodiscard]] QString cache() const
    {
        const velmora::LoginOrigin origin(m_simulator.url());
        return origin.folderIn(m_home->filePath(QStringLiteral(".cache/velmora")))
            + QStringLiteral("/deployments.json");
    }
    [[nodiscard]] static QByteArray content(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    [[nodiscard]] static QByteArray reason(const QString &path)
    {
        return "Cannot write " + path.toUtf8() + ": File too large\n";
    }

    /// Calls `visit` with every identity of the simulator and the keyring of these tests.
    template <typename Visit>
    void visitIdentities(Visit visit)
    {
        velmora::KeychainCredentialStore keyring(velmora::LoginOrigin(m_simulator.url()).keychainService());
        const auto &world = m_simulator.world();
        for (const int position : world.identities())
            visit(world.owners().at(position), keyring);
    }
    [[nodiscard]] QList<QByteArray> loginsWithToken()
    {
        QList<QByteArray> logins;
        visitIdentities([&](const auto &identity, auto &keyring) {
            if (awaitValue(keyring.load(identity.id)))
                logins.append(identity.login.toUtf8());
        });
        return logins;
    }
    void removeTokensOfEarlierTests()
    {
        visitIdentities([&](const auto &identity, auto &keyring) {
            if (!m_connected.contains(identity.login.toUtf8()))
                awaitValue(keyring.remove(identity.id, velmora::Interaction::Forbidden));
        });
    }

    /// Adds a key that the program does not know and must keep.
    void fillPreferences() const
    {
        QJsonObject object = QJsonDocument::fromJson(content(preferences())).object();
        QCOMPARE(object.isEmpty(), false);
        object.insert(QStringLiteral("filler"), QString(6000, QLatin1Char('x')));
        QFile file(preferences());
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(QJsonDocument(object).toJson());
    }

    /// Runs the program with a limit of kRoom on the size of files.
    [[nodiscard]] std::unique_ptr<ProgramRun> withoutRoom(const char *arguments) const
    {
        auto run = std::make_unique<ProgramRun>(words(arguments), environment());
        run->process().setChildProcessModifier([] {
            ProgramRun::heedSignals();
            const rlimit limit{kRoom, kRoom};
            ::setrlimit(RLIMIT_FSIZE, &limit);
        });
        run->start();
        if (!run->ends())
            qWarning("%s did not end", arguments);
        return run;
    }

    QByteArray m_before;
};

VELMORA_TEST(ProgramDiskTest)
#include "program_disk_test.moc"
