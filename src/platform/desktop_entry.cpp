// SPDX-License-Identifier: MIT
#include "platform/desktop_entry.h"

#include <QStringDecoder>

namespace velmora
{

namespace
{

/// The name of the group if the line is a group header, else nullopt.
std::optional<QString> groupIn(const QString &line)
{
    if (!line.startsWith(QLatin1Char('[')) || !line.endsWith(QLatin1Char(']')))
        return std::nullopt;
    const QString name = line.mid(1, line.size() - 2);
    const bool isName = !name.isEmpty() && !name.contains(QLatin1Char('[')) && !name.contains(QLatin1Char(']'));
    return isName ? std::optional(name) : std::nullopt;
}

bool isKey(const QString &key)
{
    const auto isAllowed = [](QChar c) {
        return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) || (c >= QLatin1Char('A') && c <= QLatin1Char('Z'))
            || (c >= QLatin1Char('0') && c <= QLatin1Char('9')) || c == QLatin1Char('-');
    };
    const auto bracket = key.indexOf(QLatin1Char('['));
    const QString name = key.left(bracket < 0 ? key.size() : bracket);
    const bool isLocaleClosed = bracket < 0 || (key.endsWith(QLatin1Char(']')) && key.size() > bracket + 2);
    return !name.isEmpty() && isLocaleClosed && std::ranges::all_of(name, isAllowed);
}

QChar unescaped(QChar c)
{
    switch (c.unicode()) {
    case 's':
        return QLatin1Char(' ');
    case 'n':
        return QLatin1Char('\n');
    case 't':
        return QLatin1Char('\t');
    case 'r':
        return QLatin1Char('\r');
    default:
        return c;
    }
}

bool hasEscape(QChar c)
{
    return QStringLiteral("sntr\\;").contains(c);
}

/// Resolves the escapes and splits at unescaped separators.
QStringList unescapedItems(const QString &value, std::optional<QChar> separator)
{
    QStringList items;
    QString item;
    for (qsizetype i = 0; i < value.size(); ++i) {
        const QChar c = value.at(i);
        if (c == QLatin1Char('\\') && i + 1 < value.size() && hasEscape(value.at(i + 1))) {
            item.append(unescaped(value.at(++i)));
        } else if (separator && c == *separator) {
            items.append(std::exchange(item, QString()));
        } else {
            item.append(c);
        }
    }
    // The last separator is optional.
    if (!separator || !item.isEmpty())
        items.append(item);
    return items;
}

} // namespace

std::optional<DesktopEntry> DesktopEntry::parse(const QByteArray &content)
{
    QStringDecoder decoder(QStringConverter::Utf8);
    const QString text = decoder(content);
    if (decoder.hasError() || text.contains(QChar(QChar::Null)))
        return std::nullopt;

    DesktopEntry entry;
    std::optional<QString> group;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (const QString &untrimmed : lines) {
        const QString line = untrimmed.trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        if (const auto next = groupIn(line)) {
            if (!group && *next != QLatin1String("Desktop Entry"))
                return std::nullopt;
            group = next;
            continue;
        }
        const auto equals = line.indexOf(QLatin1Char('='));
        const QString key = line.left(equals).trimmed();
        if (!group || equals < 0 || !isKey(key))
            return std::nullopt;
        if (*group == QLatin1String("Desktop Entry"))
            entry.m_values.insert(key, line.mid(equals + 1).trimmed());
    }
    return group ? std::optional(entry) : std::nullopt;
}

std::optional<QString> DesktopEntry::string(const QString &key) const
{
    const auto found = m_values.constFind(key);
    if (found == m_values.constEnd())
        return std::nullopt;
    return unescapedItems(*found, std::nullopt).first();
}

bool DesktopEntry::boolean(const QString &key, bool missing) const
{
    const QString value = m_values.value(key);
    // The digits are an old form that is still understood everywhere.
    if (value == QLatin1String("true") || value == QLatin1String("1"))
        return true;
    return value == QLatin1String("false") || value == QLatin1String("0") ? false : missing;
}

std::optional<QStringList> DesktopEntry::list(const QString &key) const
{
    const auto found = m_values.constFind(key);
    return found == m_values.constEnd() ? std::nullopt : std::optional(unescapedItems(*found, QLatin1Char(';')));
}

bool DesktopEntry::isShownIn(const QStringList &desktops) const
{
    const auto only = list(QStringLiteral("OnlyShowIn"));
    const auto never = list(QStringLiteral("NotShowIn"));
    for (const QString &desktop : desktops) {
        if (only && only->contains(desktop))
            return true;
        if (never && never->contains(desktop))
            return false;
    }
    return !only;
}

namespace
{

/// Reads the arguments of a command line whose string escapes are resolved.
class ExecReader
{
public:
    explicit ExecReader(QString exec)
        : m_exec(std::move(exec))
    {
    }

    std::optional<QStringList> read()
    {
        for (; m_next < m_exec.size(); ++m_next) {
            const QChar c = m_exec.at(m_next);
            if (m_isQuoted)
                readQuoted(c);
            else
                readBare(c);
        }
        endArgument();
        const bool isUsable = !m_isQuoted && !m_arguments.isEmpty() && !m_arguments.first().isEmpty();
        return isUsable ? std::optional(m_arguments) : std::nullopt;
    }

private:
    void readQuoted(QChar c)
    {
        if (c == QLatin1Char('"'))
            m_isQuoted = false;
        else if (c == QLatin1Char('\\') && hasNext() && QStringLiteral("\"`$\\").contains(m_exec.at(m_next + 1)))
            m_argument.append(m_exec.at(++m_next));
        else
            readPlain(c);
    }

    void readBare(QChar c)
    {
        if (c == QLatin1Char('"')) {
            m_isQuoted = true;
            m_hasArgument = true;
        } else if (c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n')) {
            endArgument();
        } else {
            readPlain(c);
        }
    }

    void readPlain(QChar c)
    {
        if (c != QLatin1Char('%') || !hasNext()) {
            m_argument.append(c);
            m_hasArgument = true;
            return;
        }
        // Other field codes stand for files and names, which a start at login does not have: drop them.
        if (m_exec.at(++m_next) == QLatin1Char('%')) {
            m_argument.append(QLatin1Char('%'));
            m_hasArgument = true;
        }
    }

    void endArgument()
    {
        if (m_hasArgument)
            m_arguments.append(std::exchange(m_argument, QString()));
        m_hasArgument = false;
    }

    [[nodiscard]] bool hasNext() const { return m_next + 1 < m_exec.size(); }

    QString m_exec;
    qsizetype m_next = 0;
    QStringList m_arguments;
    QString m_argument;
    bool m_hasArgument = false; ///< also for a quoted empty argument
    bool m_isQuoted = false;
};

/// Letters, digits and common characters of paths. Other arguments are quoted.
bool isPlainArgument(const QString &argument)
{
    const auto isPlain = [](QChar c) {
        return c.isLetterOrNumber() || QStringLiteral("/-_.,:+@").contains(c);
    };
    return !argument.isEmpty() && std::ranges::all_of(argument, isPlain);
}

QString quoted(const QString &argument)
{
    QString result;
    for (const QChar c : argument) {
        if (QStringLiteral("\"`$\\").contains(c))
            result.append(QLatin1Char('\\'));
        if (c == QLatin1Char('%'))
            result.append(c);
        result.append(c);
    }
    return QLatin1Char('"') + result + QLatin1Char('"');
}

} // namespace

std::optional<QStringList> splitExec(const QString &exec)
{
    return ExecReader(exec).read();
}

QString joinExec(const QStringList &arguments)
{
    QStringList words;
    for (const QString &argument : arguments)
        words.append(isPlainArgument(argument) ? argument : quoted(argument));
    return escapeDesktopString(words.join(QLatin1Char(' ')));
}

QString escapeDesktopString(const QString &text)
{
    QString result;
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '\\':
            result.append(QLatin1String("\\\\"));
            break;
        case '\n':
            result.append(QLatin1String("\\n"));
            break;
        case '\t':
            result.append(QLatin1String("\\t"));
            break;
        case '\r':
            result.append(QLatin1String("\\r"));
            break;
        default:
            result.append(c);
        }
    }
    return result;
}

} // namespace velmora
