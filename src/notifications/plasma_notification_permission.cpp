// SPDX-License-Identifier: MIT
#include "notifications/plasma_notification_permission.h"

#include "support/background.h"
#include "support/with_deadline.h"

#include <QFile>
#include <QStandardPaths>

#include <optional>

namespace velmora
{

namespace
{

/// In bytes. Real settings are smaller; the rest of a larger file is ignored.
constexpr qint64 kFileLimit = 1024 * 1024;

/// The switches in one file; absent if the file does not set them.
struct Switches {
    std::optional<bool> showsPopups;
    std::optional<bool> showsHistory;
};

/// Matches "[Applications][com.example.App]", also with flags such as "[$i]" behind it.
bool isGroupOf(const QByteArray &line, const QString &desktopEntry)
{
    const QByteArray group = "[Applications][" + desktopEntry.toUtf8() + ']';
    return line == group || line.startsWith(group + "[$");
}

std::optional<bool> booleanOf(const QByteArray &value)
{
    const QByteArray word = value.trimmed().toLower();
    if (word == "false" || word == "no" || word == "off" || word == "0")
        return false;
    if (word == "true" || word == "yes" || word == "on" || word == "1")
        return true;
    return std::nullopt;
}

void readEntry(const QByteArray &line, Switches &switches)
{
    const qsizetype equals = line.indexOf('=');
    if (equals < 0)
        return;
    QByteArray key = line.left(equals).trimmed();
    // A key may have flags, as in "ShowPopups[$i]".
    if (const qsizetype mark = key.indexOf("[$"); mark >= 0)
        key.truncate(mark);
    if (key == "ShowPopups")
        switches.showsPopups = booleanOf(line.mid(equals + 1));
    else if (key == "ShowInHistory")
        switches.showsHistory = booleanOf(line.mid(equals + 1));
}

Switches readSwitches(const QString &path, const QString &desktopEntry)
{
    Switches switches;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return switches;
    bool isOurs = false;
    for (const QByteArray &raw : file.read(kFileLimit).split('\n')) {
        const QByteArray line = raw.trimmed();
        if (line.startsWith('['))
            isOurs = isGroupOf(line, desktopEntry);
        else if (isOurs)
            readEntry(line, switches);
    }
    return switches;
}

bool isShown(const QStringList &files, const QString &desktopEntry)
{
    Switches effective;
    for (const QString &file : files) {
        const Switches here = readSwitches(file, desktopEntry);
        if (!effective.showsPopups)
            effective.showsPopups = here.showsPopups;
        if (!effective.showsHistory)
            effective.showsHistory = here.showsHistory;
    }
    return effective.showsPopups.value_or(true) || effective.showsHistory.value_or(true);
}

} // namespace

QCoro::Task<bool> PlasmaNotificationPermission::isGranted(QDeadlineTimer deadline)
{
    auto read = [files = m_files, desktopEntry = m_desktopEntry] {
        return isShown(files, desktopEntry);
    };
    const auto reading = startInBackground(QThreadPool::globalInstance(), std::move(read));
    const std::optional<bool> isGranted = co_await withDeadline(reading, deadline);
    co_return isGranted.value_or(true);
}

QStringList PlasmaNotificationPermission::defaultFiles()
{
    // Also those that do not exist: Plasma makes the user's with its first notification.
    QStringList files;
    for (const QString &folder : QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation))
        files.append(folder + QStringLiteral("/plasmanotifyrc"));
    return files;
}

} // namespace velmora
