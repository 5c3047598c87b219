// SPDX-License-Identifier: MIT
#include "platform/file_preferences.h"

#include "support/await.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace velmora;
using namespace velmora::testing;

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
    void aFolderThatCannotBeWrittenLosesNothing();
    void aLockHeldElsewhereIsWaitedFor();
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

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;
};

void FilePreferencesTest::withoutAFileEverythingStaysInMemory()
{
    FilePreferences preferences{QString()};
    QCOMPARE(preferences.earlyFailures(),
        QStringList(QStringLiteral("There is no home folder: the settings are not kept.")));
    const QSignalSpy failures(&preferences, &FilePreferences::failed);
    preferences.setValue(kKey, true);
    preferences.flush();
    QVERIFY(preferences.boolean(kKey));
    QCOMPARE(failures.size(), 0);
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
    QVERIFY(preferences.earlyFailures().isEmpty());
}

void FilePreferencesTest::aValueIsSeenAtOnceAndAnnounced()
{
    FilePreferences preferences(m_path);
    QSignalSpy changed(&preferences, &Preferences::changed);
    preferences.setValue(kKey, true);
    QVERIFY(preferences.boolean(kKey));
    QCOMPARE(changed.size(), 1);
    QCOMPARE(changed.at(0).at(0).toString(), kKey);
    // The writing itself announces nothing more.
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
    // Not even its form has changed.
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
    // Who has the old file open still reads all of it, and nothing but the file and its lock's traces is left.
    QVERIFY(reader.readAll().contains("old"));
    QVERIFY(content().contains("new"));
    QCOMPARE(files(), QStringList{QStringLiteral("preferences.json")});
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
    QCOMPARE(preferences.earlyFailures().size(), 1);
    QVERIFY(preferences.earlyFailures().at(0).contains(m_path + QLatin1String(".damaged")));
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
        QCOMPARE(FilePreferences(m_path).earlyFailures().size(), 1);
    }
    QCOMPARE(files(),
        (QStringList{QStringLiteral("preferences.json.damaged"), QStringLiteral("preferences.json.damaged-2"),
            QStringLiteral("preferences.json.damaged-3")}));
}

void FilePreferencesTest::aFileDamagedWhileRunningIsRestored()
{
    FilePreferences preferences(m_path);
    preferences.setValue(kKey, text("precious"));
    preferences.flush();
    QSignalSpy failed(&preferences, &Preferences::failed);
    write("{ half a");
    QVERIFY(waitUntil([&] { return !failed.isEmpty(); }));
    QVERIFY(preferences.value(kKey) == text("precious"));
    QCOMPARE(object().value(kKey).toString(), QStringLiteral("precious"));
    QVERIFY(QFile::exists(m_path + QLatin1String(".damaged")));
}

void FilePreferencesTest::aFileThatCannotBeReadIsNeverOverwritten()
{
    // A folder in the place of the file cannot be read by anybody, whatever the permissions say.
    QVERIFY(QDir().mkpath(m_path));
    FilePreferences preferences(m_path);
    QCOMPARE(preferences.earlyFailures().size(), 1);
    QSignalSpy failed(&preferences, &Preferences::failed);
    preferences.setValue(kKey, true);
    preferences.flush();
    QCOMPARE(failed.size(), 1);
    QVERIFY(preferences.boolean(kKey));
    QVERIFY(QFileInfo(m_path).isDir());
    // As soon as it can be written again, nothing is lost.
    QVERIFY(QDir().rmdir(m_path));
    preferences.setValue(kOther, true);
    preferences.flush();
    QCOMPARE(object().keys(), (QStringList{kOther, kKey}));
}

void FilePreferencesTest::aFolderThatCannotBeWrittenLosesNothing()
{
    QFile obstacle(m_folder->filePath(QStringLiteral("obstacle")));
    QVERIFY(obstacle.open(QIODevice::WriteOnly));
    FilePreferences preferences(obstacle.fileName() + QLatin1String("/velmora/preferences.json"));
    QSignalSpy failed(&preferences, &Preferences::failed);
    preferences.setValue(kKey, text("kept"));
    QVERIFY(waitUntil([&] { return !failed.isEmpty(); }));
    QVERIFY(failed.at(0).at(0).toString().contains(QLatin1String("obstacle")));
    QVERIFY(preferences.value(kKey) == text("kept"));
}

void FilePreferencesTest::aLockHeldElsewhereIsWaitedFor()
{
    FilePreferences preferences(m_path);
    preferences.setValue(kKey, true);
    preferences.flush();
    QLockFile lock(m_path + QLatin1String(".lock"));
    QVERIFY(lock.tryLock(0));
    QSignalSpy failed(&preferences, &Preferences::failed);
    preferences.setValue(kOther, true);
    // The event loop runs on meanwhile.
    int turns = 0;
    QVERIFY(waitUntil([&] { return ++turns > 3; }));
    QVERIFY(!object().contains(kOther));
    lock.unlock();
    QVERIFY(waitUntil([&] { return object().contains(kOther); }));
    QCOMPARE(failed.size(), 0);
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

QTEST_GUILESS_MAIN(FilePreferencesTest)
#include "file_preferences_test.moc"
