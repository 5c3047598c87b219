// SPDX-License-Identifier: MIT
#include "accounts/avatar_loader.h"

#include "http/host_address.h"
#include "support/background.h"
#include "support/clock.h"
#include "support/error.h"
#include "support/task_scope.h"

namespace velmora
{

namespace
{

constexpr std::chrono::days kFreshFor(7);

} // namespace

bool isAvatarAddress(const WebAddress &address)
{
    const QUrl url = address.url();
    if (!address.isOpenable() || !url.userInfo().isEmpty())
        return false;
    return url.scheme() == QLatin1String("https") || isOnThisMachine(url);
}

bool isPicture(QByteArrayView content)
{
    return content.startsWith("\x89PNG\r\n\x1a\n") || content.startsWith("\xff\xd8\xff") || content.startsWith("GIF8")
        || (content.startsWith("RIFF") && content.sliced(std::min<qsizetype>(8, content.size())).startsWith("WEBP"));
}

NetworkSession::Limits AvatarLoader::sessionLimits()
{
    NetworkSession::Limits limits;
    limits.silence = std::chrono::seconds(15);
    limits.total = std::chrono::seconds(30);
    limits.bodySize = kLargestPicture;
    return limits;
}

AvatarLoader::AvatarLoader(std::shared_ptr<HTTPSession> session, const QString &folder, Clock *clock)
    : m_services{std::move(session), std::make_shared<QThreadPool>(), AvatarFiles(folder), clock}
{
    m_services.pool->setMaxThreadCount(1);
}

QCoro::Task<std::optional<QByteArray>> AvatarLoader::load(WebAddress address, std::stop_token stop)
{
    return loadWith(m_services, std::move(address), std::move(stop));
}

QCoro::Task<std::optional<QByteArray>> AvatarLoader::loadWith(
    Services services, WebAddress address, std::stop_token stop)
{
    if (!isAvatarAddress(address))
        co_return std::nullopt;
    const auto found = co_await readFrom(services, address);
    throwIfStopped(stop);
    const Instant now = services.clock->now();
    // After a clock was set back, a picture from the "future" must not stay for ever.
    if (found && found->storedAt <= now && now - found->storedAt < kFreshFor)
        co_return found->content;
    const auto fetched = co_await fetch(services.session, address, stop);
    if (fetched) {
        launch(keep(services, address, *fetched, now), "Keeping a picture");
        co_return fetched;
    }
    if (found)
        co_return found->content;
    co_return std::nullopt;
}

QCoro::Task<std::optional<AvatarFiles::Found>> AvatarLoader::readFrom(Services services, WebAddress address)
{
    auto read = [files = services.files, address] {
        return files.read(address);
    };
    auto found = co_await runInBackground(services.pool.get(), std::move(read));
    // Another program may have written the file.
    if (found && (found->content.size() > kLargestPicture || !isPicture(found->content)))
        found.reset();
    co_return found;
}

QCoro::Task<> AvatarLoader::keep(Services services, WebAddress address, QByteArray picture, Instant now)
{
    auto write = [files = services.files, address, picture, now] {
        files.write(address, picture, now);
    };
    co_await runInBackground(services.pool.get(), std::move(write));
}

QCoro::Task<std::optional<QByteArray>> AvatarLoader::fetch(
    std::shared_ptr<HTTPSession> session, WebAddress address, std::stop_token stop)
{
    HTTPRequest request;
    request.url = address.url();
    HTTPResponse response;
    bool isCancelled = false;
    try {
        response = co_await session->send(request, stop);
    } catch (...) {
        isCancelled = isCancellation(std::current_exception());
    }
    if (isCancelled)
        throw CancellationError();
    const bool isTaken
        = response.statusCode == 200 && response.body.size() <= kLargestPicture && isPicture(response.body);
    if (!isTaken)
        co_return std::nullopt;
    co_return response.body;
}

} // namespace velmora
