// SPDX-License-Identifier: MIT
#pragma once

#include "github/repository_record.h"
#include "monitor/environment_choices.h"
#include "monitor/environment_lines.h"
#include "monitor/seen_environments.h"
#include "support/instant.h"
#include "support/task_scope.h"

#include <QCoroTask>
#include <QObject>
#include <QThreadPool>

#include <optional>

namespace velmora
{

class Clock;
class Preferences;

/// The environments that were seen, and what the user has chosen about them.
///
/// The choices are in the preferences. What was seen is in a file of its own, which is written on another thread when
/// the record changes: for what is seen again, once a day. A failed write is repeated with the next change, and by
/// saveAgain().
class Environments final : public QObject
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive this object. An empty path keeps the record in memory only.
    Environments(Preferences *defaults, const Clock *clock, QString path, QObject *parent = nullptr);
    /// Waits for a write under way.
    ~Environments() override;

    [[nodiscard]] EnvironmentChoices choices() const { return environmentChoices(*m_defaults); }
    /// What can be chosen about, with the choices. The first call after a change takes time in
    /// proportion to the record.
    [[nodiscard]] const QList<EnvironmentLine> &lines() const;
    /// The rule of the line that decides about the deployment.
    [[nodiscard]] EnvironmentRule ruleOf(const DeploymentSnapshot &deployment) const;
    /// The node id of a repository that was seen, by its owner and name in any case.
    [[nodiscard]] std::optional<QString> repositoryNamed(const QString &name) const;

    /// Whether an environment of this name was seen; letters may be in any case.
    [[nodiscard]] bool isSeen(const QString &environment) const;

    /// Stores these rules in place of those about the same.
    void choose(const QList<EnvironmentRule> &rules);
    /// See withOnlyProduction().
    void setOnlyProduction(bool isOnly);

    /// Reads the record, the first time that it is called. One that cannot be read begins anew: see damageFound(). One
    /// call at a time.
    [[nodiscard]] QCoro::Task<> load();
    [[nodiscard]] bool isLoaded() const { return m_isLoaded; }
    /// Takes note of the list. One that is the same as before costs nothing.
    void see(const DeploymentList &deployments);
    /// Forgets what was seen of other repositories: GitHub may have another form of the id than these, so that the name
    /// counts as well.
    void retain(const QList<RepositoryRecord> &reachable);
    /// Writes what could not be written, 30 seconds later at the earliest.
    void saveAgain();

    /// Whether the record is being written.
    [[nodiscard]] bool isSaving() const { return m_isWriting; }
    /// Why the record could not be written; empty when it was.
    [[nodiscard]] const QString &failure() const { return m_failure; }

Q_SIGNALS:
    /// The choices changed, here or by another process, or the record did.
    void changed();
    void failureChanged();
    /// The record could not be read. `message` tells the user that it begins anew.
    void damageFound(const QString &message);

private:
    [[nodiscard]] QDate today() const;
    void announce();
    void save();
    QCoro::Task<> write();
    void setFailure(const QString &failure);

    Preferences *m_defaults;
    const Clock *m_clock;
    QString m_path;
    SeenEnvironments m_seen;
    mutable std::optional<QList<EnvironmentLine>> m_lines; ///< since the last change
    DeploymentList m_lastSeen; ///< the list of the last see()
    QDate m_day; ///< of the last see()
    bool m_isLoaded = false;
    bool m_isUnsaved = false; ///< the record has changed since the last write began
    bool m_isWriting = false;
    QString m_failure;
    Instant m_retryAt = distantPast();
    QThreadPool m_pool; ///< one thread, so that writes keep their order
    TaskScope m_scope;
};

} // namespace velmora
