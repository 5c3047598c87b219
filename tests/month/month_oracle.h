// SPDX-License-Identifier: MIT
#pragma once

#include "key_set.h"

#include "support/instant.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

#include <memory>
#include <optional>
#include <stdexcept>

namespace velmora::testing
{

/// What must not happen has happened.
class Violation final : public std::runtime_error
{
public:
    explicit Violation(const QString &text)
        : std::runtime_error(text.toStdString())
    {
    }
};

/// A deployment as GitHub told of it.
struct ToldDeployment {
    QString id;
    QString state; ///< GitHub's word
    Instant updatedAt;
};

/// The deployments of a repository in one answer. Repositories are numbered.
struct ToldRepository {
    int number = 0;
    std::shared_ptr<const QList<ToldDeployment>> deployments;
};

/// Says which notifications must come, from what GitHub answered and the rules alone:
///
/// - A fetch of an account counts if all of its answers arrived whole, and not otherwise.
/// - The first fetch of a repository in a run is history, but for the end of a deployment that was seen under way by
/// this
///   run, or by one that saved its list less than an hour before this one started.
/// - After that a failure or success is news if the deployment was not seen with the same before.
/// - A result is worth mentioning for 24 hours. Nothing is announced twice, ever.
/// - While failures or successes are switched off, none is announced. Those that come meanwhile are not made up for,
///   unless the deployment runs again and ends with the same result. One that the program has let go of because of a
///   wrong clock may be announced when it is told of again.
/// - An account that is removed takes its repositories along, as if they were listed no more.
/// - A killed program may lose the one notification that it was about to hand over.
///
/// Where a rule allows both (a list saved 55 to 60 minutes ago, a result just 24 hours old, an answer that was still
/// being worked on at a kill) either is accepted, but never two announcements.
class MonthOracle
{
public:
    enum class End { Orderly, Killed };
    enum class Kind { Failures, Successes };

    void programStarted(Instant now);
    void programEnded(End end);

    /// GitHub's list of the repositories of an account arrived whole.
    void listed(const QString &login, const QSet<int> &repositories) { m_round[login].listed = repositories; }
    /// The user has removed the account from the program.
    void removed(const QString &login);
    /// The user has switched the notifications of a kind on or off. Both are on in the beginning.
    void switched(Kind kind, bool isOn);

    /// The machine's clock, which said `before`, is set to another time.
    void clockSet(Instant before);

    /// GitHub's answer to a query arrived whole.
    void told(const QString &login, const QList<ToldRepository> &repositories);
    /// An answer to a query did not arrive whole, or was none.
    void spoiled(const QString &login) { m_round[login].isSpoiled = true; }
    /// The program has all answers to what it asked for the account. `now` is the machine's time, `isTimeSure` whether
    /// it was so for the whole round.
    void roundEnded(const QString &login, Instant now, bool isTimeSure);
    /// The program has worked on all answers for all accounts.
    void rested();

    /// The program is about to announce the result. Unless that was expected, it has worked on what it was told of the
    /// deployment, even if it asks for the account again already.
    void announcing(const QString &key, Instant now, bool isTimeSure);
    /// The program announces the result, such as "ID:failure".
    void announced(const QString &key);
    /// No time that passes until the call counts as a delay of the announcements.
    void excuseDelays() { m_patience = kPatience; }
    /// The program was awake and able to announce for this time.
    void waited(std::chrono::microseconds duration);

    [[nodiscard]] int expectedCount() const { return m_expected; }
    [[nodiscard]] int undecidedCount() const { return m_undecided; }
    [[nodiscard]] int lostCount() const { return m_lost; }

private:
    enum class Standing { Active, Failure, Success, Other };
    struct Seen {
        int repository = 0;
        Standing standing = Standing::Other;
        QString key; ///< empty for what is no result
        Instant updatedAt;
    };
    struct Round {
        std::optional<QSet<int>> listed;
        QList<ToldRepository> told;
        bool isSpoiled = false;
    };

    static constexpr std::chrono::microseconds kPatience = std::chrono::minutes(3);

    [[nodiscard]] static Standing standingOf(const QString &state);
    [[nodiscard]] static QString keyOf(const ToldDeployment &deployment);
    [[nodiscard]] static Kind kindOf(const QString &key);
    [[nodiscard]] bool isOff(const QString &key) const { return m_off.contains(kindOf(key)); }
    void setListed(const QString &login, const QSet<int> &repositories);
    void considerPartly(const ToldRepository &repository);
    void judge(const ToldRepository &repository, Instant now, bool isTimeSure);
    void judge(const ToldDeployment &deployment, bool isFirst, bool isUndecidable);
    [[nodiscard]] bool mayCome(const QString &key) const;
    void expect(const QString &key);
    void leaveOpen(const QString &key);
    void withdraw(const QString &key);

    QHash<QString, Round> m_round; ///< by login
    QHash<QString, QSet<int>> m_listed; ///< by login, in this run or an earlier one
    QSet<QString> m_loaded; ///< logins listed in this run
    QSet<int> m_answered; ///< repositories, in this run
    QSet<int> m_perhapsAnswered; ///< by answers to a query of which others were spoiled
    QHash<QString, Seen> m_held; ///< deployments of the list that counts, by id
    /// Deployments that GitHub has not told of since they were in an older list, which does not count in the first
    /// fetch of a run, but may in the first of another account, later in the run or in the next one; since their
    /// repository was not listed while other accounts were not yet; or since they were under way in a fetch that may
    /// not have counted. What becomes of them may be news.
    QSet<QString> m_stale;
    bool m_isHandOverSure = true; ///< of m_held, for repositories that have not been answered
    std::optional<Instant> m_savedAt;

    KeySet m_settled; ///< announced, expected, history, or open: no expectation arises any more
    KeySet m_open; ///< may be announced
    KeySet m_early; ///< told by such answers: may be announced before the next whole query, or with it
    KeySet m_announced;
    QSet<QString> m_pending; ///< expected
    QSet<QString> m_fresh; ///< expected, but the program may not have worked on the answer yet
    QSet<QString> m_inherited; ///< expected of an earlier run
    QSet<Kind> m_off; ///< switched off
    QSet<QString> m_muted; ///< would be expected, but for the switch; the program may not have worked on the answer yet
    std::chrono::microseconds m_patience = kPatience;
    int m_mayBeLost = 0; ///< notifications, because of kills
    int m_expected = 0;
    int m_undecided = 0;
    int m_lost = 0;
};

} // namespace velmora::testing
