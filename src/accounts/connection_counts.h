// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QList>
#include <QString>

namespace velmora
{

class Preferences;

/// Counts the connections of each account in the preferences. The counts show other processes that an account was
/// connected again although its record stayed equal.
class ConnectionCounts
{
public:
    /// `preferences` is not owned.
    explicit ConnectionCounts(Preferences *preferences);

    /// The preference that changes with every connection.
    [[nodiscard]] static QString key();

    /// Counts one more connection, made by this process.
    void increase(qint64 accountID);
    /// The accounts whose counts other processes have changed since the last call.
    [[nodiscard]] QList<qint64> takeChanged();

private:
    [[nodiscard]] QHash<qint64, qint64> stored() const;

    Preferences *m_preferences;
    QHash<qint64, qint64> m_known;
};

} // namespace velmora
