// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"
#include "support/web_address.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace velmora
{

/// Pictures of accounts on the disk, each in a file of its own that is named after a hash of its address and readable
/// by nobody but the user. Blocks on the disk; a plain value for a thread of its own. Nothing here throws: what cannot
/// be kept is fetched again.
class AvatarFiles
{
public:
    /// What is kept at most.
    static constexpr qsizetype kMostFiles = 64;
    static constexpr qint64 kMostBytes = 8 * 1024 * 1024;

    struct Found {
        QByteArray content;
        Instant storedAt;
    };

    explicit AvatarFiles(QString folder);

    [[nodiscard]] std::optional<Found> read(const WebAddress &address) const;
    /// Keeps the picture as of `now`, and of all no more than the limits say: the oldest leave.
    void write(const WebAddress &address, const QByteArray &content, Instant now) const;

private:
    [[nodiscard]] QString pathOf(const WebAddress &address) const;
    void trim() const;

    QString m_folder;
};

} // namespace velmora
