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

/// A user or an organisation: it owns repositories, and a user is an identity that may connect.
struct Owner {
    qint64 id = 0;
    QString login;
    QString name;
    bool isOrganization = false;

    [[nodiscard]] QString nodeID() const;
};

/// The newest status of a deployment; states are GitHub's words.
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
    QString nodeID; ///< the form that GraphQL answers with
    QString legacyNodeID; ///< the older form, which REST still gives for some repositories; may be empty
    int owner = 0; ///< position among the owners
    QString name;
    QString description;
    QString language;
    bool isPrivate = false;
    std::deque<Deployment> deployments; ///< newest first
    QByteArray encoded; ///< the answer's text for this repository, empty when it must be made again
};

/// What an installation lists in place of its account, when that is not a user or an organisation.
enum class AccountOddity { None, Null, Enterprise };

struct Installation {
    qint64 id = 0;
    int owner = 0; ///< position among the owners
    QSet<int> identities; ///< positions of the users who see it
    QList<int> repositories; ///< positions of the repositories it grants
    bool selectsRepositories = false;
    bool isSuspended = false;
    AccountOddity oddity = AccountOddity::None;
};

/// Everything that exists in the stand-in. Positions are stable: nothing is ever removed but old deployments.
class World
{
public:
    static constexpr std::size_t kMostDeployments = 60; ///< kept for each repository

    int addOwner(const QString &login, const QString &name, bool isOrganization);
    int addRepository(int owner, const QString &name);
    int addInstallation(int owner, const QSet<int> &identities, const QList<int> &repositories);
    /// Adds a deployment as the newest, giving it an identifier; the oldest that is over goes when there are too many.
    QString addDeployment(int repository, Deployment deployment);

    [[nodiscard]] const QList<Owner> &owners() const { return m_owners; }
    [[nodiscard]] const QList<Repository> &repositories() const { return m_repositories; }
    [[nodiscard]] const QList<Installation> &installations() const { return m_installations; }
    /// The repository, to be changed: its encoded text is dropped.
    [[nodiscard]] Repository &change(int repository);
    [[nodiscard]] Installation &changeInstallation(int installation) { return m_installations[installation]; }
    /// The deployment, to be changed; null when it is gone.
    [[nodiscard]] Deployment *changeDeployment(int repository, const QString &id);
    void keepEncoded(int repository, const QByteArray &text) { m_repositories[repository].encoded = text; }

    /// The positions of the users who may connect, in the order in which they were added.
    [[nodiscard]] QList<int> identities() const;
    [[nodiscard]] std::optional<int> ownerWithLogin(const QString &login) const;
    [[nodiscard]] QString nameWithOwner(int repository) const;
    [[nodiscard]] std::optional<int> repositoryWithName(const QString &nameWithOwner) const;
    /// The repository with that node identifier in either form.
    [[nodiscard]] std::optional<int> repositoryWithNodeID(const QString &id) const;
    /// Whether the identifier is that of something else than a repository.
    [[nodiscard]] bool isOtherNode(const QString &id) const { return m_otherNodes.contains(id); }
    /// Whether one of the installations that the user sees grants the repository.
    [[nodiscard]] bool isVisible(int repository, int identity) const;
    /// The positions of the installations that the user sees.
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

/// Whether a deployment in that state may still change by itself.
[[nodiscard]] bool isUnderWay(const Deployment &deployment);

} // namespace velmora::simulator
