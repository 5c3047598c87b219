// SPDX-License-Identifier: MIT
#include "model/json_deployment_cache.h"

#include "support/background.h"
#include "support/json_coding.h"
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
        const auto content = readFile(path);
        if (!content)
            return std::nullopt;
        return decodeJSON<DeploymentCachePayload>(*content);
    } catch (const Error &error) {
        // The next save replaces the file: it is a cache, and GitHub has the original.
        qCWarning(cacheLog).noquote() << "The saved deployments are not used:" << error.description();
        return std::nullopt;
    }
}

} // namespace

template <>
struct json::Codec<DeploymentState> {
    static void decode(DeploymentState &value, Element element, const Path &path)
    {
        QString text;
        Codec<QString>::decode(text, element, path);
        const auto state = deploymentStateFromRawValue(text);
        if (!state)
            failExpected(path, "a deployment state");
        value = *state;
    }
    static void encode(Writer &writer, DeploymentState value) { Codec<QString>::encode(writer, rawValue(value)); }
};

template <>
struct JSONTable<DeploymentSnapshot> {
    using Record = DeploymentSnapshot;
    static constexpr auto fields = std::tuple{json::required("id", &Record::id),
        json::required("repositoryNodeID", &Record::repositoryNodeID),
        json::required("repositoryName", &Record::repositoryName),
        json::required("repositoryURL", &Record::repositoryURL), json::required("environment", &Record::environment),
        json::optional("refName", &Record::refName), json::required("commitOID", &Record::commitOID),
        json::optional("creatorLogin", &Record::creatorLogin), json::required("state", &Record::state),
        json::required("createdAt", &Record::createdAt), json::required("updatedAt", &Record::updatedAt),
        json::optional("statusDescription", &Record::statusDescription), json::optional("logURL", &Record::logURL),
        json::optional("environmentURL", &Record::environmentURL)};
};

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
