// SPDX-License-Identifier: MIT
#include "github/wire/known_deployments.h"

#include "support/error.h"

#include <algorithm>
#include <cstring>

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
    const char *const end = json.end();
    for (const char *next = json.begin() + from + 1;; ++next) {
        next = static_cast<const char *>(std::memchr(next, '"', static_cast<std::size_t>(end - next)));
        if (!next)
            return -1;
        const qsizetype at = next - json.begin();
        qsizetype firstBackslash = at;
        while (json[firstBackslash - 1] == '\\')
            --firstBackslash;
        if ((at - firstBackslash) % 2 == 0)
            return at;
    }
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

/// The parts of an answer that may change.
struct Parts {
    QList<QByteArrayView> nodes;
    QByteArrayView rateLimit;
};

/// Nothing if the answer has another form. `nodeAt` is called with what is left of the answer and the number of the
/// node with which it begins; it returns that node, or nothing for anything else.
template <typename NodeAt>
std::optional<Parts> partsOf(QByteArrayView body, NodeAt nodeAt)
{
    Parts parts;
    QByteArrayView rest = body;
    if (!skip(rest, kBeforeNodes))
        return std::nullopt;
    while (!skip(rest, kBeforeRateLimit)) {
        if (!parts.nodes.isEmpty() && !skip(rest, ","))
            return std::nullopt;
        const QByteArrayView node = nodeAt(rest, parts.nodes.size());
        if (node.isEmpty())
            return std::nullopt;
        parts.nodes.append(node);
        rest = rest.sliced(node.size());
    }
    parts.rateLimit = firstValue(rest);
    if (parts.rateLimit.isEmpty() || rest.sliced(parts.rateLimit.size()) != kEnd)
        return std::nullopt;
    return parts;
}

/// The answer with only the nodes that are not known. What is left out is valid: it was decoded when it came first.
template <typename Known>
QByteArray changedAnswer(const Parts &parts, const QList<Known> &known)
{
    QByteArray changed(kBeforeNodes.data(), kBeforeNodes.size());
    for (qsizetype i = 0; i < parts.nodes.size(); ++i) {
        if (!known.at(i))
            (changed += changed.size() > kBeforeNodes.size() ? "," : "") += parts.nodes.at(i);
    }
    ((changed += kBeforeRateLimit) += parts.rateLimit) += kEnd;
    return changed;
}

} // namespace

QByteArrayView KnownDeployments::Repository::json() const
{
    if (!answer->nodes) {
        const auto parts = partsOf(answer->body, [](QByteArrayView rest, qsizetype) { return firstValue(rest); });
        answer->nodes = parts ? parts->nodes : QList<QByteArrayView>();
    }
    return answer->nodes->value(place);
}

DeploymentBatch KnownDeployments::decoded(
    const QByteArray &body, const QStringList &repositoryNodeIDs, RateLimitUse use, std::optional<Instant> resumeAt)
{
    QList<const Repository *> known;
    const auto nodeAt = [&](QByteArrayView rest, qsizetype number) {
        known.append(knownAt(rest, repositoryNodeIDs.value(number)));
        return known.last() ? rest.first(known.last()->json().size()) : firstValue(rest);
    };
    const bool isAnyKnown
        = std::ranges::any_of(repositoryNodeIDs, [this](const QString &id) { return m_repositories.contains(id); });
    const auto parts = isAnyKnown ? partsOf(body, nodeAt) : std::nullopt;
    if (!parts || known.size() != repositoryNodeIDs.size())
        return decodedWhole(body, repositoryNodeIDs, use, resumeAt);
    DeploymentBatch batch;
    try {
        batch = decodedBatch(changedAnswer(*parts, known), {}, use, resumeAt);
    } catch (const DecodingError &) {
        // The error tells the place in the whole answer.
        return decodedBatch(body, repositoryNodeIDs, use, resumeAt);
    }
    const bool hasChanged = !batch.repositories.isEmpty();
    for (qsizetype i = 0; i < known.size(); ++i) {
        if (known.at(i))
            batch.repositories.insert(i, known.at(i)->deployments);
    }
    // What is known moves to the new body as well, so that the old one is not kept for it.
    if (hasChanged)
        keep(repositoryNodeIDs, batch.repositories, {body, parts->nodes});
    return batch;
}

DeploymentBatch KnownDeployments::decodedWhole(
    const QByteArray &body, const QStringList &ids, RateLimitUse use, std::optional<Instant> resumeAt)
{
    auto batch = decodedBatch(body, ids, use, resumeAt);
    // Any other would only be kept in vain.
    if (body.startsWith(kBeforeNodes) && body.endsWith(kEnd) && batch.repositories.size() == ids.size())
        keep(ids, batch.repositories, {body, std::nullopt});
    return batch;
}

void KnownDeployments::keep(const QStringList &ids, const QList<DeploymentList> &deployments, Answer answer)
{
    const auto shared = std::make_shared<Answer>(std::move(answer));
    for (qsizetype i = 0; i < ids.size(); ++i)
        m_repositories.insert(ids.at(i), {shared, i, deployments.at(i)});
}

/// The repository, if the JSON begins with its known node.
const KnownDeployments::Repository *KnownDeployments::knownAt(QByteArrayView json, const QString &id) const
{
    const auto known = m_repositories.constFind(id);
    if (known == m_repositories.constEnd() || known->json().isEmpty() || !json.startsWith(known->json()))
        return nullptr;
    return &*known;
}

void KnownDeployments::retain(const QSet<QString> &repositoryNodeIDs)
{
    m_repositories.removeIf([&](const auto &entry) { return !repositoryNodeIDs.contains(entry.key()); });
}

} // namespace velmora
