// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

namespace velmora
{

/// The first group of a desktop entry file, as far as starting a program needs it.
///
/// As strict as the strictest session manager: a file that one of them passes over is not read here either.
class DesktopEntry
{
public:
    /// Nothing when the file is not UTF-8, does not begin with the group "Desktop Entry", or has a line that is
    /// neither blank, a comment, a group nor an assignment. Of a key that occurs twice the last one counts.
    [[nodiscard]] static std::optional<DesktopEntry> parse(const QByteArray &content);

    /// The value with its escapes resolved; nothing when the key is missing. A translation is not the value.
    [[nodiscard]] std::optional<QString> string(const QString &key) const;
    /// "true" or "false"; `missing` when the key is missing or holds anything else.
    [[nodiscard]] bool boolean(const QString &key, bool missing) const;
    /// The items of a list that is separated by semicolons; nothing when the key is missing.
    [[nodiscard]] std::optional<QStringList> list(const QString &key) const;

    /// Whether a session of these desktops (the most specific first) shows the entry: its keys OnlyShowIn and
    /// NotShowIn.
    [[nodiscard]] bool isShownIn(const QStringList &desktops) const;

private:
    QMap<QString, QString> m_values; ///< as written, escapes included
};

/// The arguments of a value of the key Exec, with %% resolved and other field codes left out. Nothing when a
/// quote is not closed or there is no program.
[[nodiscard]] std::optional<QStringList> splitExec(const QString &exec);

/// The value of the key Exec, escaped for the file, that starts exactly these arguments.
[[nodiscard]] QString joinExec(const QStringList &arguments);

/// The text escaped for the file as a value of type string.
[[nodiscard]] QString escapeDesktopString(const QString &text);

} // namespace velmora
