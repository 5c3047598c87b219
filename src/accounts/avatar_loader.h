// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/avatar_files.h"
#include "accounts/avatar_loading.h"
#include "http/http_session.h"
#include "http/network_session.h"

#include <QThreadPool>

#include <memory>

namespace velmora
{

class Clock;

/// Fetches the pictures of accounts from the host that GitHub names, without a token, and keeps them on the disk.
///
/// Fetches only from https addresses, or http on this machine. Accepts only PNG, JPEG, GIF or WebP of at most 1 MiB.
/// Fetches a picture again after a week, and uses the old one if that fails.
class AvatarLoader final : public AvatarLoading
{
public:
    static constexpr qsizetype kLargestPicture = 1024 * 1024;

    /// The limits of the session for pictures, so that the size is enforced during the transfer too.
    [[nodiscard]] static NetworkSession::Limits sessionLimits();

    /// `folder` holds the files. The clock is not owned and outlives the loader.
    AvatarLoader(std::shared_ptr<HTTPSession> session, const QString &folder, Clock *clock);

    [[nodiscard]] QCoro::Task<std::optional<QByteArray>> load(WebAddress address, std::stop_token stop) override;

private:
    /// The dependencies of one load, which may outlive the loader.
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

/// Whether pictures may be fetched from this address.
[[nodiscard]] bool isAvatarAddress(const WebAddress &address);

/// Whether the content begins with the signature of a supported picture format.
[[nodiscard]] bool isPicture(QByteArrayView content);

} // namespace velmora
