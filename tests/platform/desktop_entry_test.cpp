// SPDX-License-Identifier: MIT
#include "platform/desktop_entry.h"

#include "support/test_main.h"

#include <QTest>

#include <gio/gio.h>

using namespace velmora;

namespace
{

const QByteArray kGroup = "[Desktop Entry]\n";

DesktopEntry entry(const QByteArray &lines)
{
    return DesktopEntry::parse(kGroup + lines).value();
}

/// The arguments after GLib has read the value from a file and split it.
QStringList splitByGLib(const QString &written)
{
    GKeyFile *file = g_key_file_new();
    const QByteArray content = kGroup + "Exec=" + written.toUtf8() + "\n";
    QStringList arguments;
    if (g_key_file_load_from_data(
            file, content.constData(), static_cast<gsize>(content.size()), G_KEY_FILE_NONE, nullptr)) {
        char *exec = g_key_file_get_string(file, "Desktop Entry", "Exec", nullptr);
        int count = 0;
        char **parsed = nullptr;
        if (exec && g_shell_parse_argv(exec, &count, &parsed, nullptr)) {
            for (int i = 0; i < count; ++i)
                arguments.append(QString::fromUtf8(parsed[i]).replace(QLatin1String("%%"), QLatin1String("%")));
        }
        g_strfreev(parsed);
        g_free(exec);
    }
    g_key_file_free(file);
    return arguments;
}

} // namespace

class DesktopEntryTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void filesThatCannotBeUnderstoodAreNoEntries_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("blank lines and comments only") << QByteArray("\n# comment\n\n");
        QTest::newRow("another group first") << QByteArray("[Other]\nA=b\n[Desktop Entry]\nType=Application\n");
        QTest::newRow("an assignment before the group") << QByteArray("Type=Application\n[Desktop Entry]\n");
        QTest::newRow("a line that assigns nothing") << kGroup + "garbage\n";
        QTest::newRow("no key") << kGroup + "=value\n";
        QTest::newRow("a key with a space") << kGroup + "Na me=value\n";
        QTest::newRow("a key with an underscore") << kGroup + "Na_me=value\n";
        QTest::newRow("a locale that is not closed") << kGroup + "Name[de=value\n";
        QTest::newRow("an empty locale") << kGroup + "Name[]=value\n";
        QTest::newRow("a locale alone") << kGroup + "[de]x=value\n";
        QTest::newRow("a group that is not closed") << QByteArray("[Desktop Entry\nType=Application\n");
        QTest::newRow("a group without a name") << QByteArray("[]\nType=Application\n");
        QTest::newRow("a group in brackets") << QByteArray("[[Desktop Entry]]\nType=Application\n");
        QTest::newRow("garbage in a later group") << kGroup + "Type=Application\n[Other]\ngarbage\n";
        QTest::newRow("not UTF-8") << kGroup + "Name=\xff\xfe\n";
        QTest::newRow("a zero byte") << kGroup + QByteArray("Name=a\0b\n", 9);
        QTest::newRow("an image") << QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
    }
    void filesThatCannotBeUnderstoodAreNoEntries()
    {
        QFETCH(QByteArray, content);
        QVERIFY(!DesktopEntry::parse(content));
    }

    void valuesAreFound_data()
    {
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<QString>("name");
        const QString plain = QStringLiteral("Velmora");
        QTest::newRow("plain") << QByteArray("Name=Velmora\n") << plain;
        QTest::newRow("no end of line") << QByteArray("Name=Velmora") << plain;
        QTest::newRow("spaces around") << QByteArray("  Name \t=  Velmora  \n") << plain;
        QTest::newRow("ends of line of other systems") << QByteArray("Type=Application\r\nName=Velmora\r\n") << plain;
        QTest::newRow("comments and blank lines") << QByteArray("# Name=x\n\n  # y\nName=Velmora\n") << plain;
        QTest::newRow("twice") << QByteArray("Name=first\nName=Velmora\n") << plain;
        QTest::newRow("the group twice") << QByteArray("Name=first\n[Other]\nName=x\n[Desktop Entry]\nName=Velmora\n")
                                         << plain;
        QTest::newRow("another group") << QByteArray("Name=Velmora\n[Desktop Action new]\nName=Other\n") << plain;
        QTest::newRow("translations") << QByteArray("Name[de]=x\nName=Velmora\nName[sr@latin]=y\nName[pt_BR]=z\n")
                                      << plain;
        QTest::newRow("an equals sign") << QByteArray("Name=a=b\n") << QStringLiteral("a=b");
        QTest::newRow("a number sign") << QByteArray("Name=a # b\n") << QStringLiteral("a # b");
        QTest::newRow("escapes") << QByteArray("Name=\\sa\\nb\\tc\\rd\\\\e\\;f\n")
                                 << QStringLiteral(" a\nb\tc\rd\\e;f");
        QTest::newRow("an escaped backslash before an n") << QByteArray("Name=a\\\\nb\n") << QStringLiteral("a\\nb");
        QTest::newRow("no escape") << QByteArray("Name=a\\qb\\\n") << QStringLiteral("a\\qb\\");
        QTest::newRow("letters of the world")
            << QByteArray("Name=V\u00e9lmora \u2192\n") << QStringLiteral("V\u00e9lmora \u2192");
        QTest::newRow("empty") << QByteArray("Name=\n") << QStringLiteral("");
    }
    void valuesAreFound()
    {
        QFETCH(QByteArray, lines);
        QTEST(entry(lines).string(QStringLiteral("Name")).value(), "name");
    }

    void aMissingKeyOrOneThatIsOnlyTranslatedHasNoValue()
    {
        const auto without = entry("Name[de]=x\n");
        QCOMPARE(without.string(QStringLiteral("Name")), std::nullopt);
        QCOMPARE(without.list(QStringLiteral("Name")), std::nullopt);
        QVERIFY(without.boolean(QStringLiteral("Name"), true));
        QVERIFY(!without.boolean(QStringLiteral("Name"), false));
    }

    void booleans_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<std::optional<bool>>("value");
        QTest::newRow("true") << QByteArray("true") << std::optional(true);
        QTest::newRow("false") << QByteArray("false") << std::optional(false);
        QTest::newRow("1") << QByteArray("1") << std::optional(true);
        QTest::newRow("0") << QByteArray("0") << std::optional(false);
        QTest::newRow("True") << QByteArray("True") << std::optional<bool>();
        QTest::newRow("yes") << QByteArray("yes") << std::optional<bool>();
        QTest::newRow("empty") << QByteArray() << std::optional<bool>();
    }
    void booleans()
    {
        QFETCH(QByteArray, text);
        QFETCH(std::optional<bool>, value);
        const auto parsed = entry("Hidden=" + text + "\n");
        QCOMPARE(parsed.boolean(QStringLiteral("Hidden"), true), value.value_or(true));
        QCOMPARE(parsed.boolean(QStringLiteral("Hidden"), false), value.value_or(false));
    }

    void lists_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QStringList>("items");
        QTest::newRow("one") << QByteArray("GNOME;") << QStringList{QStringLiteral("GNOME")};
        QTest::newRow("two without the last separator")
            << QByteArray("GNOME;KDE") << QStringList{QStringLiteral("GNOME"), QStringLiteral("KDE")};
        QTest::newRow("escaped separator")
            << QByteArray("a\\;b;c;") << QStringList{QStringLiteral("a;b"), QStringLiteral("c")};
        QTest::newRow("an empty item") << QByteArray(";a;") << QStringList{QString(), QStringLiteral("a")};
        QTest::newRow("empty") << QByteArray() << QStringList();
    }
    void lists()
    {
        QFETCH(QByteArray, text);
        QTEST(entry("OnlyShowIn=" + text + "\n").list(QStringLiteral("OnlyShowIn")).value(), "items");
    }

    void desktopsDecideWhoIsShown_data()
    {
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<QString>("desktops");
        QTest::addColumn<bool>("isShown");
        const auto row = [](const char *name, const char *lines, const char *desktops, bool isShown) {
            QTest::newRow(name) << QByteArray(lines) << QString::fromLatin1(desktops) << isShown;
        };
        row("no rule", "", "GNOME", true);
        row("no rule, no desktop", "", "", true);
        row("only here", "OnlyShowIn=GNOME;\n", "GNOME", true);
        row("only elsewhere", "OnlyShowIn=KDE;\n", "GNOME", false);
        row("only somewhere, no desktop", "OnlyShowIn=KDE;\n", "", false);
        row("never here", "NotShowIn=GNOME;KDE;\n", "KDE", false);
        row("never elsewhere", "NotShowIn=KDE;\n", "GNOME", true);
        row("never somewhere, no desktop", "NotShowIn=KDE;\n", "", true);
        row("only in the more general one", "OnlyShowIn=GNOME;\n", "ubuntu:GNOME", true);
        row("the more specific one decides: never", "OnlyShowIn=GNOME;\nNotShowIn=ubuntu;\n", "ubuntu:GNOME", false);
        row("the more specific one decides: only", "OnlyShowIn=ubuntu;\nNotShowIn=GNOME;\n", "ubuntu:GNOME", true);
        row("names are exact", "OnlyShowIn=gnome;\n", "GNOME", false);
        row("only in none", "OnlyShowIn=\n", "GNOME", false);
    }
    void desktopsDecideWhoIsShown()
    {
        QFETCH(QByteArray, lines);
        QFETCH(QString, desktops);
        QTEST(entry(lines).isShownIn(desktops.split(QLatin1Char(':'), Qt::SkipEmptyParts)), "isShown");
    }

    void commandLinesAreSplit_data()
    {
        QTest::addColumn<QString>("exec");
        QTest::addColumn<QStringList>("arguments");
        const auto row = [](const char *name, const char *exec, const QList<const char *> &expected) {
            QStringList arguments;
            for (const char *argument : expected)
                arguments.append(QString::fromUtf8(argument));
            QTest::newRow(name) << QString::fromUtf8(exec) << arguments;
        };
        row("plain", "/usr/bin/velmora --background", {"/usr/bin/velmora", "--background"});
        row("spaces", "  a \t b  ", {"a", "b"});
        row("quotes", "\"/opt/my apps/velmora\" -x", {"/opt/my apps/velmora", "-x"});
        row("quotes in the middle", "/opt/\"my apps\"/velmora", {"/opt/my apps/velmora"});
        row("escapes within quotes", "\"a\\\"b\\`c\\$d\\\\e\\f\"", {"a\"b`c$d\\e\\f"});
        row("an empty argument", "a \"\" b", {"a", "", "b"});
        row("field codes", "a %u %F b%%c %", {"a", "b%c", "%"});
        row("a field code at the end of a word", "a b%k", {"a", "b"});
        row("nothing", "", {});
        row("nothing but spaces", "   ", {});
        row("an open quote", "a \"b", {});
        row("no program", "\"\" b", {});
        row("only a field code", "%u", {});
    }
    void commandLinesAreSplit()
    {
        QFETCH(QString, exec);
        QTEST(splitExec(exec).value_or(QStringList()), "arguments");
    }

    void whatIsJoinedIsReadBackHereAndByOthers_data()
    {
        QTest::addColumn<QString>("program");
        const auto row = [](const char *name, const char *program) {
            QTest::newRow(name) << QString::fromUtf8(program);
        };
        row("plain", "/usr/bin/velmora");
        row("space", "/opt/my apps/velmora");
        row("percent", "/opt/100%/%u/velmora");
        row("dollar", "/opt/$HOME/${x}/velmora");
        row("double quote", "/opt/\"a\"/velmora");
        row("single quote", "/opt/it's/velmora");
        row("backslash", "/opt/a\\b\\\\c\\n/velmora");
        row("backtick", "/opt/`id`/velmora");
        row("everything reserved", "/o ><~|&;*?#()=[]{}!^/v");
        row("tab and line feed", "/opt/a\tb\nc/velmora");
        row("letters of the world", "/home/zo\u00eb/\u65e5\u672c/velmora");
        row("empty", "");
    }
    void whatIsJoinedIsReadBackHereAndByOthers()
    {
        QFETCH(QString, program);
        const QStringList arguments{QStringLiteral("env"), program, QStringLiteral("--background")};
        const QString written = joinExec(arguments);
        QVERIFY(!written.contains(QLatin1Char('\n')));
        const auto parsed = entry("Exec=" + written.toUtf8() + "\n");
        QCOMPARE(splitExec(parsed.string(QStringLiteral("Exec")).value()).value(), arguments);
        QCOMPARE(splitByGLib(written), arguments);
    }

    void anOrdinaryPathIsWrittenWithoutQuotes()
    {
        QCOMPARE(joinExec({QStringLiteral("/usr/bin/velmora"), QStringLiteral("--background")}),
            QStringLiteral("/usr/bin/velmora --background"));
    }

    void stringsAreReadBack()
    {
        const QString text = QStringLiteral("a\\b\\nc\td\ne\rf%g\"h");
        QCOMPARE(
            entry("TryExec=" + escapeDesktopString(text).toUtf8() + "\n").string(QStringLiteral("TryExec")).value(),
            text);
    }
};

VELMORA_TEST(DesktopEntryTest)
#include "desktop_entry_test.moc"
