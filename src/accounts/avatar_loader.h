// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/avatar_files.h"
#include "accounts/avatar_loading.h"
#include "github/http_session.h"
#include "github/network_session.h"

#include <QThreadPool>

#include <memory>

namespace velmora
{

class Clock;

/// Fetches the pictures of accounts from the host that GitHub names, without a token, and keeps them on the disk.
///
/// Only https addresses are asked, or http on this machine; only a PNG, JPEG, GIF or WebP picture of at most 1 MiB is
/// taken. A picture is asked for again after a week; when that fails, the old one serves on.
class AvatarLoader final : public AvatarLoading
{
public:
    static constexpr qsizetype kLargestPicture = 1024 * 1024;

    /// What a session for pictures is to be made with: the size is enforced on the wire, too.
    [[nodiscard]] static NetworkSession::Limits sessionLimits();

    /// `folder` is where the files are kept. The clock is not owned and outlives the loader.
    AvatarLoader(std::shared_ptr<HTTPSession> session, const QString &folder, Clock *clock);

    [[nodiscard]] QCoro::Task<std::optional<QByteArray>> load(WebAddress address, std::stop_token stop) override;

private:
    /// What one load needs, which may outlive the loader.
    struct Services {
        std::shared_ptr<HTTPSession> session;
        std::shared_ptr<QThreadPool> pool; ///< one thread, for the disk
        AvatarFiles files;
        Clock *clock;
    };

    static QCoro::Task<std::optional<QByteArray>> loadWith(Services services, WebAddress address, std::stop_token stop);
    static QCoro::Task<std::optional<AvatarFiles::Found>> readFrom(Services services, WebAddress address);
    static QCoro::Task<> keep(Services services, WebAddress address, QByteArray picture, Instant now);
    static QCoro::Task<std::optional<QByteArray>> fetch(
        std::shared_ptr<HTTPSession> session, WebAddress address, std::stop_token stop);

    Services m_services;
};

/// Whether a picture may be fetched from there.
[[nodiscard]] bool isAvatarAddress(const WebAddress &address);

/// Whether the bytes begin like a picture of one of the kinds that are shown.
[[nodiscard]] bool isPicture(QByteArrayView content);

} // namespace velmora
