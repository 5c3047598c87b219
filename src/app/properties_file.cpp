// SPDX-License-Identifier: MIT
#include "app/properties_file.h"

#include <QStringDecoder>

namespace velmora
{

namespace
{

[[noreturn]] void fail(const QString &name, qsizetype line, const QString &reason)
{
    throw ConfigurationError(QStringLiteral("%1, line ") + QString::number(line) + QStringLiteral(": ") + reason, name);
}

QString decoded(QByteArrayView line, const QString &name, qsizetype number)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringConverter::Flag::Stateless);
    const QString text = decoder.decode(line);
    if (decoder.hasError())
        fail(name, number, QStringLiteral("not written in UTF-8."));
    return text.trimmed();
}

} // namespace

ConfigurationError::ConfigurationError(QString text, QString path)
    : m_text(std::move(text))
    , m_path(std::move(path))
{
}

QString ConfigurationError::descriptionNaming(const QString &path) const
{
    return m_path.isEmpty() ? m_text : m_text.arg(path);
}

Properties parseProperties(QByteArrayView content, const QString &name)
{
    constexpr QByteArrayView kByteOrderMark("\xEF\xBB\xBF");
    if (content.startsWith(kByteOrderMark))
        content = content.sliced(kByteOrderMark.size());
    Properties properties;
    qsizetype number = 0;
    const QList<QByteArray> lines = content.toByteArray().split('\n');
    for (const QByteArray &line : lines) {
        ++number;
        const QString text = decoded(line, name, number);
        if (text.isEmpty() || text.startsWith(QLatin1Char('#')) || text.startsWith(QLatin1Char('!')))
            continue;
        const qsizetype sign = text.indexOf(QLatin1Char('='));
        if (sign < 0)
            fail(name, number, QStringLiteral("there is no “=”; lines have the form KEY=VALUE."));
        const QString key = text.first(sign).trimmed();
        if (key.isEmpty())
            fail(name, number, QStringLiteral("there is no key before the “=”."));
        properties.insert(key, text.sliced(sign + 1).trimmed());
    }
    return properties;
}

} // namespace velmora
