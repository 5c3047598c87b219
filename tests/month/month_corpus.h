// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/http_message.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QRegularExpression>

namespace velmora::testing
{

/// Writes answers as inputs of fuzzers, into the folder VELMORA_MONTH_CORPUS if that is set: FUZZER/HASH OF THE INPUT.
class MonthCorpus
{
public:
    void add(const QByteArray &path, const simulator::Response &answer) const
    {
        if (m_folder.isEmpty())
            return;
        add(fuzzerOf(path), withoutTokens(answer.body));
        QByteArray headers;
        for (const simulator::Header &header : answer.headers)
            headers += header.name + ':' + header.value + '\n';
        add(QStringLiteral("rate_limit_headers"), headers);
    }

private:
    static constexpr qsizetype kLongestInput = 4096;

    [[nodiscard]] static QString fuzzerOf(const QByteArray &path)
    {
        if (path == "/graphql")
            return QStringLiteral("deployments_response");
        if (path == "/user/installations")
            return QStringLiteral("installations");
        if (path.endsWith("/repositories"))
            return QStringLiteral("repositories");
        if (path == "/user")
            return QStringLiteral("user");
        return path.endsWith("/device/code") ? QStringLiteral("device_authorization")
                                             : QStringLiteral("oauth_response");
    }

    /// The tokens are invented, but would be found by a search for secrets.
    [[nodiscard]] static QByteArray withoutTokens(const QByteArray &body)
    {
        static const QRegularExpression tokens(QStringLiteral("gh[ur]_[0-9a-f]+"));
        return QString::fromLatin1(body).replace(tokens, QStringLiteral("token")).toLatin1();
    }

    void add(const QString &fuzzer, const QByteArray &input) const
    {
        if (input.isEmpty() || input.size() > kLongestInput)
            return;
        const QDir folder(m_folder + QLatin1Char('/') + fuzzer);
        const QByteArray name = QCryptographicHash::hash(input, QCryptographicHash::Sha1).toHex();
        QFile file(folder.filePath(QString::fromLatin1(name)));
        if (!folder.mkpath(QStringLiteral(".")) || !file.open(QIODevice::WriteOnly)
            || file.write(input) != input.size())
            qFatal("%s cannot be written", qPrintable(file.fileName()));
    }

    QString m_folder = qEnvironmentVariable("VELMORA_MONTH_CORPUS");
};

} // namespace velmora::testing
