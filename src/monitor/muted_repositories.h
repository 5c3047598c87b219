// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/term.h"
#include "platform/preferences.h"

#include <QHash>
#include <QObject>

namespace velmora
{

class Clock;

/// The repositories whose results are not announced. They are known by their node ids, which survive renames, and kept
/// in the preferences, which the Velmora processes of a profile share.
class MutedRepositories final : public QObject
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive this object.
    MutedRepositories(Preferences *defaults, const Clock *clock, QObject *parent = nullptr);

    /// For how long the repository is muted; nullopt if it is not.
    [[nodiscard]] std::optional<Term> muting(const QString &repositoryNodeID) const;
    [[nodiscard]] bool isMuted(const QString &repositoryNodeID) const { return muting(repositoryNodeID).has_value(); }

    /// Mutes the repository until `until`, or until it is unmuted. Replaces an earlier muting.
    void mute(const QString &repositoryNodeID, std::optional<Instant> until = std::nullopt);
    void unmute(const QString &repositoryNodeID);

    /// Forgets what is over. To be called now and then; costs next to nothing while nothing is muted.
    void forgetOver();

Q_SIGNALS:
    /// A repository was muted or unmuted, here or by another process, or what was over was forgotten.
    void changed();

private:
    void read();
    /// The lines that mute the repository.
    [[nodiscard]] QStringList linesOf(const QString &repositoryNodeID) const;
    void store(const ListChange &change);

    Preferences *m_defaults;
    const Clock *m_clock;
    QHash<QString, Term> m_terms; ///< as stored, by node id
};

} // namespace velmora
