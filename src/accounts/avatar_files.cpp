// SPDX-License-Identifier: MIT
#include "accounts/avatar_files.h"

#include "support/error.h"
#include "support/private_file.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(accountsLog, "velmora.accounts", QtWarningMsg)

const QString kSuffix = QStringLiteral(".avatar");

} // namespace

AvatarFiles::AvatarFiles(QString folder)
    : m_folder(std::move(folder))
{
}

QString AvatarFiles::pathOf(const WebAddress &address) const
{
    const auto hash = QCryptographicHash::hash(address.text().toUtf8(), QCryptographicHash::Sha256).toHex();
    return m_folder + QLatin1Char('/') + QString::fromLatin1(hash) + kSuffix;
}

std::optional<AvatarFiles::Found> AvatarFiles::read(const WebAddress &address) const
{
    const QString path = pathOf(address);
    try {
        auto content = readPrivateFile(path);
        if (!content)
            return std::nullopt;
        const std::chrono::milliseconds stored(QFileInfo(path).lastModified().toMSecsSinceEpoch());
        return Found{std::move(*content), Instant(stored)};
    } catch (const Error &error) {
        qCDebug(accountsLog).noquote() << error.description();
        return std::nullopt;
    }
}

void AvatarFiles::write(const WebAddress &address, const QByteArray &content, Instant now) const
{
    const QString path = pathOf(address);
    try {
        writePrivateFile(path, content);
    } catch (const Error &error) {
        qCDebug(accountsLog).noquote() << error.description();
        return;
    }
    const auto stored = std::chrono::floor<std::chrono::milliseconds>(now).time_since_epoch();
    QFile file(path);
    if (file.open(QIODevice::ReadWrite))
        file.setFileTime(QDateTime::fromMSecsSinceEpoch(stored.count()), QFileDevice::FileModificationTime);
    file.close();
    trim();
}

void AvatarFiles::trim() const
{
    const QDir folder(m_folder);
    // Newest first.
    const auto files = folder.entryInfoList({QLatin1Char('*') + kSuffix}, QDir::Files | QDir::Hidden, QDir::Time);
    qint64 bytes = 0;
    for (qsizetype i = 0; i < files.size(); ++i) {
        bytes += files.at(i).size();
        if (i >= kMostFiles || bytes > kMostBytes)
            QFile::remove(files.at(i).absoluteFilePath());
    }
}

} // namespace velmora
