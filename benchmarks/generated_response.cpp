// SPDX-License-Identifier: MIT
#include "generated_response.h"

#include <QCryptographicHash>

#include <array>

namespace velmora
{

namespace
{

constexpr int kDeploymentsEach = 20;
constexpr std::array kStates{"SUCCESS", "FAILURE", "IN_PROGRESS", "QUEUED", "WAITING", "ERROR", "SUCCESS", "INACTIVE"};
constexpr std::array kEnvironments{"production", "staging", "preview", "documentation"};

QByteArray instantText(Instant now, int minutesAgo)
{
    return toISO8601(std::chrono::floor<std::chrono::seconds>(now) - std::chrono::minutes(minutesAgo)).toUtf8();
}

QByteArray deployment(const QByteArray &repositoryURL, int repository, int index, Instant now)
{
    const int serial = repository * kDeploymentsEach + index;
    const QByteArray number = QByteArray::number(serial);
    const QByteArray state = kStates.at(static_cast<std::size_t>(serial) % kStates.size());
    const QByteArray environment = kEnvironments.at(static_cast<std::size_t>(serial) % kEnvironments.size());
    const QByteArray created = instantText(now, 1 + serial * 7 % 1200);
    return R"({"id":"DE_kwDOABCDEF4)" + number.rightJustified(12, '0') + R"(","environment":")" + environment
        + R"(","latestEnvironment":")" + environment + R"(","commitOid":")"
        + QCryptographicHash::hash(number, QCryptographicHash::Sha1).toHex() + R"(","createdAt":")" + created
        + R"(","updatedAt":")" + created + R"(","state":")" + state + R"(","creator":{"login":"engineer-)"
        + QByteArray::number(serial % 12) + R"("},"latestStatus":{"state":")" + state
        + R"(","description":"Deployed by run )" + number + R"( of the workflow","environment":")" + environment
        + R"(","environmentUrl":"https://)" + environment + R"(.example.com","logUrl":")" + repositoryURL
        + "/actions/runs/" + number + "/job/" + number + R"(","updatedAt":")" + created + R"("}})";
}

QByteArray repositoryNode(int number, Instant now)
{
    const QByteArray name
        = "organisation-" + QByteArray::number(number % 7) + "/repository-" + QByteArray::number(number);
    const QByteArray url = "https://github.com/" + name;
    QByteArray text = R"({"id":")" + generatedRepositoryID(number) + R"(","nameWithOwner":")" + name + R"(","url":")"
        + url + R"(","deployments":{"nodes":[)";
    for (int index = 0; index < kDeploymentsEach; ++index)
        text += (index == 0 ? "" : ",") + deployment(url, number, index, now);
    return text + "]}}";
}

} // namespace

QByteArray generatedRepositoryID(int number)
{
    return "R_kgDO" + QByteArray::number(number).rightJustified(8, '0');
}

QByteArray generatedResponse(int first, int count, Instant now)
{
    QByteArray text = R"({"data":{"nodes":[)";
    for (int number = first; number < first + count; ++number)
        text += (number == first ? "" : ",") + repositoryNode(number, now);
    return text + R"(],"rateLimit":{"cost":1,"remaining":4900,"resetAt":")" + instantText(now, -60) + R"("}}})";
}

} // namespace velmora
