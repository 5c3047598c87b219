// SPDX-License-Identifier: MIT
#pragma once

#include "month_program.h"

#include <QSet>

namespace velmora::testing
{

/// The user of the program, who connects accounts, removes them, and switches notifications off and on.
class MonthUser
{
public:
    /// The pointers are not owned and outlive this object.
    MonthUser(MonthWorld *world, const MonthProgram *program);

    void connect(const QString &login);
    /// From now on looks at the program at times, and connects again what has to be.
    void lookAtAccounts();
    /// Removes an account, or switches notifications off; each for some time.
    void decide();
    /// Tells the oracle of accounts that the program has removed.
    void noticeRemovals();
    /// Whether the user has had the account removed.
    [[nodiscard]] bool wantsRemoved(const QString &login) const { return m_removed.contains(login); }

private:
    [[nodiscard]] bool isListed(const QString &login) const;
    void remove(const QString &login);
    void switchNotifications(MonthOracle::Kind kind, bool isOn);

    MonthWorld *m_world;
    const MonthProgram *m_program;
    QSet<QString> m_removed; ///< logins
};

} // namespace velmora::testing
