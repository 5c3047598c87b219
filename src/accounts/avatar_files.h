// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"
#include "support/web_address.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace velmora
{

/// Pictures of accounts on the disk. Each has its own file, named after a hash of the address and accessible to the
/// user alone. A plain value, for use on a background thread, since it blocks on the disk. Does not throw: a picture
/// that cannot be kept is fetched again.
class AvatarFiles
{
public:
    /// Limits for all files together.
    static constexpr qsizetype kMostFiles = 64;
    static constexpr qint64 kMostBytes = 8 * 1024 * 1024;

    struct Found {
        QByteArray content;
        Instant storedAt;
    };

    explicit AvatarFiles(QString folder);

    [[nodiscard]] std::optional<Found> read(const WebAddress &address) const;
    /// Stores the picture with the time `now`. Then removes the oldest files beyond the limits.
    void write(const WebAddress &address, const QByteArray &content, Instant now) const;

private:
    [[nodiscard]] QString pathOf(const WebAddress &address) const;
    void trim() const;

    QString m_folder;
};

} // namespace velmora
