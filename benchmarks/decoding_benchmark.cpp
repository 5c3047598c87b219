// SPDX-License-Identifier: MIT
// Decodes an answer with 400 deployments into snapshots: as Velmora does, and with the same mapping over other
// libraries.
#include "generated_response.h"
#include "github/wire/deployments_query.h"

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>
#include <rapidjson/document.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace velmora;

namespace
{

const Instant kNow = std::chrono::sys_days{std::chrono::year{2026} / 5 / 1};

const QByteArray &response()
{
    static const QByteArray text = generatedResponse(0, 20, kNow);
    return text;
}

// Each library is a type with the four functions that the mapping needs.

struct QtTree {
    using Node = QJsonValue;
    static Node parse(const QByteArray &text, QJsonDocument &document)
    {
        document = QJsonDocument::fromJson(text);
        return document.object();
    }
    using Document = QJsonDocument;
    static Node member(const Node &node, const char *key) { return node[QLatin1String(key)]; }
    static std::optional<QString> text(const Node &node)
    {
        return node.isString() ? std::optional(node.toString()) : std::nullopt;
    }
    template <typename Visit>
    static void each(const Node &node, const Visit &visit)
    {
        const QJsonArray array = node.toArray();
        for (const auto &item : array)
            visit(QJsonValue(item));
    }
};

struct RapidTree {
    using Document = rapidjson::Document;
    using Node = const rapidjson::Value *;
    static Node parse(const QByteArray &text, Document &document)
    {
        document.Parse<rapidjson::kParseValidateEncodingFlag>(text.constData(), static_cast<std::size_t>(text.size()));
        return &document;
    }
    static Node member(Node node, const char *key)
    {
        if (!node || !node->IsObject())
            return nullptr;
        const auto found = node->FindMember(key);
        return found == node->MemberEnd() ? nullptr : &found->value;
    }
    static std::optional<QString> text(Node node)
    {
        if (!node || !node->IsString())
            return std::nullopt;
        return QString::fromUtf8(node->GetString(), static_cast<qsizetype>(node->GetStringLength()));
    }
    template <typename Visit>
    static void each(Node node, const Visit &visit)
    {
        for (const auto &item : node->GetArray())
            visit(&item);
    }
};

struct NlohmannTree {
    using Document = nlohmann::json;
    using Node = const nlohmann::json *;
    static Node parse(const QByteArray &text, Document &document)
    {
        document = nlohmann::json::parse(text.begin(), text.end());
        return &document;
    }
    static Node member(Node node, const char *key)
    {
        if (!node || !node->is_object())
            return nullptr;
        const auto found = node->find(key);
        return found == node->end() ? nullptr : &*found;
    }
    static std::optional<QString> text(Node node)
    {
        if (!node || !node->is_string())
            return std::nullopt;
        return QString::fromStdString(node->get_ref<const std::string &>());
    }
    template <typename Visit>
    static void each(Node node, const Visit &visit)
    {
        for (const auto &item : *node)
            visit(&item);
    }
};

template <typename Tree>
std::optional<WebAddress> address(const typename Tree::Node &node)
{
    auto text = Tree::text(node);
    return text && !text->isEmpty() ? std::optional(WebAddress(std::move(*text))) : std::nullopt;
}

template <typename Tree>
DeploymentSnapshot snapshotOf(const typename Tree::Node &node, const DeploymentSnapshot &repository)
{
    const auto text = [](const auto &parent, const char *key) {
        return Tree::text(Tree::member(parent, key));
    };
    DeploymentSnapshot made = repository;
    const auto status = Tree::member(node, "latestStatus");
    made.id = text(node, "id").value();
    made.environment = text(status, "environment").value();
    made.commitOID = text(node, "commitOid").value();
    made.creatorLogin = text(Tree::member(node, "creator"), "login");
    made.state = deploymentStateFromGitHub(QUtf8StringView(text(status, "state").value().toUtf8()));
    made.createdAt = parseISO8601(text(node, "createdAt").value()).value();
    made.updatedAt = parseISO8601(text(status, "updatedAt").value()).value();
    made.statusDescription = text(status, "description");
    made.logURL = address<Tree>(Tree::member(status, "logUrl"));
    made.environmentURL = address<Tree>(Tree::member(status, "environmentUrl"));
    return made;
}

template <typename Tree>
QList<DeploymentSnapshot> decodedThrough(const QByteArray &text)
{
    using Node = typename Tree::Node;
    typename Tree::Document document;
    QList<DeploymentSnapshot> made;
    const Node root = Tree::parse(text, document);
    Tree::each(Tree::member(Tree::member(root, "data"), "nodes"), [&](const Node &node) {
        DeploymentSnapshot repository;
        repository.repositoryNodeID = Tree::text(Tree::member(node, "id")).value();
        repository.repositoryName = Tree::text(Tree::member(node, "nameWithOwner")).value();
        repository.repositoryURL = WebAddress(Tree::text(Tree::member(node, "url")).value());
        Tree::each(Tree::member(Tree::member(node, "deployments"), "nodes"),
            [&](const Node &item) { made.append(snapshotOf<Tree>(item, repository)); });
    });
    return made;
}

QList<DeploymentSnapshot> decodedByVelmora(const QByteArray &text)
{
    QList<DeploymentSnapshot> made;
    for (const auto &repository : decodedBatch(text, {}, RateLimitUse::Always).repositories) {
        for (const DeploymentSnapshot &deployment : repository)
            made.append(deployment);
    }
    return made;
}

void decode(benchmark::State &state, QList<DeploymentSnapshot> (*decoder)(const QByteArray &))
{
    if (decoder(response()) != decodedByVelmora(response()))
        state.SkipWithError("decodes something else");
    for ([[maybe_unused]] auto turn : state)
        benchmark::DoNotOptimize(decoder(response()));
    state.SetItemsProcessed(state.iterations() * 400);
    state.SetBytesProcessed(state.iterations() * response().size());
}
BENCHMARK_CAPTURE(decode, simdjson_as_in_Velmora, decodedByVelmora)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(decode, QJsonDocument, decodedThrough<QtTree>)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(decode, RapidJSON, decodedThrough<RapidTree>)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(decode, nlohmann_json, decodedThrough<NlohmannTree>)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
