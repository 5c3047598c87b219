// SPDX-License-Identifier: MIT
#include "model/json_deployment_cache.h"

#include "model/deployment_snapshot_coding.h"
#include "support/background.h"
#include "support/private_file.h"

#include <QLoggingCategory>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(cacheLog, "velmora.cache", QtWarningMsg)

std::optional<DeploymentCachePayload> readPayload(const QString &path)
{
    try {
        const auto content = readPrivateFile(path);
        if (!content)
            return std::nullopt;
        return decodeJSON<DeploymentCachePayload>(*content);
    } catch (const Error &error) {
        // A cache may be lost: the next save replaces the file with data from GitHub.
        qCWarning(cacheLog).noquote() << "The saved deployments are not used:" << error.description();
        return std::nullopt;
    }
}

} // namespace

template <>
struct JSONTable<DeploymentCachePayload> {
    using Record = DeploymentCachePayload;
    static constexpr auto fields
        = std::tuple{json::required("deployments", &Record::deployments), json::required("savedAt", &Record::savedAt)};
};

template DeploymentCachePayload decodeJSON<DeploymentCachePayload>(QByteArrayView);
template QByteArray encodeJSON<DeploymentCachePayload>(const DeploymentCachePayload &);

JSONDeploymentCache::JSONDeploymentCache(QString folder)
    : m_path(folder.isEmpty() ? QString() : folder + QLatin1String("/deployments.json"))
{
    m_pool.setMaxThreadCount(1);
}

JSONDeploymentCache::~JSONDeploymentCache()
{
    m_pool.waitForDone();
}

QCoro::Task<> JSONDeploymentCache::save(DeploymentCachePayload payload)
{
    if (m_path.isEmpty())
        co_return;
    auto write = [path = m_path, payload = std::move(payload)] {
        writePrivateFile(path, encodeJSON(payload));
    };
    co_await runInBackground(&m_pool, std::move(write));
}

QCoro::Task<std::optional<DeploymentCachePayload>> JSONDeploymentCache::load()
{
    if (m_path.isEmpty())
        co_return std::nullopt;
    auto read = [path = m_path] {
        return readPayload(path);
    };
    auto payload = co_await runInBackground(&m_pool, std::move(read));
    co_return payload;
}

} // namespace velmora
