// SPDX-License-Identifier: MIT
#include "platform/file_preferences.h"

#include "platform/preferences_file.h"
#include "support/await.h"
#include "support/child_process.h"
#include "support/fake_clock.h"
#include "support/file_lock.h"
#include "support/private_file.h"
#include "support/test_main.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

using Value = Preferences::Value;

const QString kKey = QStringLiteral("some.key");
const QString kOther = QStringLiteral("other.key");

Value text(const char *content)
{
    return QString::fromUtf8(content);
}

} // namespace

Q_DECLARE_METATYPE(velmora::Preferences::Value)

class FilePreferencesTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_path = m_folder->filePath(QStringLiteral("velmora/preferences.json"));
    }

    void withoutAFileEverythingStaysInMemory();
    void everyTypeComesBackAsItWas_data();
    void everyTypeComesBackAsItWas();
    void aValueIsSeenAtOnceAndAnnounced();
    void settingTheSameValueDoesNothing();
    void removingForgetsTheValue();
    void aValueOfAnotherTypeIsNotConverted();
    void theFileIsReadableByPeople();
    void filesAndFoldersAreOfTheUserAlone();
    void theFileIsReplacedOnlyWhenSomethingChanged();
    void theFileIsReplacedAsAWhole();
    void valuesOfUnknownKindsArePreserved();
    void twoProcessesKeepEachOthersKeys();
    void aChangeOfAnotherProcessIsAnnounced();
    void aFolderThatAnotherProcessMakesIsNoticed();
    void aReaderSeesTheChangeOfAnotherProcessWithoutAnySignal();
    void aChangeThatIsPendingHereWinsOverTheFile();
    void aFileThatDisappearsTakesItsValuesAlong();
    void aDamagedFileIsSetAside_data();
    void aDamagedFileIsSetAside();
    void everyDamagedFileGetsANameOfItsOwn();
    void aFileDamagedWhileRunningIsRestored();
    void aFileThatCannotBeReadIsNeverOverwritten();
    void whatIsNoFileOfTheUsersIsNeitherWaitedForNorTouched_data();
    void whatIsNoFileOfTheUsersIsNeitherWaitedForNorTouched();
    void aLinkToAFileElsewhereStays();
    void whatAFileHoldsThatCouldNotBeReadAtFirstWins();
    void whatIsUnsavedIsTriedAgainAfterPausesThatGrow();
    void aSuccessMakesThePausesShortAgain();
    void readingIsTriedAgainToo();
    void theEndOfTheProgramTriesOnceMore();
    void aDamagedFileThatCannotBeReplacedIsCopiedOnce();
    void whatIsSetAndSetBackWhileItIsWrittenSettles();
    void aStopEndsTheWaitForTheDisk();
    void aFolderThatCannotBeWrittenLosesNothing();
    void aLockHeldElsewhereIsWaitedFor();
    void twoProcessesAddToAListAndOneAloneIsToldThatItDid();
    void aChangeOfAListIsSeenAtOnceAndAnnounced();
    void aListKeepsWhatAnotherProcessHasPutThere();
    void aChangeOfAListThatCannotBeStoredIsTriedAgain();
    void changesOfListsAreOnTheDiskAfterTheEnd();
    void withoutAFileListsChangeInMemory();
    void everythingIsOnTheDiskAfterTheEnd();
    void thePreferencesMayBeDeletedByWhoListens();

private:
    [[nodiscard]] QByteArray content() const
    {
        QFile file(m_path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    [[nodiscard]] QJsonObject object() const { return QJsonDocument::fromJson(content()).object(); }
    void write(const QByteArray &content) const
    {
        QDir().mkpath(QFileInfo(m_path).absolutePath());
        QFile file(m_path);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        QCOMPARE(file.write(content), content.size());
    }
    [[nodiscard]] ino_t inode() const
    {
        struct stat status = {};
        return ::stat(QFile::encodeName(m_path).constData(), &status) == 0 ? status.st_ino : 0;
    }
    [[nodiscard]] QStringList files() const
    {
        return QFileInfo(m_path).absoluteDir().entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }

    [[nodiscard]] std::unique_ptr<FileLock> heldLock() const
    {
        makePrivateFolder(QFileInfo(m_path).absolutePath());
        return FileLock::tryLock(m_path + QLatin1String(".lock"));
    }

    /// A folder in the place of the lock file makes writing fail, even for the superuser.
    class Obstacle
    {
    public:
        explicit Obstacle(const QString &path)
            : m_lock(path + QLatin1String(".lock"))
        {
            QFile::remove(m_lock);
            QDir().mkpath(m_lock);
        }
        void remove() const { QDir().rmdir(m_lock); }

    private:
        QString m_lock;
    };

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;
};

void FilePreferencesTest::withoutAFileEverythingStaysInMemory()
{
    FilePreferences preferences{QString()};
    const QString failure = QStringLiteral("There is no home folder: the settings are not kept.");
    QCOMPARE(preferences.failure(), failure);
    const QSignalSpy failures(&preferences, &FilePreferences::failureChanged);
    preferences.setValue(kKey, true);
    preferences.flush();
    QVERIFY(preferences.boolean(kKey));
    QCOMPARE(failures.size(), 0);
    QCOMPARE(awaitValue(whyNotSaved(&preferences, {})), failure);
}

void FilePreferencesTest::everyTypeComesBackAsItWas_data()
{
    QTest::addColumn<Value>("value");
    QTest::newRow("true") << Value(true);
    QTest::newRow("false") << Value(false);
    QTest::newRow("text") << text("grüße \"\\ \n 鍵");
    QTest::newRow("empty text") << text("");
    QTest::newRow("text that looks like a boolean") << text("true");
    QTest::newRow("two texts") << Value(QStringList{QStringLiteral("a,b"), QStringLiteral("c")});
    QTest::newRow("one text") << Value(QStringList{QStringLiteral("alone")});
    QTest::newRow("one empty text") << Value(QStringList{QString()});
    QTest::newRow("empty list") << Value(QStringList());
    QTest::newRow("data") << Value(QByteArray("\x00\xff\x01 [1]", 7));
    QTest::newRow("empty data") << Value(QByteArray());
}

void FilePreferencesTest::everyTypeComesBackAsItWas()
{
    QFETCH(Value, value);
    {
        FilePreferences preferences(m_path);
        QVERIFY(!preferences.value(kKey));
        preferences.setValue(kKey, value);
        QVERIFY(preferences.value(kKey) == value);
    }
    const FilePreferences preferences(m_path);
    QVERIFY(preferences.value(kKey).has_value());
    QVERIFY(*preferences.value(kKey) == value);
    QVERIFY(preferences.earlyDamage().isEmpty());
    QVERIFY(preferences.failure().isEmpty());
}

void FilePreferencesTest::aValueIsSeenAtOnceAndAnnounced()
{
    FilePreferences preferences(m_path);
    QSignalSpy changed(&preferences, &Preferences::changed);
    preferences.setValue(kKey, true);
    QVERIFY(preferences.boolean(kKey));
    QCOMPARE(changed.size(), 1);
    QCOMPARE(changed.at(0).at(0).toString(), kKey);
    // Writing emits no further signal.
    preferences.flush();
    drainEvents();
    QCOMPARE(changed.size(), 1);
}

void FilePreferencesTest::settingTheSameValueDoesNothing()
{
    FilePreferences preferences(m_path);
    preferences.setValue(kKey, QStringList());
    preferences.flush();
    const ino_t before = inode();
    QSignalSpy changed(&preferences, &Preferences::changed);
    preferences.setValue(kKey, QStringList());
    preferences.remove(kOther);
    preferences.flush();
    QCOMPARE(changed.size(), 0);
    QCOMPARE(inode(), before);
}

void FilePreferencesTest::removingForgetsTheValue()
{
    FilePreferences preferences(m_path);
    preferences.setValue(kKey, true);
    preferences.flush();
    QSignalSpy changed(&preferences, &Preferences::changed);
    preferences.remove(kKey);
    QVERIFY(!preferences.value(kKey));
    QCOMPARE(changed.size(), 1);
    preferences.flush();
    QVERIFY(object().isEmpty());
    QVERIFY(!FilePreferences(m_path).value(kKey));
}

void FilePreferencesTest::aValueOfAnotherTypeIsNotConverted()
{
    FilePreferences preferences(m_path);
    preferences.setValue(kKey, text("true"));
    QVERIFY(!preferences.boolean(kKey));
    QVERIFY(preferences.stringList(kKey).isEmpty());
    QVERIFY(!preferences.data(kKey));
}

void FilePreferencesTest::theFileIsReadableByPeople()
{
    FilePreferences preferences(m_path);
    preferences.setValue(QStringLiteral("a"), true);
    preferences.setValue(QStringLiteral("b"), QStringList{QStringLiteral("x")});
    preferences.setValue(QStringLiteral("c"), QByteArray("data"));
    preferences.flush();
    QCOMPARE(content(),
        QByteArray("{\n    \"a\": true,\n    \"b\": [\n        \"x\"\n    ],\n    \"c\": {\n        \"data\": "
                   "\"ZGF0YQ==\"\n    }\n}\n"));
}

void FilePreferencesTest::filesAndFoldersAreOfTheUserAlone()
{
    FilePreferences preferences(m_path);
    preferences.setValue(kKey, true);
    preferences.flush();
    const auto mode = [](const QString &path) {
        struct stat status = {};
        return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 0777U : 0U;
    };
    QCOMPARE(mode(m_path), 0600U);
    QCOMPARE(mode(QFileInfo(m_path).absolutePath()), 0700U);
}

void FilePreferencesTest::theFileIsReplacedOnlyWhenSomethingChanged()
{
    write("{\"some.key\":true}");
    FilePreferences preferences(m_path);
    preferences.setValue(kKey, false);
    preferences.setValue(kKey, true);
    preferences.flush();
    // Not even the formatting has changed.
    QCOMPARE(content(), QByteArray("{\"some.key\":true}"));
    preferences.setValue(kKey, false);
    preferences.flush();
    QVERIFY(!object().value(kKey).toBool(true));
}

void FilePreferencesTest::theFileIsReplacedAsAWhole()
{
    FilePreferences preferences(m_path);
    preferences.setValue(kKey, text("old"));
    preferences.flush();
    QFile reader(m_path);
    QVERIFY(reader.open(QIODevice::ReadOnly));
    preferences.setValue(kKey, text("new"));
    preferences.flush();
    // A reader of the old file still gets all of it, and no temporary file is left.
    QVERIFY(reader.readAll().contains("old"));
    QVERIFY(content().contains("new"));
    QCOMPARE(files(), (QStringList{QStringLiteral("preferences.json"), QStringLiteral("preferences.json.lock")}));
}

void FilePreferencesTest::valuesOfUnknownKindsArePreserved()
{
    const QByteArray unknown
        = R"({"number":9007199254740993,"nothing":null,"mixed":["a",1],"deep":{"data":"?","x":{}},)"
          R"("bad":{"data":"not base64!"}})";
    write(unknown);
    FilePreferences preferences(m_path);
    for (const char *key : {"number", "nothing", "mixed", "deep", "bad"})
        QVERIFY(!preferences.value(QLatin1String(key)));
    preferences.setValue(kKey, true);
    preferences.flush();
    QJsonObject expected = QJsonDocument::fromJson(unknown).object();
    QCOMPARE(expected.size(), 5);
    expected.insert(kKey, true);
    QCOMPARE(object(), expected);
    QVERIFY(content().contains("9007199254740993"));
}

void FilePreferencesTest::twoProcessesKeepEachOthersKeys()
{
    FilePreferences first(m_path);
    FilePreferences second(m_path);
    first.setValue(kKey, text("first"));
    first.flush();
    second.setValue(kOther, text("second"));
    second.flush();
    QCOMPARE(object().value(kKey).toString(), QStringLiteral("first"));
    QCOMPARE(object().value(kOther).toString(), QStringLiteral("second"));
    QVERIFY(second.value(kKey) == text("first"));
    QVERIFY(waitUntil([&] { return first.value(kOther) == text("second"); }));
}

void FilePreferencesTest::aChangeOfAnotherProcessIsAnnounced()
{
    FilePreferences first(m_path);
    first.setValue(kKey, text("before"));
    first.setValue(kOther, true);
    first.flush();
    FilePreferences second(m_path);
    QSignalSpy changed(&second, &Preferences::changed);
    for (const char *content : {"one", "two", "three"}) {
        changed.clear();
        first.setValue(kKey, text(content));
        QVERIFY(waitUntil([&] { return !changed.isEmpty(); }));
        QCOMPARE(changed.at(0).at(0).toString(), kKey);
        QVERIFY(second.value(kKey) == text(content));
    }
    changed.clear();
    first.remove(kKey);
    QVERIFY(waitUntil([&] { return !changed.isEmpty(); }));
    QVERIFY(!second.value(kKey));
    QVERIFY(second.boolean(kOther));
}

void FilePreferencesTest::aFolderThatAnotherProcessMakesIsNoticed()
{
    FilePreferences second(m_path);
    QSignalSpy changed(&second, &Preferences::changed);
    FilePreferences first(m_path);
    first.setValue(kKey, true);
    QVERIFY(waitUntil([&] { return !changed.isEmpty(); }));
    QVERIFY(second.boolean(kKey));
}

void FilePreferencesTest::aReaderSeesTheChangeOfAnotherProcessWithoutAnySignal()
{
    FilePreferences second(m_path);
    FilePreferences first(m_path);
    first.setValue(kKey, true);
    first.flush();
    QVERIFY(waitUntil([&] { return second.boolean(kKey); }));
}

void FilePreferencesTest::aChangeThatIsPendingHereWinsOverTheFile()
{
    FilePreferences first(m_path);
    FilePreferences second(m_path);
    second.setValue(kKey, text("mine"));
    first.setValue(kKey, text("theirs"));
    first.setValue(kOther, true);
    first.flush();
    QVERIFY(second.value(kKey) == text("mine"));
    second.flush();
    QVERIFY(second.value(kKey) == text("mine"));
    QCOMPARE(object().value(kKey).toString(), QStringLiteral("mine"));
    QVERIFY(second.boolean(kOther));
    QVERIFY(waitUntil([&] { return first.value(kKey) == text("mine"); }));
}

void FilePreferencesTest::aFileThatDisappearsTakesItsValuesAlong()
{
    FilePreferences preferences(m_path);
    preferences.setValue(kKey, true);
    preferences.flush();
    QVERIFY(QFile::remove(m_path));
    QVERIFY(waitUntil([&] { return !preferences.value(kKey); }));
    preferences.setValue(kOther, true);
    preferences.flush();
    QCOMPARE(object().keys(), QStringList{kOther});
}

void FilePreferencesTest::aDamagedFileIsSetAside_data()
{
    QTest::addColumn<QByteArray>("damaged");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("cut off") << QByteArray("{\"some.key\": tr");
    QTest::newRow("no object") << QByteArray("[true]");
    QTest::newRow("binary") << QByteArray("\x00\x01\xff", 3);
}

void FilePreferencesTest::aDamagedFileIsSetAside()
{
    QFETCH(QByteArray, damaged);
    write(damaged);
    FilePreferences preferences(m_path);
    QVERIFY(preferences.earlyDamage().contains(m_path + QLatin1String(".damaged")));
    QVERIFY(preferences.failure().isEmpty());
    QVERIFY(!preferences.value(kKey));
    QFile kept(m_path + QLatin1String(".damaged"));
    QVERIFY(kept.open(QIODevice::ReadOnly));
    QCOMPARE(kept.readAll(), damaged);
    preferences.setValue(kKey, true);
    preferences.flush();
    QVERIFY(FilePreferences(m_path).boolean(kKey));
}

void FilePreferencesTest::everyDamagedFileGetsANameOfItsOwn()
{
    for (const char *damaged : {"first", "second", "third"}) {
        write(damaged);
        QVERIFY(!FilePreferences(m_path).earlyDamage().isEmpty());
    }
    QCOMPARE(files(),
        (QStringList{QStringLiteral("preferences.json"), QStringLiteral("preferences.json.damaged"),
            QStringLiteral("preferences.json.damaged-2"), QStringLiteral("preferences.json.damaged-3"),
            QStringLiteral("preferences.json.lock")}));
}

void FilePreferencesTest::aFileDamagedWhileRunningIsRestored()
{
    FilePreferences preferences(m_path);
    preferences.setValue(kKey, text("precious"));
    preferences.flush();
    QSignalSpy damaged(&preferences, &Preferences::damageFound);
    write("{ half a");
    QVERIFY(waitUntil([&] { return !damaged.isEmpty(); }));
    QVERIFY(preferences.value(kKey) == text("precious"));
    QCOMPARE(object().value(kKey).toString(), QStringLiteral("precious"));
    QVERIFY(QFile::exists(m_path + QLatin1String(".damaged")));
}

void FilePreferencesTest::aFileThatCannotBeReadIsNeverOverwritten()
{
    // A folder in the place of the file makes reading fail, even for the superuser.
    QVERIFY(QDir().mkpath(m_path));
    FilePreferences preferences(m_path);
    const QString failure = QStringLiteral("Cannot read %1: it is a folder").arg(m_path);
    QCOMPARE(preferences.failure(), failure);
    QSignalSpy failureChanged(&preferences, &Preferences::failureChanged);
    preferences.setValue(kKey, true);
    preferences.flush();
    // The failure is not new, so there is no signal.
    QCOMPARE(failureChanged.size(), 0);
    QCOMPARE(awaitValue(whyNotSaved(&preferences, {})), failure);
    QVERIFY(preferences.boolean(kKey));
    QVERIFY(QFileInfo(m_path).isDir());
    // Once the file can be written, nothing is lost.
    QVERIFY(QDir().rmdir(m_path));
    preferences.setValue(kOther, true);
    preferences.flush();
    QCOMPARE(failureChanged.size(), 1);
    QVERIFY(preferences.failure().isEmpty());
    QCOMPARE(object().keys(), (QStringList{kOther, kKey}));
}

void FilePreferencesTest::whatIsNoFileOfTheUsersIsNeitherWaitedForNorTouched_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"FIFO", "device", "dangling link", "loop of links", "too large", "of another user"})
        QTest::newRow(kind) << QString::fromUtf8(kind);
}

void FilePreferencesTest::whatIsNoFileOfTheUsersIsNeitherWaitedForNorTouched()
{
    QFETCH(QString, kind);
    QVERIFY(QDir().mkpath(QFileInfo(m_path).absolutePath()));
    const QByteArray name = QFile::encodeName(m_path);
    if (kind == QLatin1String("FIFO")) {
        QCOMPARE(::mkfifo(name.constData(), 0600), 0);
    } else if (kind == QLatin1String("device")) {
        QVERIFY(QFile::link(QStringLiteral("/dev/zero"), m_path));
    } else if (kind == QLatin1String("dangling link")) {
        QVERIFY(QFile::link(QStringLiteral("nowhere"), m_path));
    } else if (kind == QLatin1String("loop of links")) {
        QVERIFY(QFile::link(m_path, m_path));
    } else if (kind == QLatin1String("too large")) {
        write("{}");
        QVERIFY(QFile::resize(m_path, 8 * 1024 * 1024 + 1));
    } else {
        write("{}");
        if (::chown(name.constData(), 65534, 65534) != 0 || ::geteuid() != 0)
            QSKIP("Only the superuser can give a file away.");
    }
    struct stat before = {};
    QCOMPARE(::lstat(name.constData(), &before), 0);
    FilePreferences preferences(m_path);
    QVERIFY2(preferences.failure().startsWith(QStringLiteral("Cannot read %1: ").arg(m_path)),
        qPrintable(preferences.failure()));
    preferences.setValue(kKey, true);
    QCOMPARE(awaitValue(whyNotSaved(&preferences, {})), preferences.failure());
    QVERIFY(!preferences.failure().isEmpty());
    struct stat after = {};
    QCOMPARE(::lstat(name.constData(), &after), 0);
    QCOMPARE(after.st_ino, before.st_ino);
    QCOMPARE(after.st_size, before.st_size);
}

void FilePreferencesTest::aLinkToAFileElsewhereStays()
{
    const QString target = m_folder->filePath(QStringLiteral("dotfiles.json"));
    QVERIFY(QDir().mkpath(QFileInfo(m_path).absolutePath()));
    QVERIFY(QFile::link(target, m_path));
    QFile file(target);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("{ half");
    file.close();
    FilePreferences preferences(m_path);
    // The link is followed even if it leads to a damaged file.
    QVERIFY(!preferences.earlyDamage().isEmpty());
    preferences.setValue(kKey, true);
    preferences.flush();
    QCOMPARE(QFile(m_path).symLinkTarget(), target);
    QVERIFY(FilePreferences(m_path).boolean(kKey));
}

void FilePreferencesTest::whatAFileHoldsThatCouldNotBeReadAtFirstWins()
{
    QVERIFY(QDir().mkpath(m_path));
    FilePreferences preferences(m_path);
    preferences.setValue(kKey, text("set in ignorance"));
    preferences.setValue(kOther, true);
    preferences.flush();
    QVERIFY(QDir().rmdir(m_path));
    write("{\"some.key\":\"saved long ago\"}");
    QSignalSpy changed(&preferences, &Preferences::changed);
    preferences.flush();
    QVERIFY(preferences.value(kKey) == text("saved long ago"));
    QVERIFY(changed.contains(QVariantList{kKey}));
    QCOMPARE(object().keys(), (QStringList{kOther, kKey}));
    QCOMPARE(object().value(kKey).toString(), QStringLiteral("saved long ago"));
    // From now on the contents of the file are known.
    preferences.setValue(kKey, text("set in full knowledge"));
    preferences.flush();
    QCOMPARE(object().value(kKey).toString(), QStringLiteral("set in full knowledge"));
}

void FilePreferencesTest::whatIsUnsavedIsTriedAgainAfterPausesThatGrow()
{
    FakeClock clock;
    FilePreferences preferences(m_path, &clock);
    preferences.setValue(kKey, text("old"));
    preferences.flush();
    QVERIFY(clock.requestedSleeps.isEmpty());
    const Obstacle obstacle(m_path);
    preferences.setValue(kKey, text("new"));
    QVERIFY(awaitValue(whyNotSaved(&preferences, {})).contains(QLatin1String(".lock: Is a directory")));
    for (qsizetype tries = 1; tries < 9; ++tries) {
        QCOMPARE(clock.requestedSleeps.size(), tries);
        QVERIFY(clock.advanceToNextWake());
        QVERIFY(preferences.isSaving());
        QVERIFY(waitUntil([&] { return clock.requestedSleeps.size() > tries; }));
    }
    QCOMPARE(clock.requestedSleeps, (QList<std::chrono::milliseconds>{5s, 10s, 20s, 40s, 80s, 160s, 300s, 300s, 300s}));
    QCOMPARE(object().value(kKey).toString(), QStringLiteral("old"));
    obstacle.remove();
    QSignalSpy failureChanged(&preferences, &Preferences::failureChanged);
    QVERIFY(clock.advanceToNextWake());
    QVERIFY(waitUntil([&] { return !failureChanged.isEmpty(); }));
    QVERIFY(preferences.failure().isEmpty());
    QCOMPARE(object().value(kKey).toString(), QStringLiteral("new"));
    QCOMPARE(clock.sleeperCount(), 0);
}

void FilePreferencesTest::aSuccessMakesThePausesShortAgain()
{
    FakeClock clock;
    FilePreferences preferences(m_path, &clock);
    for (const char *value : {"first", "second"}) {
        const Obstacle obstacle(m_path);
        preferences.setValue(kKey, text(value));
        QVERIFY(!awaitValue(whyNotSaved(&preferences, {})).isEmpty());
        const auto sleeps = clock.requestedSleeps.size();
        QCOMPARE(clock.requestedSleeps.last(), std::chrono::milliseconds(5s));
        QVERIFY(clock.advanceToNextWake());
        QVERIFY(waitUntil([&] { return clock.requestedSleeps.size() > sleeps; }));
        QCOMPARE(clock.requestedSleeps.last(), std::chrono::milliseconds(10s));
        obstacle.remove();
        // A change is written at once, without waiting for the pause.
        preferences.setValue(kOther, text(value));
        QCOMPARE(awaitValue(whyNotSaved(&preferences, {})), QString());
        QCOMPARE(object().value(kKey).toString(), QString::fromUtf8(value));
        QCOMPARE(clock.sleeperCount(), 0);
    }
}

void FilePreferencesTest::readingIsTriedAgainToo()
{
    FakeClock clock;
    QVERIFY(QDir().mkpath(m_path));
    FilePreferences preferences(m_path, &clock);
    QCOMPARE(clock.sleeperCount(), 1);
    QVERIFY(QDir().rmdir(m_path));
    write("{\"some.key\":true}");
    QVERIFY(clock.advanceToNextWake());
    QVERIFY(waitUntil([&] { return preferences.failure().isEmpty(); }));
    QVERIFY(preferences.boolean(kKey));
}

void FilePreferencesTest::theEndOfTheProgramTriesOnceMore()
{
    {
        FilePreferences preferences(m_path);
        const Obstacle obstacle(m_path);
        preferences.setValue(kKey, true);
        QVERIFY(!awaitValue(whyNotSaved(&preferences, {})).isEmpty());
        obstacle.remove();
    }
    QVERIFY(object().value(kKey).toBool());
}

void FilePreferencesTest::aDamagedFileThatCannotBeReplacedIsCopiedOnce()
{
    write("{ half");
    const QString result = inChild([&] {
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{16, 16};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        PreferencesUpdate work;
        work.changes.insert(kKey, QString(100, QLatin1Char('x')));
        for (int i = 0; i < 3; ++i)
            applyChanges(m_path, 0ms, work);
        return work.failure + work.damage;
    });
    QCOMPARE(result, QStringLiteral("Cannot write %1: File too large").arg(m_path));
    QCOMPARE(content(), QByteArray("{ half"));
    QCOMPARE(files(), (QStringList{QStringLiteral("preferences.json"), QStringLiteral("preferences.json.lock")}));
}

void FilePreferencesTest::whatIsSetAndSetBackWhileItIsWrittenSettles()
{
    FilePreferences preferences(m_path);
    preferences.setValue(kKey, text("one"));
    drainEvents();
    preferences.setValue(kKey, text("two"));
    preferences.setValue(kKey, text("one"));
    QCOMPARE(awaitValue(whyNotSaved(&preferences, {})), QString());
    QCOMPARE(object().value(kKey).toString(), QStringLiteral("one"));
}

void FilePreferencesTest::aStopEndsTheWaitForTheDisk()
{
    FilePreferences preferences(m_path);
    const auto lock = heldLock();
    QVERIFY(lock);
    preferences.setValue(kKey, true);
    std::stop_source stop;
    const auto waiting = start(whyNotSaved(&preferences, stop.get_token()));
    QVERIFY(!waiting->isDone);
    stop.request_stop();
    QVERIFY(waiting->failedWithType<CancellationError>());
}

void FilePreferencesTest::aFolderThatCannotBeWrittenLosesNothing()
{
    QFile obstacle(m_folder->filePath(QStringLiteral("obstacle")));
    QVERIFY(obstacle.open(QIODevice::WriteOnly));
    FilePreferences preferences(obstacle.fileName() + QLatin1String("/velmora/preferences.json"));
    QSignalSpy failureChanged(&preferences, &Preferences::failureChanged);
    preferences.setValue(kKey, text("kept"));
    QVERIFY(waitUntil([&] { return !failureChanged.isEmpty(); }));
    QVERIFY(preferences.failure().contains(QLatin1String("obstacle")));
    QVERIFY(preferences.value(kKey) == text("kept"));
}

void FilePreferencesTest::aLockHeldElsewhereIsWaitedFor()
{
    FilePreferences preferences(m_path);
    preferences.setValue(kKey, true);
    preferences.flush();
    auto lock = heldLock();
    QVERIFY(lock);
    QSignalSpy failureChanged(&preferences, &Preferences::failureChanged);
    preferences.setValue(kOther, true);
    // Meanwhile the event loop keeps running.
    int turns = 0;
    QVERIFY(waitUntil([&] { return ++turns > 3; }));
    QVERIFY(!object().contains(kOther));
    lock.reset();
    QVERIFY(waitUntil([&] { return object().contains(kOther); }));
    QCOMPARE(failureChanged.size(), 0);
}

void FilePreferencesTest::twoProcessesAddToAListAndOneAloneIsToldThatItDid()
{
    FilePreferences first(m_path);
    FilePreferences second(m_path);
    const auto one = start(first.changeLists({{kKey, {{QStringLiteral("b"), QStringLiteral("a")}, {}}}}));
    const auto two = start(second.changeLists({{kKey, {{QStringLiteral("b"), QStringLiteral("c")}, {}}}}));
    QVERIFY(waitUntil([&] { return one->isDone && two->isDone; }));
    const QStringList together = one->value->value(kKey).added + two->value->value(kKey).added;
    QCOMPARE(together.count(QStringLiteral("b")), 1);
    QCOMPARE(together.size(), 3);
    const QStringList expected{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
    QCOMPARE(FilePreferences(m_path).stringList(kKey), expected);
    QVERIFY(waitUntil([&] { return first.stringList(kKey) == expected && second.stringList(kKey) == expected; }));
    const auto removed = awaitValue(first.changeLists({{kKey, {{}, {QStringLiteral("a"), QStringLiteral("z")}}}}));
    QCOMPARE(removed.value(kKey).removed, QStringList(QStringLiteral("a")));
}

void FilePreferencesTest::aChangeOfAListIsSeenAtOnceAndAnnounced()
{
    FilePreferences preferences(m_path);
    const QSignalSpy changed(&preferences, &Preferences::changed);
    const auto change = start(preferences.changeLists({{kKey, {{QStringLiteral("a")}, {}}}, {kOther, {}}}));
    QCOMPARE(preferences.stringList(kKey), QStringList(QStringLiteral("a")));
    QVERIFY(preferences.isSaving());
    QVERIFY(preferences.value(kOther).has_value());
    QVERIFY(waitUntil([&] { return change->isDone; }));
    QCOMPARE(changed.size(), 2);
    QVERIFY(object().value(kOther).isArray());
    QCOMPARE(preferences.stringList(kKey), QStringList(QStringLiteral("a")));
    QCOMPARE(awaitValue(whyNotSaved(&preferences, {})), QString());
}

void FilePreferencesTest::aListKeepsWhatAnotherProcessHasPutThere()
{
    FilePreferences first(m_path);
    FilePreferences second(m_path);
    // `first` does not know the change of `second` when it writes.
    awaitValue(second.changeLists({{kKey, {{QStringLiteral("second")}, {}}}}));
    awaitValue(first.changeLists({{kKey, {{QStringLiteral("first")}, {}}}}));
    QCOMPARE(
        FilePreferences(m_path).stringList(kKey), (QStringList{QStringLiteral("first"), QStringLiteral("second")}));
}

void FilePreferencesTest::aChangeOfAListThatCannotBeStoredIsTriedAgain()
{
    FilePreferences preferences(m_path);
    awaitValue(preferences.changeLists({{kKey, {{QStringLiteral("a")}, {}}}}));
    const Obstacle obstacle(m_path);
    const auto known = awaitValue(preferences.changeLists({{kKey, {{QStringLiteral("a"), QStringLiteral("b")}, {}}}}));
    // Without a file to compare with, the addition counts as the caller's.
    QCOMPARE(known.value(kKey).added, QStringList(QStringLiteral("b")));
    QVERIFY(!preferences.failure().isEmpty());
    QCOMPARE(preferences.stringList(kKey), (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
    obstacle.remove();
    awaitValue(preferences.changeLists({{kKey, {{QStringLiteral("c")}, {}}}}));
    QCOMPARE(FilePreferences(m_path).stringList(kKey),
        (QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")}));
    QVERIFY(preferences.failure().isEmpty());
}

void FilePreferencesTest::changesOfListsAreOnTheDiskAfterTheEnd()
{
    auto preferences = std::make_unique<FilePreferences>(m_path);
    const auto change = start(preferences->changeLists({{kKey, {{QStringLiteral("a")}, {}}}}));
    preferences.reset();
    QVERIFY(change->isDone);
    QCOMPARE(FilePreferences(m_path).stringList(kKey), QStringList(QStringLiteral("a")));
}

void FilePreferencesTest::withoutAFileListsChangeInMemory()
{
    FilePreferences preferences{QString()};
    const auto first = awaitValue(preferences.changeLists({{kKey, {{QStringLiteral("a")}, {}}}}));
    QCOMPARE(first.value(kKey).added, QStringList(QStringLiteral("a")));
    const auto second = awaitValue(preferences.changeLists({{kKey, {{QStringLiteral("a")}, {}}}}));
    QCOMPARE(second.value(kKey).added, QStringList());
    QCOMPARE(preferences.stringList(kKey), QStringList(QStringLiteral("a")));
}

void FilePreferencesTest::everythingIsOnTheDiskAfterTheEnd()
{
    {
        FilePreferences preferences(m_path);
        for (int number = 0; number < 50; ++number)
            preferences.setValue(QString::number(number), QString::number(number));
    }
    QCOMPARE(object().size(), 50);
}

void FilePreferencesTest::thePreferencesMayBeDeletedByWhoListens()
{
    FilePreferences first(m_path);
    auto *second = new FilePreferences(m_path);
    const QPointer<FilePreferences> watched(second);
    const auto end = [second] {
        delete second;
    };
    connect(second, &Preferences::changed, this, end);
    first.setValue(kKey, true);
    first.setValue(kOther, true);
    QVERIFY(waitUntil([&] { return watched.isNull(); }));
}

VELMORA_TEST(FilePreferencesTest)
#include "file_preferences_test.moc"
