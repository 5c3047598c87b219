// SPDX-License-Identifier: MIT
#include "diagnostics/private_names.h"

#include <QDir>
#include <QRegularExpression>
#include <QStringList>

#include <optional>

namespace velmora
{

namespace
{

/// The path with "~" for the home folder; nothing if it is elsewhere.
std::optional<QString> fromHome(const QString &path, const QStringList &homes)
{
    for (const QString &home : homes) {
        if (path == home || path.startsWith(home + QLatin1Char('/')))
            return QLatin1Char('~') + path.mid(home.size());
    }
    return std::nullopt;
}

} // namespace

void PrivateNames::add(const QString &name, const QString &replacement)
{
    if (name.isEmpty())
        return;
    m_replacements.append({name, replacement});
    std::ranges::stable_sort(m_replacements, std::greater(), [](const auto &one) { return one.first.size(); });
}

QString PrivateNames::removedFrom(QString text) const
{
    static const QRegularExpression proxy(
        QStringLiteral("\\b(proxy) \\S+:[0-9]+"), QRegularExpression::CaseInsensitiveOption);
    text.replace(proxy, QStringLiteral("\\1"));
    for (const auto &[name, replacement] : m_replacements) {
        // A path may continue behind the name with a slash. A host must not continue with a dot, unless the dot ends
        // the sentence.
        const QRegularExpression alone(
            QStringLiteral("(?<![\\w.-])%1(?![\\w-]|\\.\\w)").arg(QRegularExpression::escape(name)),
            QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
        text.replace(alone, replacement);
    }
    return text;
}

QString pathFromHome(const QString &path, const QStringList &homes)
{
    // Other folders may be named after the user, too.
    return fromHome(path, homes).value_or(QStringLiteral("…/") + path.section(QLatin1Char('/'), -2));
}

QString folderFromHome(const QString &folder, const QStringList &homes)
{
    return fromHome(folder, homes).value_or(QStringLiteral("…/") + folder.section(QLatin1Char('/'), -1));
}

QStringList homesOfPerson()
{
    QStringList homes;
    const QString named = qEnvironmentVariable("HOME");
    if (!named.startsWith(QLatin1Char('/')))
        return homes;
    // The path as it is set, and with links resolved.
    for (const QString &home : {QDir::cleanPath(named), QDir(named).canonicalPath()}) {
        if (!home.isEmpty() && home != QLatin1String("/") && !homes.contains(home))
            homes.append(home);
    }
    return homes;
}

} // namespace velmora
