// SPDX-License-Identifier: MIT
#include "github/wire/known_deployments.h"

#include "support/error.h"

#include <algorithm>

namespace velmora
{

namespace
{

// GitHub's answer without errors. An answer of any other form is decoded as a whole.
constexpr QByteArrayView kBeforeNodes = R"({"data":{"nodes":[)";
constexpr QByteArrayView kBeforeRateLimit = R"(],"rateLimit":)";
constexpr QByteArrayView kEnd = "}}";

bool skip(QByteArrayView &rest, QByteArrayView text)
{
    if (!rest.startsWith(text))
        return false;
    rest = rest.sliced(text.size());
    return true;
}

/// Where the text ends that begins with the quotation mark at `from`: at its second one. -1 if it does not end.
qsizetype endOfText(QByteArrayView json, qsizetype from)
{
    for (qsizetype at = from + 1; (at = json.indexOf('"', at)) >= 0; ++at) {
        qsizetype firstBackslash = at;
        while (json[firstBackslash - 1] == '\\')
            --firstBackslash;
        if ((at - firstBackslash) % 2 == 0)
            return at;
    }
    return -1;
}

/// The object or null with which the JSON begins; empty for anything else. Only counts brackets: where the JSON is
/// damaged, the parser finds that out.
QByteArrayView firstValue(QByteArrayView json)
{
    constexpr QByteArrayView kNull = "null";
    if (json.startsWith(kNull))
        return json.first(kNull.size());
    int depth = 0;
    for (qsizetype at = 0; at < json.size(); ++at) {
        const char character = json[at];
        if (character == '"')
            at = endOfText(json, at);
        else if (character == '{' || character == '[')
            ++depth;
        else if (character == '}' || character == ']')
            --depth;
        if (at < 0 || depth <= 0)
            return json.first(json.startsWith('{') ? at + 1 : 0);
    }
    return {};
}

} // namespace

DeploymentBatch KnownDeployments::decoded(
    const QByteArray &body, const QStringList &repositoryNodeIDs, RateLimitUse use, std::optional<Instant> resumeAt)
{
    const auto parts = cut(body, repositoryNodeIDs);
    if (!parts)
        return decodedBatch(body, repositoryNodeIDs, use, resumeAt);
    DeploymentBatch batch;
    try {
        batch = decodedBatch(changedAnswer(body, *parts), {}, use, resumeAt);
    } catch (const DecodingError &) {
        // The error tells the place in the whole answer.
        return decodedBatch(body, repositoryNodeIDs, use, resumeAt);
    }
    const bool hasChanged = !batch.repositories.isEmpty();
    QList<DeploymentList> all;
    qsizetype next = 0;
    for (qsizetype i = 0; i < parts->nodes.size(); ++i) {
        const Node &node = parts->nodes.at(i);
        all.append(node.known ? *node.known : batch.repositories.at(next++));
        // What is known moves to the new body as well, so that the old one is not kept for it.
        if (hasChanged)
            m_repositories.insert(repositoryNodeIDs.at(i), {body, node.json, all.last()});
    }
    batch.repositories = std::move(all);
    return batch;
}

/// The answer with only the nodes that changed. What is left out is valid: it was decoded when it came first.
QByteArray KnownDeployments::changedAnswer(const QByteArray &body, const Cut &parts)
{
    if (std::ranges::none_of(parts.nodes, [](const Node &node) { return node.known.has_value(); }))
        return body;
    QByteArray changed(kBeforeNodes.data(), kBeforeNodes.size());
    for (const Node &node : parts.nodes) {
        if (!node.known)
            (changed += changed.size() > kBeforeNodes.size() ? "," : "") += node.json;
    }
    ((changed += kBeforeRateLimit) += parts.rateLimit) += kEnd;
    return changed;
}

/// Nothing if the answer has another form than GitHub's without errors.
std::optional<KnownDeployments::Cut> KnownDeployments::cut(QByteArrayView body, const QStringList &ids) const
{
    Cut parts;
    QByteArrayView rest = body;
    if (!skip(rest, kBeforeNodes))
        return std::nullopt;
    while (!skip(rest, kBeforeRateLimit)) {
        const auto number = parts.nodes.size();
        if (number == ids.size() || (number > 0 && !skip(rest, ",")))
            return std::nullopt;
        parts.nodes.append(nodeAt(rest, ids.at(number)));
        if (parts.nodes.last().json.isEmpty())
            return std::nullopt;
        rest = rest.sliced(parts.nodes.last().json.size());
    }
    parts.rateLimit = firstValue(rest);
    if (parts.rateLimit.isEmpty() || rest.sliced(parts.rateLimit.size()) != kEnd)
        return std::nullopt;
    return parts;
}

KnownDeployments::Node KnownDeployments::nodeAt(QByteArrayView json, const QString &id) const
{
    const auto known = m_repositories.constFind(id);
    if (known != m_repositories.constEnd() && json.startsWith(known->json))
        return {json.first(known->json.size()), known->deployments};
    return {firstValue(json), std::nullopt};
}

void KnownDeployments::retain(const QSet<QString> &repositoryNodeIDs)
{
    m_repositories.removeIf([&](const auto &entry) { return !repositoryNodeIDs.contains(entry.key()); });
}

} // namespace velmora
