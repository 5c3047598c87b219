// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

namespace velmora
{

/// The first group of a desktop entry file, as far as needed to start a program.
///
/// As strict as the strictest session manager: rejects a file that one of them ignores.
class DesktopEntry
{
public:
    /// Returns nullopt if the file is not UTF-8, does not begin with the group "Desktop Entry", or has a line that is
    /// not blank, a comment, a group or an assignment. The last occurrence of a key counts.
    [[nodiscard]] static std::optional<DesktopEntry> parse(const QByteArray &content);

    /// The value with its escapes resolved; nullopt if the key is missing. Ignores translations.
    [[nodiscard]] std::optional<QString> string(const QString &key) const;
    /// "true" or "false"; `missing` if the key is missing or has another value.
    [[nodiscard]] bool boolean(const QString &key, bool missing) const;
    /// The items of a semicolon-separated list; nullopt if the key is missing.
    [[nodiscard]] std::optional<QStringList> list(const QString &key) const;

    /// Whether the keys OnlyShowIn and NotShowIn allow the entry in a session of these desktops (the most specific
    /// first).
    [[nodiscard]] bool isShownIn(const QStringList &desktops) const;

private:
    QMap<QString, QString> m_values; ///< unparsed, with escapes
};

/// The arguments in a value of the key Exec, with %% resolved and other field codes dropped. Returns nullopt if a quote
/// is not closed or there is no program.
[[nodiscard]] std::optional<QStringList> splitExec(const QString &exec);

/// The value of the key Exec, escaped for the file, that passes exactly these arguments.
[[nodiscard]] QString joinExec(const QStringList &arguments);

/// The text, escaped for the file as a value of type string.
[[nodiscard]] QString escapeDesktopString(const QString &text);

} // namespace velmora
