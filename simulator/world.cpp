// SPDX-License-Identifier: MIT
#include "simulator/world.h"

#include <QtEndian>

namespace velmora::simulator
{

using namespace Qt::Literals::StringLiterals;

namespace
{

QString nodeIDOf(QLatin1StringView prefix, qint64 number, int bytes)
{
    const quint64 wide = qToBigEndian(quint64(number));
    const QByteArray all(reinterpret_cast<const char *>(&wide), sizeof wide);
    return prefix
        + QLatin1StringView(all.right(bytes).toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

} // namespace

QString Owner::nodeID() const
{
    return nodeIDOf(isOrganization ? "O_kgDO"_L1 : "U_kgDO"_L1, id, 4);
}

int World::addOwner(const QString &login, const QString &name, bool isOrganization)
{
    const qint64 id = 88'410'233 + 1'711 * m_owners.size();
    m_owners.append({id, login, name, isOrganization});
    m_otherNodes.insert(m_owners.last().nodeID());
    return int(m_owners.size()) - 1;
}

int World::addRepository(int owner, const QString &name)
{
    const int position = int(m_repositories.size());
    Repository repository;
    // Needs more than 31 bits, as GitHub's ids may in future.
    repository.id = 2'200'480'000 + 977 * qint64(position);
    repository.nodeID = nodeIDOf("R_kgDO"_L1, repository.id, 4);
    repository.owner = owner;
    repository.name = name;
    m_repositoryNodes.insert(repository.nodeID, position);
    // The older form of the identifier must resolve, too.
    const QByteArray legacy = "010:Repository" + QByteArray::number(repository.id);
    m_repositoryNodes.insert(QString::fromLatin1(legacy.toBase64()), position);
    m_repositories.append(std::move(repository));
    return position;
}

int World::addInstallation(int owner, const QSet<int> &identities, const QList<int> &repositories)
{
    const int position = int(m_installations.size());
    m_installations.append({.id = 51'230'881 + 37 * qint64(position),
        .owner = owner,
        .identities = identities,
        .repositories = repositories});
    for (const int repository : repositories)
        m_installationsOfRepository[repository].append(position);
    return position;
}

void World::moveRepository(int repository, int from, int to)
{
    m_installations[from].repositories.removeOne(repository);
    m_installations[to].repositories.append(repository);
    m_installationsOfRepository[repository].removeOne(from);
    m_installationsOfRepository[repository].append(to);
    change(repository).owner = m_installations[to].owner;
}

QString World::addDeployment(int repository, Deployment deployment)
{
    Repository &target = change(repository);
    deployment.id = nodeIDOf("DE_kwDO"_L1, m_nextDeployment++, 8);
    QString id = deployment.id;
    target.deployments.push_front(std::move(deployment));
    if (target.deployments.size() > kMostDeployments)
        target.deployments.pop_back();
    return id;
}

Repository &World::change(int repository)
{
    Repository &changed = m_repositories[repository];
    changed.encoded.clear();
    return changed;
}

Deployment *World::changeDeployment(int repository, const QString &id)
{
    for (Deployment &deployment : change(repository).deployments) {
        if (deployment.id == id)
            return &deployment;
    }
    return nullptr;
}

QList<int> World::identities() const
{
    QList<int> positions;
    for (int i = 0; i < m_owners.size(); ++i) {
        if (!m_owners[i].isOrganization)
            positions.append(i);
    }
    return positions;
}

std::optional<int> World::ownerWithLogin(const QString &login) const
{
    for (int i = 0; i < m_owners.size(); ++i) {
        if (m_owners[i].login == login)
            return i;
    }
    return std::nullopt;
}

QString World::nameWithOwner(int repository) const
{
    const Repository &named = m_repositories[repository];
    return m_owners[named.owner].login + '/'_L1 + named.name;
}

std::optional<int> World::repositoryWithName(const QString &name) const
{
    for (int i = 0; i < m_repositories.size(); ++i) {
        if (nameWithOwner(i) == name)
            return i;
    }
    return std::nullopt;
}

std::optional<int> World::repositoryWithNodeID(const QString &id) const
{
    const auto found = m_repositoryNodes.constFind(id);
    return found == m_repositoryNodes.cend() ? std::nullopt : std::optional<int>(*found);
}

bool World::isVisible(int repository, int identity) const
{
    const QList<int> granting = m_installationsOfRepository.value(repository);
    return std::any_of(granting.begin(), granting.end(), [&](int position) {
        const Installation &installation = m_installations[position];
        return !installation.isSuspended && installation.identities.contains(identity);
    });
}

QList<int> World::installationsOf(int identity) const
{
    QList<int> positions;
    for (int i = 0; i < m_installations.size(); ++i) {
        if (m_installations[i].identities.contains(identity))
            positions.append(i);
    }
    return positions;
}

bool isUnderWay(const Deployment &deployment)
{
    static const QSet<QString> states{u"QUEUED"_s, u"PENDING"_s, u"WAITING"_s, u"IN_PROGRESS"_s};
    return deployment.state && states.contains(*deployment.state);
}

} // namespace velmora::simulator
