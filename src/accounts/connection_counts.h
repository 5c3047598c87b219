// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QList>
#include <QString>

namespace velmora
{

class Preferences;

/// How often each account was connected, kept in the preferences: how other processes learn that an
/// account was connected again although its record is the same.
class ConnectionCounts
{
public:
    /// `preferences` is not owned.
    explicit ConnectionCounts(Preferences *preferences);

    /// The preference that changes with every connection.
    [[nodiscard]] static QString key();

    /// One more connection of the account, made by this process.
    void increase(qint64 accountID);
    /// The accounts that other processes have connected since the last call.
    [[nodiscard]] QList<qint64> takeChanged();

private:
    [[nodiscard]] QHash<qint64, qint64> stored() const;

    Preferences *m_preferences;
    QHash<qint64, qint64> m_known;
};

} // namespace velmora
