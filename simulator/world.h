// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

#include <deque>
#include <optional>

namespace velmora::simulator
{

/// Milliseconds since 1970-01-01T00:00:00Z.
using Milliseconds = qint64;

/// A user or an organisation. It owns repositories; a user is also an identity that may connect.
struct Owner {
    qint64 id = 0;
    QString login;
    QString name;
    bool isOrganization = false;

    [[nodiscard]] QString nodeID() const;
};

/// The latest status of a deployment; states are GitHub's names.
struct DeploymentStatus {
    QString state;
    std::optional<QString> description;
    std::optional<QString> environment;
    std::optional<QString> environmentUrl;
    std::optional<QString> logUrl;
    Milliseconds updatedAt = 0;
};

struct Deployment {
    QString id;
    std::optional<QString> environment;
    std::optional<QString> latestEnvironment;
    QString commitOid;
    Milliseconds createdAt = 0;
    Milliseconds updatedAt = 0;
    std::optional<QString> state;
    QString creator;
    std::optional<DeploymentStatus> latestStatus;
};

struct Repository {
    qint64 id = 0;
    QString nodeID; ///< as returned by GraphQL
    QString legacyNodeID; ///< the older form, which REST returns for some repositories; may be empty
    int owner = 0; ///< index into the owners
    QString name;
    QString description;
    QString language;
    bool isPrivate = false;
    std::deque<Deployment> deployments; ///< newest first
    QByteArray encoded; ///< cached JSON for answers; empty after a change
};

/// An account of an installation that is neither a user nor an organisation.
enum class AccountOddity { None, Null, Enterprise };

struct Installation {
    qint64 id = 0;
    int owner = 0; ///< index into the owners
    QSet<int> identities; ///< indexes of the users who see it
    QList<int> repositories; ///< indexes of the granted repositories
    bool selectsRepositories = false;
    bool isSuspended = false;
    AccountOddity oddity = AccountOddity::None;
};

/// All objects of the stand-in. Indexes are stable, because only old deployments are ever removed.
class World
{
public:
    static constexpr std::size_t kMostDeployments = 60; ///< kept for each repository

    int addOwner(const QString &login, const QString &name, bool isOrganization);
    int addRepository(int owner, const QString &name);
    int addInstallation(int owner, const QSet<int> &identities, const QList<int> &repositories);
    /// Has `to` grant the repository instead of `from`.
    void moveRepository(int repository, int from, int to);
    /// Adds the newest deployment and returns its new identifier. Drops the oldest if there are too many.
    QString addDeployment(int repository, Deployment deployment);

    [[nodiscard]] const QList<Owner> &owners() const { return m_owners; }
    [[nodiscard]] const QList<Repository> &repositories() const { return m_repositories; }
    [[nodiscard]] const QList<Installation> &installations() const { return m_installations; }
    /// The repository for modification; drops its cached JSON.
    [[nodiscard]] Repository &change(int repository);
    [[nodiscard]] Installation &changeInstallation(int installation) { return m_installations[installation]; }
    /// The deployment for modification; null if it does not exist.
    [[nodiscard]] Deployment *changeDeployment(int repository, const QString &id);
    void keepEncoded(int repository, const QByteArray &text) { m_repositories[repository].encoded = text; }

    /// The indexes of the users who may connect, in the order of their creation.
    [[nodiscard]] QList<int> identities() const;
    [[nodiscard]] std::optional<int> ownerWithLogin(const QString &login) const;
    [[nodiscard]] QString nameWithOwner(int repository) const;
    [[nodiscard]] std::optional<int> repositoryWithName(const QString &nameWithOwner) const;
    /// The repository with this node identifier, in either form.
    [[nodiscard]] std::optional<int> repositoryWithNodeID(const QString &id) const;
    /// Whether the identifier belongs to a node other than a repository.
    [[nodiscard]] bool isOtherNode(const QString &id) const { return m_otherNodes.contains(id); }
    /// Whether an installation that the user sees, and that is not suspended, grants the repository.
    [[nodiscard]] bool isVisible(int repository, int identity) const;
    /// The indexes of the installations that the user sees.
    [[nodiscard]] QList<int> installationsOf(int identity) const;

private:
    QList<Owner> m_owners;
    QList<Repository> m_repositories;
    QList<Installation> m_installations;
    QHash<QString, int> m_repositoryNodes;
    QSet<QString> m_otherNodes;
    QHash<int, QList<int>> m_installationsOfRepository;
    qint64 m_nextDeployment = 3'104'556'120;
};

/// Whether the state of the deployment may still change.
[[nodiscard]] bool isUnderWay(const Deployment &deployment);

} // namespace velmora::simulator
