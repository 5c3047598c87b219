// SPDX-License-Identifier: MIT
#include "platform/autostart_login_item.h"

#include "platform/current_desktops.h"
#include "platform/desktop_entry.h"
#include "platform/platform_error.h"
#include "platform/xdg_directories.h"
#include "support/background.h"
#include "support/private_file.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace velmora
{

namespace
{

constexpr qint64 kLargestEntry = 64 * 1024;

QString inFolder(const QString &folder)
{
    return folder + QStringLiteral("/com.tarvik.Velmora.desktop");
}

/// The entry, nullopt if the file is missing or malformed.
std::optional<DesktopEntry> readEntry(const QString &path)
{
    QFile file(path);
    // Opening another kind of file may block for ever.
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return DesktopEntry::parse(file.read(kLargestEntry));
}

std::optional<QString> systemEntry(const QStringList &folders)
{
    const auto found
        = std::ranges::find_if(folders, [](const QString &folder) { return QFileInfo::exists(inFolder(folder)); });
    return found == folders.end() ? std::nullopt : std::optional(inFolder(*found));
}

/// The file of the program's name or path, links resolved; empty if it cannot be started.
QString programFile(const QString &program)
{
    const QString found = QStandardPaths::findExecutable(program);
    return found.isEmpty() ? QString() : QFileInfo(found).canonicalFilePath();
}

/// Whether the entry is enabled in this session.
bool isWanted(const DesktopEntry &entry, const QStringList &desktops)
{
    return entry.string(QStringLiteral("Type")) == QStringLiteral("Application")
        && !entry.boolean(QStringLiteral("Hidden"), false)
        && entry.boolean(QStringLiteral("X-GNOME-Autostart-enabled"), true) && entry.isShownIn(desktops);
}

/// The program file that the entry starts, empty if that is impossible.
QString startedFile(const DesktopEntry &entry)
{
    const QString tried = entry.string(QStringLiteral("TryExec")).value_or(QString());
    if (!tried.isEmpty() && programFile(tried).isEmpty())
        return {};
    const auto arguments = splitExec(entry.string(QStringLiteral("Exec")).value_or(QString()));
    return arguments ? programFile(arguments->first()) : QString();
}

QByteArray entryFor(const QString &executable)
{
    const QStringList lines{QStringLiteral("[Desktop Entry]"), QStringLiteral("Type=Application"),
        QStringLiteral("Name=Velmora"), QStringLiteral("Comment=Watches GitHub deployments"),
        QStringLiteral("Icon=com.tarvik.Velmora"),
        QStringLiteral("Exec=") + joinExec({executable, QStringLiteral("--background")}),
        QStringLiteral("TryExec=") + escapeDesktopString(executable), QStringLiteral("Terminal=false"),
        QStringLiteral("StartupNotify=false"), QStringLiteral("X-GNOME-Autostart-enabled=true"), QString()};
    return lines.join(QLatin1Char('\n')).toUtf8();
}

QByteArray hidingEntry()
{
    return QByteArrayLiteral("[Desktop Entry]\nType=Application\nName=Velmora\nHidden=true\n");
}

void requireFolder(const QString &folder)
{
    if (folder.isEmpty())
        throw PlatformError(QStringLiteral("Velmora cannot tell where programs that start at login are kept: "
                                           "there is no home folder."));
}

void writeEntry(const QString &path, const QByteArray &content)
{
    // Some users disable an entry by a link to nothing or to a device. Remove it, since writing would follow it.
    const QFileInfo there(path);
    if (there.isSymLink() && !there.isFile())
        QFile::remove(path);
    writePrivateFile(path, content);
}

void write(const AutostartLoginItem::Options &options)
{
    requireFolder(options.userFolder);
    writeEntry(inFolder(options.userFolder), entryFor(options.executable));
}

void removeOrHide(const AutostartLoginItem::Options &options)
{
    requireFolder(options.userFolder);
    const QString path = inFolder(options.userFolder);
    if (systemEntry(options.systemFolders)) {
        writeEntry(path, hidingEntry());
        return;
    }
    QFile file(path);
    const bool isThere = file.exists() || QFileInfo(path).isSymLink();
    if (isThere && !file.remove())
        throw PlatformError(QStringLiteral("Cannot remove %1: %2").arg(path, file.errorString()));
}

} // namespace

AutostartLoginItem::Options AutostartLoginItem::optionsFor(const XDGDirectories &directories, const QString &executable)
{
    const auto besides = [](const QString &folder) {
        return folder.isEmpty() ? QString() : QFileInfo(folder).path() + QStringLiteral("/autostart");
    };
    Options options;
    options.executable = executable;
    options.userFolder = besides(directories.configuration);
    for (const QString &folder : directories.systemConfiguration)
        options.systemFolders.append(besides(folder));
    options.desktops = currentDesktops();
    return options;
}

AutostartLoginItem::AutostartLoginItem(Options options)
    : m_options(std::move(options))
{
}

LoginItemStatus AutostartLoginItem::status() const
{
    using enum LoginItemStatus;
    const QString own = inFolder(m_options.userFolder);
    const bool isOwn = !m_options.userFolder.isEmpty() && (QFileInfo::exists(own) || QFileInfo(own).isSymLink());
    const auto path = isOwn ? std::optional(own) : systemEntry(m_options.systemFolders);
    const auto entry = path ? readEntry(*path) : std::nullopt;
    if (!entry || !isWanted(*entry, m_options.desktops))
        return Disabled;
    const QString started = startedFile(*entry);
    // The administrator decides which program the system's entry starts.
    if (!isOwn)
        return started.isEmpty() ? Disabled : Enabled;
    return !started.isEmpty() && started == QFileInfo(m_options.executable).canonicalFilePath() ? Enabled : NeedsRepair;
}

QCoro::Task<> AutostartLoginItem::registerItem()
{
    const Options options = m_options;
    const auto turn = co_await m_turn.lock();
    auto work = [options] {
        write(options);
    };
    co_await runInBackground(QThreadPool::globalInstance(), std::move(work));
}

QCoro::Task<> AutostartLoginItem::unregisterItem()
{
    const Options options = m_options;
    const auto turn = co_await m_turn.lock();
    auto work = [options] {
        removeOrHide(options);
    };
    co_await runInBackground(QThreadPool::globalInstance(), std::move(work));
}

} // namespace velmora
