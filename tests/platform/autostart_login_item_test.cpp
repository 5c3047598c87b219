// SPDX-License-Identifier: MIT
#include "platform/autostart_login_item.h"

#include "platform/desktop_entry.h"
#include "platform/xdg_directories.h"
#include "support/await.h"
#include "support/test_main.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <gio/gdesktopappinfo.h>

using namespace velmora;
using namespace velmora::testing;

Q_DECLARE_METATYPE(velmora::LoginItemStatus)

namespace
{

constexpr auto kFile = "com.tarvik.Velmora.desktop";
constexpr auto kGenerator = "/usr/lib/systemd/user-generators/systemd-xdg-autostart-generator";

void write(const QString &path, const QByteArray &content)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class AutostartLoginItemTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_options = {};
        m_options.executable = installProgram(QStringLiteral("velmora"));
        m_options.userFolder = m_folder->filePath(QStringLiteral("user"));
        m_options.systemFolders
            = {m_folder->filePath(QStringLiteral("first")), m_folder->filePath(QStringLiteral("second"))};
        m_options.desktops = {QStringLiteral("ubuntu"), QStringLiteral("GNOME")};
    }

    void withoutAnEntryItIsDisabled() { QCOMPARE(item().status(), LoginItemStatus::Disabled); }

    void registeringEnablesIt()
    {
        awaitValue(item().registerItem());
        QCOMPARE(item().status(), LoginItemStatus::Enabled);
        const auto entry = DesktopEntry::parse(read(userFile())).value();
        const auto value = [&](const char *key) {
            return entry.string(QString::fromLatin1(key)).value_or(QString());
        };
        QCOMPARE(value("Type"), QStringLiteral("Application"));
        QCOMPARE(value("Name"), QStringLiteral("Velmora"));
        QCOMPARE(value("Icon"), QStringLiteral("com.tarvik.Velmora"));
        QCOMPARE(value("TryExec"), m_options.executable);
        QCOMPARE(value("Terminal"), QStringLiteral("false"));
        QCOMPARE(value("X-GNOME-Autostart-enabled"), QStringLiteral("true"));
        QCOMPARE(splitExec(value("Exec")).value(), (QStringList{m_options.executable, QStringLiteral("--background")}));
    }

    void unregisteringDeletesTheEntry()
    {
        awaitValue(item().registerItem());
        awaitValue(item().unregisterItem());
        QVERIFY(!QFile::exists(userFile()));
        QCOMPARE(item().status(), LoginItemStatus::Disabled);
        awaitValue(item().unregisterItem());
    }

    void whatWasAskedLastIsDoneLast()
    {
        AutostartLoginItem login = item();
        const auto first = start(login.registerItem());
        const auto second = start(login.unregisterItem());
        const auto third = start(login.registerItem());
        const auto fourth = start(login.unregisterItem());
        QVERIFY(waitUntil([&] { return first->isDone && second->isDone && third->isDone && fourth->isDone; }));
        QCOMPARE(login.status(), LoginItemStatus::Disabled);
    }

    void anOperationOutlivesTheItem()
    {
        auto login = std::make_unique<AutostartLoginItem>(m_options);
        const auto registering = start(login->registerItem());
        login.reset();
        QVERIFY(waitUntil([&] { return registering->isDone; }));
        QCOMPARE(item().status(), LoginItemStatus::Enabled);
    }

    void theEntryDecidesWhatHappensAtLogin_data()
    {
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<LoginItemStatus>("status");
        using enum LoginItemStatus;
        const auto row = [](const char *name, const char *lines, LoginItemStatus status) {
            QTest::newRow(name) << QByteArray(lines) << status;
        };
        row("plain", "Type=Application\nExec=OWN\n", Enabled);
        row("other arguments", "Type=Application\nExec=OWN --verbose\n", Enabled);
        row("a link to the program", "Type=Application\nExec=LINK --background\n", Enabled);
        row("found in PATH", "Type=Application\nExec=velmora\n", Enabled);
        row("not hidden", "Type=Application\nExec=OWN\nHidden=false\n", Enabled);
        row("hidden", "Type=Application\nExec=OWN\nHidden=true\n", Disabled);
        row("on for GNOME", "Type=Application\nExec=OWN\nX-GNOME-Autostart-enabled=true\n", Enabled);
        row("off for GNOME", "Type=Application\nExec=OWN\nX-GNOME-Autostart-enabled=false\n", Disabled);
        row("only here", "Type=Application\nExec=OWN\nOnlyShowIn=GNOME;KDE;\n", Enabled);
        row("only elsewhere", "Type=Application\nExec=OWN\nOnlyShowIn=KDE;\n", Disabled);
        row("not here", "Type=Application\nExec=OWN\nNotShowIn=ubuntu;\n", Disabled);
        row("not elsewhere", "Type=Application\nExec=OWN\nNotShowIn=KDE;\n", Enabled);
        row("the tried program is there", "Type=Application\nExec=OWN\nTryExec=OWN\n", Enabled);
        row("the tried program is missing", "Type=Application\nExec=OWN\nTryExec=/nowhere/velmora\n", NeedsRepair);
        row("the tried program is in PATH", "Type=Application\nExec=OWN\nTryExec=velmora\n", Enabled);
        row("an empty program to try", "Type=Application\nExec=OWN\nTryExec=\n", Enabled);
        row("another program", "Type=Application\nExec=OTHER --background\n", NeedsRepair);
        row("a program that is gone", "Type=Application\nExec=/nowhere/velmora --background\n", NeedsRepair);
        row("a program that may not be started", "Type=Application\nExec=PLAIN\n", NeedsRepair);
        row("no command", "Type=Application\n", NeedsRepair);
        row("a command that is not closed", "Type=Application\nExec=\"OWN\n", NeedsRepair);
        row("another program, but hidden", "Type=Application\nExec=OTHER\nHidden=true\n", Disabled);
        row("another type", "Type=Link\nExec=OWN\n", Disabled);
        row("no type", "Exec=OWN\n", Disabled);
        row("garbage", "Type=Application\nExec=OWN\ngarbage\n", Disabled);
    }
    void theEntryDecidesWhatHappensAtLogin()
    {
        QFETCH(QByteArray, lines);
        const QString other = installProgram(QStringLiteral("other"));
        const QString plain = m_folder->filePath(QStringLiteral("bin/plain"));
        write(plain, "#!/bin/sh\n");
        const QString link = m_folder->filePath(QStringLiteral("bin/link"));
        QVERIFY(QFile::link(m_options.executable, link));
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(m_folder->filePath(QStringLiteral("bin"))) + ":" + path);
        lines.replace("OWN", QFile::encodeName(m_options.executable)).replace("OTHER", QFile::encodeName(other));
        lines.replace("LINK", QFile::encodeName(link)).replace("PLAIN", QFile::encodeName(plain));
        write(userFile(), "[Desktop Entry]\n" + lines);
        const auto status = item().status();
        qputenv("PATH", path);
        QTEST(status, "status");
    }

    void filesThatAreNoneDisableIt()
    {
        write(userFile(), "");
        QCOMPARE(item().status(), LoginItemStatus::Disabled);
        QVERIFY(QFile::remove(userFile()));
        QVERIFY(QDir().mkpath(userFile()));
        QCOMPARE(item().status(), LoginItemStatus::Disabled);
    }

    void registeringRepairsAnEntryThatPointsElsewhere()
    {
        write(userFile(), "[Desktop Entry]\nType=Application\nExec=/nowhere/velmora\n");
        QCOMPARE(item().status(), LoginItemStatus::NeedsRepair);
        awaitValue(item().registerItem());
        QCOMPARE(item().status(), LoginItemStatus::Enabled);
    }

    void theEntryOfTheMachineCounts_data()
    {
        QTest::addColumn<QByteArray>("first");
        QTest::addColumn<QByteArray>("second");
        QTest::addColumn<LoginItemStatus>("status");
        const QByteArray on = "[Desktop Entry]\nType=Application\nExec=/bin/sh\n";
        const QByteArray off = on + "Hidden=true\n";
        const QByteArray gone = "[Desktop Entry]\nType=Application\nExec=/nowhere/velmora\n";
        QTest::newRow("on") << QByteArray() << on << LoginItemStatus::Enabled;
        QTest::newRow("off") << QByteArray() << off << LoginItemStatus::Disabled;
        QTest::newRow("its program is gone") << gone << QByteArray() << LoginItemStatus::Disabled;
        QTest::newRow("the first one masks the second") << off << on << LoginItemStatus::Disabled;
        QTest::newRow("the other way round") << on << off << LoginItemStatus::Enabled;
    }
    void theEntryOfTheMachineCounts()
    {
        QFETCH(QByteArray, first);
        QFETCH(QByteArray, second);
        if (!first.isEmpty())
            write(systemFile(0), first);
        if (!second.isEmpty())
            write(systemFile(1), second);
        QTEST(item().status(), "status");
    }

    void thePersonsEntryMasksThatOfTheMachine()
    {
        write(systemFile(0), "[Desktop Entry]\nType=Application\nExec=/bin/sh\n");
        write(userFile(), "[Desktop Entry]\nType=Application\nHidden=true\n");
        QCOMPARE(item().status(), LoginItemStatus::Disabled);
        awaitValue(item().registerItem());
        QCOMPARE(item().status(), LoginItemStatus::Enabled);
    }

    void unregisteringHidesTheEntryOfTheMachine()
    {
        const QByteArray theirs = "[Desktop Entry]\nType=Application\nExec=/bin/sh\n";
        write(systemFile(1), theirs);
        QCOMPARE(item().status(), LoginItemStatus::Enabled);
        awaitValue(item().unregisterItem());
        QCOMPARE(item().status(), LoginItemStatus::Disabled);
        QVERIFY(DesktopEntry::parse(read(userFile())).value().boolean(QStringLiteral("Hidden"), false));
        QCOMPARE(read(systemFile(1)), theirs);
    }

    void aLinkToNothingIsReplacedAndNotFollowed()
    {
        const QString target = m_folder->filePath(QStringLiteral("target"));
        QVERIFY(QDir().mkpath(m_options.userFolder));
        QVERIFY(QFile::link(target, userFile()));
        QCOMPARE(item().status(), LoginItemStatus::Disabled);
        awaitValue(item().registerItem());
        QVERIFY(!QFile::exists(target));
        QVERIFY(!QFileInfo(userFile()).isSymLink());
        QCOMPARE(item().status(), LoginItemStatus::Enabled);
    }

    void aLinkToNothingIsDeletedByUnregistering()
    {
        QVERIFY(QDir().mkpath(m_options.userFolder));
        QVERIFY(QFile::link(m_folder->filePath(QStringLiteral("target")), userFile()));
        awaitValue(item().unregisterItem());
        QVERIFY(!QFileInfo(userFile()).isSymLink());
    }

    void withoutAHomeNothingCanBeRegistered()
    {
        m_options.userFolder.clear();
        QCOMPARE(item().status(), LoginItemStatus::Disabled);
        QVERIFY(await(item().registerItem()).description().contains(QLatin1String("no home folder")));
        QVERIFY(await(item().unregisterItem()).description().contains(QLatin1String("no home folder")));
    }

    void aFileThatCannotBeWrittenIsReported()
    {
        write(m_options.userFolder, "a file where the folder should be");
        QVERIFY(!await(item().registerItem()).description().isEmpty());
        QCOMPARE(item().status(), LoginItemStatus::Disabled);
    }

    void aFileThatCannotBeDeletedIsReported()
    {
        // Not even root can delete a folder with contents like a file.
        write(userFile() + QStringLiteral("/content"), "x");
        const auto outcome = await(item().unregisterItem());
        QVERIFY2(outcome.description().contains(userFile()), qPrintable(outcome.description()));
    }

    void theFoldersAreBesideTheConfiguration()
    {
        XDGDirectories directories;
        directories.configuration = QStringLiteral("/home/a/.config/velmora");
        directories.systemConfiguration
            = {QStringLiteral("/etc/xdg/xdg-b/velmora"), QStringLiteral("/etc/xdg/velmora")};
        qputenv("XDG_CURRENT_DESKTOP", "ubuntu::GNOME");
        const auto options = AutostartLoginItem::optionsFor(directories, QStringLiteral("/usr/bin/velmora"));
        qunsetenv("XDG_CURRENT_DESKTOP");
        QCOMPARE(options.executable, QStringLiteral("/usr/bin/velmora"));
        QCOMPARE(options.userFolder, QStringLiteral("/home/a/.config/autostart"));
        QCOMPARE(options.systemFolders,
            (QStringList{QStringLiteral("/etc/xdg/xdg-b/autostart"), QStringLiteral("/etc/xdg/autostart")}));
        QCOMPARE(options.desktops, (QStringList{QStringLiteral("ubuntu"), QStringLiteral("GNOME")}));
        QVERIFY(AutostartLoginItem::optionsFor({}, QString()).userFolder.isEmpty());
    }

    void othersStartWhatWasWritten_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::newRow("plain") << QStringLiteral("plain");
        QTest::newRow("space") << QStringLiteral("my programs");
        // A percent sign is not tested: GLib looks for the program before it resolves the doubled one, and finds none.
        QTest::newRow("dollar") << QStringLiteral("$HOME ${x}");
        QTest::newRow("quotes") << QStringLiteral("it's \"so\"");
        QTest::newRow("backslash") << QStringLiteral("a\\b\\\\c\\n");
        QTest::newRow("shell") << QStringLiteral("`id`;#&|<>*?()~");
    }
    /// GLib reads the entry and really starts the program, whose path needs escaping.
    void othersStartWhatWasWritten()
    {
        QFETCH(QString, folder);
        m_options.executable = installProgram(folder + QStringLiteral("/velmora"));
        awaitValue(item().registerItem());
        QCOMPARE(item().status(), LoginItemStatus::Enabled);
        const QString outcome = m_folder->filePath(QStringLiteral("outcome"));
        qputenv("VELMORA_TEST_OUTCOME", QFile::encodeName(outcome));
        GDesktopAppInfo *info = g_desktop_app_info_new_from_filename(QFile::encodeName(userFile()).constData());
        QVERIFY(info);
        const bool isStarted = g_app_info_launch(G_APP_INFO(info), nullptr, nullptr, nullptr) != FALSE;
        g_object_unref(info);
        QVERIFY(isStarted);
        QVERIFY(waitUntil([&] { return QFile::exists(outcome); }));
        QCOMPARE(read(outcome), QFile::encodeName(m_options.executable) + "\n1\n--background\n");
    }

    /// Feeds the entry to systemd's generator, if that is installed.
    void systemdMakesAUnitOfIt()
    {
        if (!QFile::exists(QString::fromLatin1(kGenerator)))
            QSKIP("systemd's generator is not installed");
        QVERIFY(generatedUnits().isEmpty());
        awaitValue(item().registerItem());
        const QStringList units = generatedUnits();
        QCOMPARE(units.size(), 1);
        QVERIFY(read(units.first()).contains(QFile::encodeName(m_options.executable)));
        write(systemFile(0), read(userFile()));
        awaitValue(item().unregisterItem());
        QVERIFY(generatedUnits().isEmpty());
    }

private:
    AutostartLoginItem item() const { return AutostartLoginItem(m_options); }
    QString userFile() const { return m_options.userFolder + QLatin1Char('/') + QLatin1String(kFile); }
    QString systemFile(int index) const
    {
        return m_options.systemFolders.at(index) + QLatin1Char('/') + QLatin1String(kFile);
    }

    /// Installs a script that reports how it was started.
    QString installProgram(const QString &name)
    {
        const QString path = m_folder->filePath(QStringLiteral("bin/") + name);
        write(path,
            "#!/bin/sh\nprintf '%s\\n' \"$0\" \"$#\" \"$@\" >\"$VELMORA_TEST_OUTCOME.new\"\n"
            "mv \"$VELMORA_TEST_OUTCOME.new\" \"$VELMORA_TEST_OUTCOME\"\n");
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }

    /// The unit files that systemd's generator writes for the folders of this test.
    QStringList generatedUnits()
    {
        const QDir configuration(m_folder->filePath(QStringLiteral("xdg")));
        const QDir machine(m_folder->filePath(QStringLiteral("machine")));
        const QDir output(m_folder->filePath(QStringLiteral("units")));
        QDir(output).removeRecursively();
        for (const QDir &folder : {configuration, machine, output})
            QDir().mkpath(folder.path());
        QFile::link(m_options.userFolder, configuration.filePath(QStringLiteral("autostart")));
        QFile::link(m_options.systemFolders.first(), machine.filePath(QStringLiteral("autostart")));
        QProcess generator;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), configuration.path());
        environment.insert(QStringLiteral("XDG_CONFIG_DIRS"), machine.path());
        generator.setProcessEnvironment(environment);
        generator.start(QString::fromLatin1(kGenerator), {output.path(), output.path(), output.path()});
        generator.waitForFinished();
        QStringList units;
        const auto found = output.entryInfoList({QStringLiteral("app-*.service")}, QDir::Files | QDir::NoSymLinks);
        for (const QFileInfo &unit : found)
            units.append(unit.filePath());
        return units;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    AutostartLoginItem::Options m_options;
};

VELMORA_TEST(AutostartLoginItemTest)
#include "autostart_login_item_test.moc"
