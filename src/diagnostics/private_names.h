// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

#include <utility>

namespace velmora
{

/// Names that a report must not tell, though the texts of failures hold them.
///
/// A name counts where it stands alone, in any case of letters: "corp.test" is found in "Host corp.test not found" and
/// in "corp.test:443", but not in "notcorp.test".
class PrivateNames
{
public:
    /// Nothing is added for an empty name.
    void add(const QString &name, const QString &replacement);

    /// The text with every name replaced, and without the address of a proxy that stands behind the word "proxy".
    [[nodiscard]] QString removedFrom(QString text) const;

private:
    QList<std::pair<QString, QString>> m_replacements; ///< longer names first
};

/// The path with "~" for a home folder that it begins with; of a path elsewhere only the end.
[[nodiscard]] QString pathFromHome(const QString &path, const QStringList &homes);

/// The path of a folder in the same way; of one elsewhere only its own name, since what is above it may be named after
/// the person or the company.
[[nodiscard]] QString folderFromHome(const QString &folder, const QStringList &homes);

/// The names of the home folder that the environment tells, without a slash at the end. Never "/".
[[nodiscard]] QStringList homesOfPerson();

} // namespace velmora
