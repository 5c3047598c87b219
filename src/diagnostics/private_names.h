// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

#include <utility>

namespace velmora
{

/// Removes names from the texts of a report that must not be made public.
///
/// A name matches as a whole word, ignoring case: "corp.test" matches in "Host corp.test not found" and in
/// "corp.test:443", but not in "notcorp.test".
class PrivateNames
{
public:
    /// Ignores an empty name.
    void add(const QString &name, const QString &replacement);

    /// The text with every name replaced, and without the address after the word "proxy".
    [[nodiscard]] QString removedFrom(QString text) const;

private:
    QList<std::pair<QString, QString>> m_replacements; ///< longer names first
};

/// The path with "~" for the home folder; of a path elsewhere only the last two components.
[[nodiscard]] QString pathFromHome(const QString &path, const QStringList &homes);

/// The same for a folder; of a folder elsewhere only its own name, because the folders above may be named after the
/// user or a company.
[[nodiscard]] QString folderFromHome(const QString &folder, const QStringList &homes);

/// The home folder that the environment names, as set and with links resolved, without a slash at the end. Never "/".
[[nodiscard]] QStringList homesOfPerson();

} // namespace velmora
